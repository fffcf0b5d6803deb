#pragma once

#include "foundation/NmVec.h"

namespace voxreg::detail {

/// The step range of each level. If the range is wide enough, it shrinks from the coarsest level to
/// the finest; otherwise it is the same on every level.
class LevelSteps {
 public:
  float max;  ///< first step of the current level
  float min;  ///< last step of the current level

  /// `range` holds the largest (x) and the smallest (y) step of the registration.
  LevelSteps(const NmVec2f& range, int levelRatio, int numLevels);

  /// Advances to the next finer level.
  void advance();

  /// Starts a gradient search close to where the previous levels ended.
  void startGradientSearch();

 private:
  NmVec2f range_;
  float decrement_;  ///< decrease of min from level to level
  float factor_ = 0.6f;
  bool adapts_;
};

}  // namespace voxreg::detail
