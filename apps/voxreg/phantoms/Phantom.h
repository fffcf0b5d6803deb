#pragma once

#include "files/niftiVolume.h"

namespace host {

/// A head made of ellipsoids, for demonstrations and tests: scalp, skull, brain with texture,
/// ventricles and a few extra bodies that break the symmetry. It is a function of space, so a moved
/// head is sampled directly, not resampled.
class Phantom {
 public:
  /// The texture and the extra bodies follow from the seed.
  explicit Phantom(unsigned int seed);

  /// Intensity from 0 to about 1 at a point in millimetres; the origin is the head's centre.
  double value(const NmVec3d& point) const;

 private:
  struct Body {
    NmVec3d center;
    NmVec3d radii;
    double intensity;  ///< replaces that of the surroundings
    double texture;    ///< amplitude
  };
  struct Wave {
    NmVec3d frequency;  ///< radians per millimetre
    double phase;
  };

  double textureAt(const NmVec3d& point) const;

  Body bodies_[12];
  Wave waves_[6];
};

/// Acquisition effects added to the phantom.
struct Acquisition {
  NmMat4d modelToReference;  ///< the volume shows at p what the head at rest has at p * this
  double contrast = 1.0;     ///< exponent of the intensities: 1 leaves them unchanged
  double noise = 0.0;        ///< standard deviation, as a share of the largest intensity
  unsigned int noiseSeed = 1;
};

/// A volume of `size` voxels on each axis, unsigned short, 0 to about 4000, with the head at its
/// centre. It measures 192 mm from the first voxel's face to the last one's.
NiftiVolume acquire(const Phantom& phantom, int size, const Acquisition& acquisition);

}  // namespace host
