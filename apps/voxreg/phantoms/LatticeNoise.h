#pragma once

#include <voxreg.h>

#include <cstdint>
#include <random>

namespace host {

/// Texture as a function of space: random values on a cubic lattice with a smooth blend between
/// them (K. Perlin's value noise). Nothing is stored, so that any place costs the same.
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

/// Noise of a voxel: normal, nearly, with mean 0 and standard deviation 1, the same for the same
/// voxel and seed.
double voxelNoise(long x, long y, long z, std::uint32_t seed);

}  // namespace host
