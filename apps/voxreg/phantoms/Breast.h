#pragma once

#include "phantoms/LatticeNoise.h"
#include "phantoms/randomNumbers.h"
#include "phantoms/tissue.h"

namespace host {

/// One breast: its outline and the structures in its fat. Callers pass the distance in front of the
/// wall's surface, so that nothing grows into the wall.
class Breast {
 public:
  /// `base` is the point on the chest wall behind the breast's centre.
  Breast(const NmVec3d& base, std::mt19937& random);

  /// Millimetres to the outline, nipple included; negative inside.
  double distance(const NmVec3d& point) const;

  /// Draws ligaments, glands and vessels. `depth` is measured from the skin, `aboveMuscle` from the
  /// muscle behind.
  void paint(Signal& signal, const NmVec3d& point, double depth, double aboveMuscle) const;

  /// A point among the glands; coordinates from -1 to 1 span the outline.
  NmVec3d place(const NmVec3d& share) const;

 private:
  struct Vessel {
    double x, z;  ///< offset from the breast's centre
    double swing, turns, phase;
  };

  NmVec3d upright(const NmVec3d& point) const;
  double glandShare(const NmVec3d& local, double depth, double aboveMuscle) const;
  double vesselDistance(const NmVec3d& local) const;

  NmVec3d center_;
  NmVec3d radii_;
  double leanX_;  ///< millimetres to the side and downwards per millimetre towards the nipple
  double leanZ_;
  double glandAmount_;
  Vessel vessels_[4];
  LatticeNoise coarse_;
  LatticeNoise middle_;
  LatticeNoise fine_;
};

}  // namespace host
