#include "files/zoomed.h"

#include <cmath>

#include "terminal/HostError.h"

namespace host {

namespace {

void requireDims(const NmVec3f& dims) {
  constexpr float largest = 32767.0f;  // limit of a NIfTI-1 header, and beyond any useful size
  for (int a = 0; a < 3; ++a)
    if (!(dims[a] > 0.0f && dims[a] <= largest)) throw HostError("too many voxels on an axis");
}

}  // namespace

NiftiVolume zoomed(const NiftiVolume& volume, const NmVec3f& newDims,
                   RegResampler::FilterType filter, InterruptibleProgress& progress) {
  requireDims(newDims);
  try {
    progress.takeStopRequests();
    progress.enter("Resampling");
    NiftiVolume result = scaledVolume(volume, newDims);
    NmHandle<VlData> target = result.image.volume();
    RegResampler resampler;
    resampler.progress = &progress;
    if (!resampler.doResample(volume.image.volume(), target, newDims, nullptr, NmVec3f(), filter,
                              0.0f, 1))
      throw NmMemoryException();
    return result;
  } catch (const NmMemoryException&) {
    throw HostError("not enough memory for a volume of this size", HostError::failedRun);
  }
}

}  // namespace host
