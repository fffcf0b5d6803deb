#include "variational/fields/foregroundMean.h"

#include <cmath>
#include <cstdint>

#include "variational/pyramid/body.h"

namespace voxreg::detail {

float foregroundMean(const std::vector<float>& voxels) {
  const float threshold = bodyThreshold(voxels);
  double sum = 0.0;
  std::int64_t count = 0;
  for (const float value : voxels)
    if (value > threshold && std::isfinite(value)) {
      sum += static_cast<double>(value);
      ++count;
    }
  return static_cast<float>(sum / static_cast<double>(count));
}

}  // namespace voxreg::detail
