#include "optimizers/lineFreezing.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "foundation/NmLogFile.h"
#include "functional/RegFunctional.h"
#include "optimizers/RegGradientOptimizer.h"
#include "transforms/RegNonAffineTransform.h"

namespace voxreg::detail {
namespace {

/// Compares the first elements: -1, 0 or 1.
int compareNmVec2f(const NmVec2f& a, const NmVec2f& b) {
  return a.x < b.x ? -1 : a.x > b.x ? 1 : 0;
}

/// Ascending; equal ones keep the order of the parameters, in which they were listed.
bool comesBefore(const NmVec2f& a, const NmVec2f& b) {
  const int order = compareNmVec2f(a, b);
  return order != 0 ? order < 0 : a.y < b.y;
}

}  // namespace

void SearchLine::search(RegGradientOptimizer& search, int dim) {
  search.linmin(point, direction, 0.0, dim, &value, &length);
}

LineFreezing::LineFreezing(RegGradientOptimizer& search, const RegNonAffineTransform& grid, int dim)
    : search_(search), grid_(grid), dim_(dim) {}

void LineFreezing::begin(const SearchLine& line) {
  saved_ = line;
  RegFunctional& functional = *search_.functional;
  functional.maxShapePenalty = 0.0;
  functional.maxJacobianPenalty = 0.0;
  functional.maxOtherPenalty = 0.0;
}

void LineFreezing::improve(SearchLine& line, const NmDVector<double>& gradient, int numPenalised) {
  const double limit = std::min(1.0, saved_.length);
  const int brick = search_.functional->worstBrick;
  if (brick >= 0 && line.length < limit * 0.15 && brick < grid_.brickCount())
    freezeBrick(line, gradient, brick);
  if (line.length < limit * 0.4 && numPenalised > 10)
    freezeLargestShifts(line, gradient, numPenalised < 20 ? 10 : numPenalised / 2);
}

void LineFreezing::freezeBrick(SearchLine& line, const NmDVector<double>& gradient, int brick) {
  const NmVec3i n = grid_.numBricks;
  const int i = brick % n.x;
  const int j = brick / n.x % n.y;
  const int k = brick / (n.x * n.y);
  candidates_.clear();
  for (int corner = 0; corner < 8; ++corner) {
    const int a = corner & 1;
    const int b = corner >> 1 & 1;
    const int c = corner >> 2;
    const std::int64_t vertex = ((k + c) * (n.y + std::int64_t{1}) + (j + b)) * (n.x + 1) + (i + a);
    for (int component = 0; component < 3; ++component) list(gradient, 3 * vertex + component);
  }
  const double lengthBefore = line.length;
  searchFrozen(line, 8);
  getTheLogInstance().printf("     freeze brick %d %d %d, step lenghts %.2f %.2f \n", i, j, k,
                             lengthBefore, line.length);
  keepIfLonger(line, lengthBefore);
}

void LineFreezing::freezeLargestShifts(SearchLine& line, const NmDVector<double>& gradient,
                                       int count) {
  candidates_.clear();
  for (int i = 0; i < dim_; ++i) list(gradient, i);
  const double lengthBefore = line.length;
  searchFrozen(line, count);
  getTheLogInstance().printf("     freeze %d largest point shifts, step lenghts %.2f %.2f \n",
                             count, lengthBefore, line.length);
  keepIfLonger(line, lengthBefore);
}

void LineFreezing::list(const NmDVector<double>& gradient, std::int64_t parameter) {
  const NmVec2f candidate(static_cast<float>(std::abs(gradient[parameter])),
                          static_cast<float>(parameter));
  candidates_.insert(candidates_.size, 1, &candidate);
}

// Searches the line again with the `count` candidates of largest gradient held fixed.
void LineFreezing::searchFrozen(SearchLine& line, int count) {
  line = saved_;
  std::sort(candidates_.data, candidates_.data + candidates_.size, comesBefore);
  for (std::int64_t i = std::max(candidates_.size - count, std::int64_t{0}); i < candidates_.size;
       ++i)
    line.direction[static_cast<std::int64_t>(candidates_[i].y)] = 0.0;
  line.search(search_, dim_);
}

void LineFreezing::keepIfLonger(SearchLine& line, double lengthBefore) {
  if (!(std::abs(line.length) < std::abs(lengthBefore))) return;
  line = saved_;
  line.search(search_, dim_);
}

}  // namespace voxreg::detail
