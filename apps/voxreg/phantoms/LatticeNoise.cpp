#include "phantoms/LatticeNoise.h"

#include <cmath>
#include <numbers>

namespace host {

namespace {

/// The finaliser of splitmix64 (S. Vigna) over a position and a seed.
std::uint64_t hash(std::int64_t x, std::int64_t y, std::int64_t z, std::uint32_t seed) {
  std::uint64_t bits = static_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15u +
                       static_cast<std::uint64_t>(y) * 0xc2b2ae3d27d4eb4fu +
                       static_cast<std::uint64_t>(z) * 0x165667b19e3779f9u +
                       seed * 0xd6e8feb86659fd93u;
  bits = (bits ^ bits >> 30) * 0xbf58476d1ce4e5b9u;
  bits = (bits ^ bits >> 27) * 0x94d049bb133111ebu;
  return bits ^ bits >> 31;
}

double between(double a, double b, double share) {
  return a + share * (b - a);
}

/// The lower lattice coordinate and the blend towards the upper one.
struct Cell {
  explicit Cell(double place) : low(std::floor(place)) {
    const double t = place - low;
    blend = t * t * (3.0 - 2.0 * t);
  }
  double low;
  double blend;
};

}  // namespace

// The lattice is tilted, so that its planes do not show along the axes of a volume.
double LatticeNoise::at(const NmVec3d& point) const {
  const auto along = [&](double x, double y, double z) {
    return Cell(frequency_ * (x * point.x + y * point.y + z * point.z));
  };
  const Cell cells[3] = {along(0.64, 0.60, 0.48), along(-0.48, 0.80, -0.36),
                         along(-0.60, 0.0, 0.80)};
  double corners[8];
  for (int corner = 0; corner < 8; ++corner) {
    const std::uint64_t bits = hash(static_cast<std::int64_t>(cells[0].low) + (corner & 1),
                                    static_cast<std::int64_t>(cells[1].low) + (corner >> 1 & 1),
                                    static_cast<std::int64_t>(cells[2].low) + (corner >> 2), seed_);
    corners[corner] = static_cast<double>(static_cast<std::int64_t>(bits)) * 0x1p-63;
  }
  for (int axis = 0, pairs = 4; axis < 3; ++axis, pairs /= 2)
    for (int i = 0; i < pairs; ++i)
      corners[i] = between(corners[2 * i], corners[2 * i + 1], cells[axis].blend);
  return corners[0];
}

// The sum of four uniform numbers of 16 bits has a variance of 1/3.
double voxelNoise(long x, long y, long z, std::uint32_t seed) {
  const std::uint64_t bits = hash(x, y, z, seed);
  double sum = -2.0;
  for (int part = 0; part < 4; ++part)
    sum += static_cast<double>(bits >> (16 * part) & 0xffffu) / 65535.0;
  return std::numbers::sqrt3 * sum;
}

}  // namespace host
