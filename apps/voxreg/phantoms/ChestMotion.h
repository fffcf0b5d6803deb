#pragma once

#include "phantoms/ChestPhantom.h"

namespace host {

/// How a chest has moved between two acquisitions: the breasts sag to opposite sides, breathing
/// shifts the inside of the chest wall, and the wall itself stays. Smooth and without folds.
class ChestMotion {
 public:
  /// Amounts and directions follow from the seed. `phantom` must outlive the motion.
  ChestMotion(const ChestPhantom& phantom, unsigned int seed);

  /// The new position of the tissue at `place` at rest.
  NmVec3d moved(const NmVec3d& place) const;

  /// The position at rest of the tissue at `place` after the motion; the inverse of moved, to a
  /// thousandth of a millimetre.
  NmVec3d origin(const NmVec3d& place) const;

 private:
  struct Wave {
    NmVec3d direction;  ///< millimetres
    NmVec3d frequency;  ///< radians per millimetre
    double phase;
  };

  NmVec3d displacement(const NmVec3d& place) const;

  const Thorax& thorax_;
  NmVec3d
      sagging_[2];  ///< millimetres at the nipple, of the breast at negative x, then of the other
  NmVec3d breathing_;
  Wave waves_[4];
};

}  // namespace host
