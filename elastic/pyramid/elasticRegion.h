#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"
#include "foundation/voxels/volumeFrame.h"

namespace voxreg::detail {

/// What a run covers of its volumes.
struct ElasticRegion {
  NmBox3f box;   ///< world units
  NmVec3i dims;  ///< voxels of full resolution
};

/// The region of the voxels `roi`, as far as they exist. All of the volume where that has no
/// volume, and for a null `roi`.
ElasticRegion regionOf(const VolumeFrame& frame, const NmBox3i* roi);

}  // namespace voxreg::detail
