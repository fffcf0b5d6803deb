#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// The step range of each level. Where the range leaves room, it shrinks from the coarsest level to
/// the finest; otherwise every level takes the same.
class LevelSteps {
 public:
  float max;  ///< first step of the present level
  float min;  ///< last step of the present level

  /// `range` holds the largest (x) and the smallest (y) step of the registration.
  LevelSteps(const NmVec2f& range, int levelRatio, int numLevels);

  /// To the next finer level.
  void advance();

  /// A gradient search starts near where the levels before have ended.
  void startGradientSearch();

 private:
  NmVec2f range_;
  float decrement_;  ///< by which min falls from level to level
  float factor_ = 0.6f;
  bool adapts_;
};

}  // namespace voxreg::detail
