#pragma once

#include "phantoms/ChestPhantom.h"

namespace host {

/// How a chest has moved between two acquisitions: the breasts sag to one side each, breathing
/// shifts what lies behind the chest wall, and the wall itself stays. Smooth and without folds.
class ChestMotion {
 public:
  /// Amounts and directions follow from the seed. `phantom` must outlive the motion.
  ChestMotion(const ChestPhantom& phantom, unsigned int seed);

  /// Where the tissue of a place at rest has gone.
  NmVec3d moved(const NmVec3d& place) const;

  /// Where the tissue of a place after the motion has been at rest; the inverse of moved, to a
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
  NmVec3d sagging_[2];  ///< millimetres at the nipple, of the breast at negative x and the other
  NmVec3d breathing_;
  Wave waves_[4];
};

}  // namespace host
