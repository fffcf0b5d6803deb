#pragma once

#include "phantoms/Breast.h"
#include "phantoms/Thorax.h"

namespace host {

/// The front of a chest at rest as a function of space, in millimetres: x to the right, y to the
/// front, z upwards, the origin at the centre of chestBox. Two breasts with skin, fat, glands,
/// vessels and one lesion, the pectoral muscles, and heart and lungs inside the chest wall.
class ChestPhantom {
 public:
  /// Sizes, positions and textures follow from the seed.
  explicit ChestPhantom(unsigned int seed);

  /// The intensities at a point; 0 in air.
  Signal signal(const NmVec3d& point) const;

  const Thorax& thorax() const { return thorax_; }

  /// True for tissue in front of the middle of the chest wall.
  bool isInFront(const NmVec3d& point) const;

  /// Millimetres to the surface of the one lesion; negative inside.
  double lesionDistance(const NmVec3d& point) const;

 private:
  struct Lesion {
    NmVec3d center;
    double radius;
  };

  ChestPhantom(unsigned int seed, std::mt19937 random);
  double skinDepth(const NmVec3d& point, double aboveWall) const;
  double muscleThickness(const NmVec3d& point) const;

  Thorax thorax_;
  Breast breasts_[2];
  Lesion lesion_;
  double padding_;  ///< of skin and fat over the breastbone
  LatticeNoise bumps_;
  LatticeNoise lobules_;
};

}  // namespace host
