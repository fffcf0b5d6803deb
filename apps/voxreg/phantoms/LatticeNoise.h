#pragma once

#include <voxreg.h>

#include <cstdint>
#include <random>

namespace host {

/// Texture as a function of space: random values on a cubic lattice, blended smoothly (K. Perlin's
/// value noise). Nothing is stored, so every point costs the same.
class LatticeNoise {
 public:
  /// The features measure about `scale` millimetres.
  LatticeNoise(double scale, std::mt19937& random)
      : frequency_(1.0 / scale), seed_(static_cast<std::uint32_t>(random())) {}

  /// From -1 to 1, with a continuous gradient.
  double at(const NmVec3d& point) const;

 private:
  double frequency_;
  std::uint32_t seed_;
};

/// Noise of a voxel: approximately normal, with mean 0 and standard deviation 1, and a function of
/// the voxel and the seed alone.
double voxelNoise(long x, long y, long z, std::uint32_t seed);

}  // namespace host
