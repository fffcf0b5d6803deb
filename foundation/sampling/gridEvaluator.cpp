#include "foundation/sampling/gridEvaluator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "foundation/sampling/gridAxis.h"
#include "foundation/sampling/lanczosSums.h"
#include "foundation/sampling/voxelBlock.h"
#include "foundation/voxels/voxelTypes.h"

namespace voxreg::detail {
namespace {

/// The two voxels around a position on one axis and their weights; at the end of the axis the upper
/// voxel is the lower one again, with weight 0.
struct LinearCell {
  std::int64_t lower;
  std::int64_t upper;
  double share[2];

  LinearCell(double position, std::int64_t n, std::int64_t stride) {
    const std::int64_t below = static_cast<std::int64_t>(position);
    const double fraction = position - static_cast<double>(below);
    lower = below * stride;
    upper = below + 1 < n ? lower + stride : lower;
    share[0] = 1.0 - fraction;
    share[1] = fraction;
  }
};

/// weightedSum of the linear rule for one data variable, with the same terms in the same order. Not
/// finite if a voxel is not, even one with weight 0. A sum that starts from 0, as that one does, is
/// never -0.
template <class T>
double trilinearSum(const T* voxels, int numDataVars, const GridAxis (&axes)[3],
                    const double (&position)[3]) {
  const std::int64_t line = numDataVars * axes[0].size();
  const LinearCell x(position[0], axes[0].size(), numDataVars);
  const LinearCell y(position[1], axes[1].size(), line);
  const LinearCell z(position[2], axes[2].size(), line * axes[1].size());
  const auto lineSum = [&](std::int64_t from) {
    return x.share[0] * static_cast<double>(voxels[from + x.lower]) +
           x.share[1] * static_cast<double>(voxels[from + x.upper]);
  };
  double sum = z.share[0] * y.share[0] * lineSum(z.lower + y.lower);
  sum += z.share[0] * y.share[1] * lineSum(z.lower + y.upper);
  sum += z.share[1] * y.share[0] * lineSum(z.upper + y.lower);
  sum += z.share[1] * y.share[1] * lineSum(z.upper + y.upper);
  return sum + 0.0;
}

// Under the sanitizers GCC does not treat a comparison of functions as a constant.
template <TapRule rule>
inline constexpr bool isLinear = false;
template <>
inline constexpr bool isLinear<linearTaps> = true;
template <TapRule rule>
inline constexpr bool isLanczos = false;
template <>
inline constexpr bool isLanczos<lanczosTaps> = true;

template <class T, TapRule rule>
class GridEvaluator : public VlEvaluator {
 public:
  GridEvaluator(const NmHandle<VlDataAccess>& access, const VoxelGrid& grid, const NmBox3f& box)
      : access_(access),
        voxels_(static_cast<const T*>(access->dataPtr(0))),
        numDataVars_(grid.numDataVars),
        axes_{GridAxis(box, 0, grid.dims.x), GridAxis(box, 1, grid.dims.y),
              GridAxis(box, 2, grid.dims.z)},
        sum_(isLanczos<rule> ? lanczosSum(grid, bestInstructionSet()) : nullptr) {}

  bool setLocation(const NmVec3f& point) override {
    double position[3];
    for (int axis = 0; axis < 3; ++axis)
      if (!axes_[axis].locate(point[axis], position[axis])) return false;
    moveTo(position);
    return true;
  }

  void value(float* result) override {
    if (result != nullptr) *result = weightedSum(0);
  }

  void values(float* results) override {
    if (results == nullptr) return;
    for (int variable = 0; variable < numDataVars_; ++variable)
      results[variable] = weightedSum(variable);
  }

  // The positions of a batch of points are computed first, axis by axis.
  void sample(const float* x, const float* y, const float* z, std::int64_t n, float outside,
              float* results) override {
    double places[3][portion];
    for (std::int64_t first = 0; first < n; first += portion) {
      const std::int64_t count = std::min(portion, n - first);
      axes_[0].locate(x + first, count, places[0]);
      axes_[1].locate(y + first, count, places[1]);
      axes_[2].locate(z + first, count, places[2]);
      if constexpr (isLanczos<rule>)
        sampleLanczos(places, count, outside, results + first);
      else
        samplePoints(places, count, outside, results + first);
    }
  }

