#include "variational/fields/fieldSmoothing.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "foundation/numbers/elementary.h"

namespace voxreg::detail {

namespace {

/// Beyond it a filter is cut earlier.
constexpr int mostTaps = 2048;

std::vector<float> gaussian(double sigma) {
  const int radius = static_cast<int>(std::min(std::ceil(3.0 * sigma), double{mostTaps}));
  std::vector<double> weights(static_cast<std::size_t>(radius) + 1);
  double sum = 0.0;
  for (std::size_t k = 0; k < weights.size(); ++k) {
    const double distance = std::min(static_cast<double>(k) / sigma, 100.0);
    weights[k] = power(std::numbers::e, -0.5 * distance * distance);
    sum += k == 0 ? weights[k] : 2.0 * weights[k];
  }
  std::vector<float> scaled(weights.size());
  for (std::size_t k = 0; k < weights.size(); ++k) scaled[k] = static_cast<float>(weights[k] / sum);
  return scaled;
}

/// A filter with the memory that it needs.
class Smoother {
 public:
  Smoother(const NmVec3i& dims, double sigma) : dims_(dims), weights_(gaussian(sigma)) {
    for (int a = 0; a < 3; ++a)
      taps_[a] = dims[a] > 1 ? FilterTaps{weights_.data(), static_cast<int>(weights_.size()) - 1}
                             : FilterTaps{&unchanged, 0};
    const int stride = (dims.x + linePadding - 1) / linePadding * linePadding;
    const int slices = std::min(2 * taps_[2].radius + linesTogether, dims.z);
    const std::size_t slice = static_cast<std::size_t>(stride) * static_cast<std::size_t>(dims.y);
    row_.resize(static_cast<std::size_t>(stride) + 2 * static_cast<std::size_t>(taps_[0].radius));
    slices_.resize(slice * static_cast<std::size_t>(slices + 1));
    lines_.resize(2 * weights_.size() + linesTogether);
    scratch_ = {stride, row_.data(), slices_.data(), slices_.data() + slice, slices, lines_.data()};
  }

  void run(float* volume, const FieldKernels& kernels) const {
    kernels.smooth(volume, dims_, taps_, scratch_);
  }

 private:
  static constexpr float unchanged = 1.0f;

  NmVec3i dims_;
  std::vector<float> weights_;
  FilterTaps taps_[3];
  std::vector<float> row_;
  std::vector<float> slices_;
  std::vector<const float*> lines_;
  SmoothingScratch scratch_;
};

}  // namespace

void smooth(std::vector<float>& volume, const NmVec3i& dims, double sigma,
            const FieldKernels& kernels) {
  if (!(sigma > 0.0) || volume.empty()) return;
  Smoother(dims, sigma).run(volume.data(), kernels);
}

void smooth(VoxelField& field, double sigma, const FieldKernels& kernels) {
  if (!(sigma > 0.0) || field.along[0].empty()) return;
  const Smoother smoother(field.dims, sigma);
  for (auto& values : field.along) smoother.run(values.data(), kernels);
}

}  // namespace voxreg::detail
