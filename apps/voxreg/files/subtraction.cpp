#include "files/subtraction.h"

#include <vector>

#include "terminal/HostError.h"

namespace host {

NiftiVolume subtraction(const NiftiVolume& model, const NiftiVolume& reference) {
  NiftiVolume result = volumeLike(reference, NmPrimType::Float);
  const NmHandle<VlDataAccess> subtrahend = reference.image.volume()->lock(false);
  const NmHandle<VlDataAccess> access = result.image.volume()->lock(true);
  if (subtrahend == nullptr || access == nullptr)
    throw HostError("a volume cannot be read", HostError::failedRun);
  std::vector<float> rest(static_cast<std::size_t>(reference.image.dims().x));
  (void)voxreg::forEachRow(*model.image.volume(), [&](long y, long z, const float* row) {
    (void)subtrahend->row(-1, y, z, rest.data());
    for (std::size_t x = 0; x < rest.size(); ++x) rest[x] = row[x] - rest[x];
    (void)access->putRow(-1, y, z, rest.data());
  });
  return result;
}

}  // namespace host
