#pragma once

#include "files/niftiVolume.h"
#include "terminal/InterruptibleProgress.h"

namespace host {

/// The volume scaled to ceil(newDims) voxels along the axes of its frame. Throws HostError for
/// dimensions that no file can have, and if memory runs out.
NiftiVolume zoomed(const NiftiVolume& volume, const NmVec3f& newDims,
                   RegResampler::FilterType filter, InterruptibleProgress& progress);

}  // namespace host
