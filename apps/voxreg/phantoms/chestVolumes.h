#pragma once

#include "files/niftiVolume.h"
#include "phantoms/ChestMotion.h"

namespace host {

/// Voxel centres of a volume of the chest phantom, which measures 352 x 352 x 176 mm between the
/// outer faces of the outermost voxels.
NmBox3f chestBox(const NmVec3l& dims);

/// The chest at rest before contrast agent, unsigned short: fat about 1000, noise included.
NiftiVolume chestBefore(const ChestPhantom& phantom, const NmVec3l& dims, unsigned int noiseSeed);

/// The same chest with contrast agent, after the motion: it shows at motion.moved(p) the tissue of
/// p.
NiftiVolume chestAfter(const ChestPhantom& phantom, const ChestMotion& motion, const NmVec3l& dims,
                       unsigned int noiseSeed);

}  // namespace host