 private:
  static constexpr std::int64_t portion = LanczosPoints::most;

  static bool isInside(const double (&position)[3]) {
    return position[0] >= 0.0 && position[1] >= 0.0 && position[2] >= 0.0;
  }

  [[gnu::always_inline]] void samplePoints(const double (&places)[3][portion], std::int64_t n,
                                           float outside, float* results) {
    for (std::int64_t i = 0; i < n; ++i) {
      const double position[3] = {places[0][i], places[1][i], places[2][i]};
      results[i] = isInside(position) ? valueAt(position) : outside;
    }
  }

  void moveTo(const double (&position)[3]) {
    for (int axis = 0; axis < 3; ++axis) rule(position[axis], axes_[axis].size(), taps_[axis]);
  }

  [[gnu::always_inline]] float valueAt(const double (&position)[3]) {
    if constexpr (isLinear<rule>) {
      const double sum = trilinearSum(voxels_, numDataVars_, axes_, position);
      if (std::is_integral_v<T> || std::isfinite(sum)) return static_cast<float>(sum);
    }
    moveTo(position);
    return weightedSum(0);
  }

  /// Points between voxels are processed together, those on voxels one by one.
  void sampleLanczos(const double (&places)[3][portion], std::int64_t n, float outside,
                     float* results) {
    if (sum_ == nullptr) return samplePoints(places, n, outside, results);
    LanczosPoints points({axes_[0].size(), axes_[1].size(), axes_[2].size()});
    int index[portion];
    for (std::int64_t i = 0; i < n; ++i) {
      const double position[3] = {places[0][i], places[1][i], places[2][i]};
      index[points.count] = static_cast<int>(i);
      if (!isInside(position))
        results[i] = outside;
      else if (!points.add(position))
        results[i] = valueAt(position);
    }
    if (points.count == 0) return;
    points.complete();
    double sums[portion];
    sum_(voxels_, points, sums);
    for (int i = 0; i < points.count; ++i) {
      const double position[3] = {places[0][index[i]], places[1][index[i]], places[2][index[i]]};
      results[index[i]] = std::isfinite(sums[i]) ? static_cast<float>(sums[i]) : valueAt(position);
    }
  }

  float weightedSum(int variable) const {
    const auto& [x, y, z] = taps_;
    double sum = 0.0;
    for (int k = 0; k < z.count; ++k)
      for (int j = 0; j < y.count; ++j) {
        const std::int64_t line = axes_[0].size() * (y.index[j] + axes_[1].size() * z.index[k]);
        double lineSum = 0.0;
        for (int i = 0; i < x.count; ++i)
          lineSum += x.weight[i] *
                     static_cast<double>(voxels_[(line + x.index[i]) * numDataVars_ + variable]);
        sum += z.weight[k] * y.weight[j] * lineSum;
      }
    return static_cast<float>(sum);
  }

  NmHandle<VlDataAccess> access_;
  const T* voxels_;
  int numDataVars_;
  GridAxis axes_[3];
  LanczosSum sum_;  ///< null if points are processed one by one
  AxisTaps taps_[3];
};

template <TapRule rule>
NmHandle<VlEvaluator> makeEvaluator(const NmHandle<VlDataAccess>& access, const VoxelGrid& grid,
                                    const NmBox3f& box) {
  NmHandle<VlEvaluator> evaluator;
  withVoxelType(grid.type,
                [&]<class T>() { evaluator = new GridEvaluator<T, rule>(access, grid, box); });
  return evaluator;
}

}  // namespace

NmHandle<VlEvaluator> makeGridEvaluator(const NmHandle<VlDataAccess>& access, const VoxelGrid& grid,
                                        const NmBox3f& box, TapRule rule) {
  if (blockOf(access.get()) == nullptr || grid.numValues() < 1) return nullptr;
  if (rule == linearTaps) return makeEvaluator<linearTaps>(access, grid, box);
  if (rule == lanczosTaps) return makeEvaluator<lanczosTaps>(access, grid, box);
  return makeEvaluator<nearestTap>(access, grid, box);
}

}  // namespace voxreg::detail
