#pragma once

#include "foundation/NmVec.h"

/// Stages of a registration as integers: below 13 the degrees of freedom of an affine transform,
/// otherwise a grid of bricks with two decimal digits per axis.
struct RegStageCode {
  static constexpr int largestCount = 99;  ///< of bricks along one axis

  static constexpr bool isGrid(int code) { return code >= 13; }

  /// The bricks along x, y and z that a code denotes.
  static NmVec3i gridOf(int code) { return {code / 10000, code / 100 % 100, code % 100}; }

  /// The code of a grid of 1 to largestCount bricks per axis.
  static int ofGrid(const NmVec3i& bricks) { return bricks.x * 10000 + bricks.y * 100 + bricks.z; }

  /// Number of coordinates of all vertices of a grid.
  static int freedomsOf(const NmVec3i& bricks) {
    return (bricks.z + 1) * (3 * bricks.x + 3) * (bricks.y + 1);
  }
};
