#include "intensity.h"

#include <algorithm>
#include <cmath>

#include "HostError.h"

namespace host {

std::vector<float> voxelsOf(VlData& volume) {
  const NmVec3l dims = volume.dims();
  const std::size_t variables = static_cast<std::size_t>(volume.numDataVars());
  const std::size_t nx = static_cast<std::size_t>(dims.x);
  const NmHandle<VlDataAccess> access = volume.lock(false);
  if (access == nullptr) throw HostError("a volume cannot be read", HostError::failedRun);
  std::vector<float> row(nx * variables);
  std::vector<float> values;
  values.reserve(nx * static_cast<std::size_t>(dims.y * dims.z));
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y) {
      if (!access->row(-1, y, z, row.data()).isOk())
        throw HostError("a volume cannot be read", HostError::failedRun);
      for (std::size_t x = 0; x < nx; ++x) values.push_back(row[x * variables]);
    }
  return values;
}

float percentile(std::vector<float> values, double share) {
  std::erase_if(values, [](float value) { return std::isnan(value); });
  if (values.empty()) return 0.0f;
  const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + rank, values.end());
  return values[static_cast<std::size_t>(rank)];
}

}  // namespace host
