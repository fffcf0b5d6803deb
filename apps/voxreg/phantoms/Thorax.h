#pragma once

#include "phantoms/LatticeNoise.h"
#include "phantoms/randomNumbers.h"
#include "phantoms/tissue.h"

namespace host {

/// The chest wall and its inside: sternum, ribs, heart, lungs, liver, spine and aorta.
class Thorax {
 public:
  explicit Thorax(std::mt19937& random);

  /// Millimetres in front of (or to the side of) the middle of the chest wall; negative inside it.
  double aboveWall(const NmVec3d& point) const;

  /// The y of the middle of the wall in a column of voxels along y; the y of the widest plane if
  /// the column misses the wall.
  double wall(double x, double z) const;

  /// Half of the wall's thickness.
  static constexpr double halfWall = 7.0;

  /// Draws the wall and its inside. `above` is aboveWall of the point.
  void paint(Signal& signal, const NmVec3d& point, double above) const;

 private:
  Signal wallTissue(const NmVec3d& point, double above) const;
  void paintOrgans(Signal& signal, const NmVec3d& point) const;
  void paintHeart(Signal& signal, const NmVec3d& point) const;

  NmVec3d center_;
  NmVec3d radii_;
  NmVec3d heart_;
  double ribPhase_;
  double liverTop_;
  LatticeNoise coarse_;
  LatticeNoise fine_;
  LatticeNoise branches_[2];
};

}  // namespace host
