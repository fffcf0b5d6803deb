#pragma once

#include "foundation/NmBox.h"
#include "foundation/NmVec.h"
#include "foundation/voxels/volumeFrame.h"

namespace voxreg::detail {

/// The part of its volumes that a run covers.
struct ElasticRegion {
  NmBox3f box;   ///< world units
  NmVec3i dims;  ///< voxels of full resolution
};

/// The region of the voxels `roi`, as far as they exist. The whole volume if that has no volume, or
/// if `roi` is null.
ElasticRegion regionOf(const VolumeFrame& frame, const NmBox3i* roi);

}  // namespace voxreg::detail
