#include "optimizers/lineFreezing.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "foundation/NmLogFile.h"
#include "functional/RegFunctional.h"
#include "transforms/RegNonAffineTransform.h"
#include "transforms/brickTopology.h"

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

LineFreezing::LineFreezing(LineSearch& lines, const RegNonAffineTransform& grid)
    : lines_(lines), grid_(grid) {}

void LineFreezing::begin(const SearchLine& line) {
  saved_ = line;
  RegFunctional& functional = *lines_.search().functional;
  functional.maxShapePenalty = 0.0;
  functional.maxJacobianPenalty = 0.0;
  functional.maxOtherPenalty = 0.0;
}

void LineFreezing::improve(SearchLine& line, const NmDVector<double>& gradient, int numPenalised) {
  const double limit = std::min(1.0, saved_.length);
  const int brick = lines_.search().functional->worstBrick;
  if (brick >= 0 && line.length < limit * 0.15 && brick < grid_.brickCount())
    freezeBrick(line, gradient, brick);
  if (line.length < limit * 0.4 && numPenalised > 10)
    freezeLargestShifts(line, gradient, numPenalised < 20 ? 10 : numPenalised / 2);
}

void LineFreezing::freezeBrick(SearchLine& line, const NmDVector<double>& gradient, int brick) {
  const BrickTopology topology = {grid_.numBricks};
  const NmVec3i at = topology.indicesOfBrick(brick);
  candidates_.clear();
  for (int corner = 0; corner < 8; ++corner)
    for (int component = 0; component < 3; ++component)
      list(gradient, 3 * topology.cornerOf(at, corner) + component);
  const double lengthBefore = line.length;
  searchFrozen(line, 8);
  getTheLogInstance().printf("     freeze brick %d %d %d, step lenghts %.2f %.2f \n", at.x, at.y,
                             at.z, lengthBefore, line.length);
  keepIfLonger(line, lengthBefore);
}

void LineFreezing::freezeLargestShifts(SearchLine& line, const NmDVector<double>& gradient,
                                       int count) {
  candidates_.clear();
  for (int i = 0; i < lines_.numParams(); ++i) list(gradient, i);
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
  line.search(lines_);
}

void LineFreezing::keepIfLonger(SearchLine& line, double lengthBefore) {
  if (!(std::abs(line.length) < std::abs(lengthBefore))) return;
  line = saved_;
  line.search(lines_);
}

}  // namespace voxreg::detail
