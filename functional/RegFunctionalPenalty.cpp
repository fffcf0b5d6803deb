#include <algorithm>
#include <cstdint>

#include "foundation/NmWatch.h"
#include "functional/RegFunctional.h"
#include "functional/families/metricFamily.h"
#include "transforms/RegNonAffineTransform.h"

namespace {

/// Deviations of a brick that are not penalised (empirical); finer grids may deviate more.
struct RegularityLimits {
  double shape;           ///< stretch or shear
  double lowestJacobian;  ///< determinant
  double highestJacobian;

  explicit RegularityLimits(const NmVec3i& numBricks) {
    const int bricks = std::max({numBricks.x, numBricks.y, numBricks.z});
    const double rigidity = bricks < 5 ? 0.88 : bricks < 9 ? 0.87 : 0.85;
    shape = (1.0 - rigidity) + 0.02;
    lowestJacobian = bricks < 5 ? 0.8 : bricks < 9 ? 0.77 : 0.75;
    highestJacobian = bricks < 5 ? 1.25 : bricks < 9 ? 1.3 : 1.4;
  }
};

double weighted(double weight, double excess) {
  return weight * (excess * excess);
}

}  // namespace

double RegFunctional::regularityPenalty(RegNonAffineTransform& grid, int vertex, int numHistograms,
                                        const RegMetric& accumulator, double& time) {
  updateBrickFlags(grid);
  const NmWatch watch(true);
  auto& [minJacobian, maxStretch, maxShear, brickIndices] = measures_;
  brickIndices.clear();
  const bool analysed =
      grid.computeJacobiTransforms(vertex, numHistograms, minJacobian, &emptyBricks, nullptr,
                                   &maxStretch, &maxShear, &brickIndices) >= 0.0f;
  const std::int64_t entries = analysed ? minJacobian.size : 0;
  const bool isWhole = brickIndices.size == 0;
  double largest = 0.0;
  const auto note = [&](double term, std::int64_t brick, double& largestSoFar) {
    if (!isWhole) return;
    if (term > largest) {
      largest = term;
      worstBrick = static_cast<int>(brick);
    }
    largestSoFar = std::max(largestSoFar, term);
  };

  const RegularityLimits limits(grid.numBricks);
  constexpr double usualWeight = 0.25;  // empirical
  const auto* const family = voxreg::detail::familyOf(&accumulator);
  const double weight = family != nullptr ? family->penaltyWeight : usualWeight;
  double shapeSum = 0.0;
  for (std::int64_t u = 0; u < entries; ++u) {
    const double shape = std::max(maxStretch[u], maxShear[u]);
    if (!(shape > limits.shape)) continue;
    const double term = weighted(weight, shape - limits.shape);
    shapeSum += term;
    note(term, u, maxShapePenalty);
  }
  double jacobianSum = 0.0;
  for (std::int64_t u = 0; u < entries; ++u)
    for (const double excess :
         {limits.lowestJacobian - minJacobian[u], minJacobian[u] - limits.highestJacobian}) {
      if (!(excess > 0.0)) continue;
      const double term = weighted(weight, excess);
      jacobianSum += term;
      note(term, u, maxJacobianPenalty);
    }
  time = watch.getTime();
  return jacobianSum + shapeSum;
}
