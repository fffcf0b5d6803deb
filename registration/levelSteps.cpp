#include "registration/levelSteps.h"

#include <algorithm>

namespace voxreg::detail {

LevelSteps::LevelSteps(const NmVec2f& range, int levelRatio, int numLevels)
    : max(range.x),
      min(range.x),
      range_(range),
      decrement_(static_cast<float>(levelRatio - 1) * range.y),
      adapts_(false) {
  if (range.y > range.x) return;
  const float coarsest = static_cast<float>((levelRatio - 1) * numLevels) * range.y;
  adapts_ = coarsest < range.x;
  min = adapts_ ? coarsest : range.y;
}

void LevelSteps::advance() {
  if (!adapts_) return;
  max *= factor_;
  min -= decrement_;
  if (static_cast<double>(factor_) > 0.2)  // empirical, as is the decrement
    factor_ = static_cast<float>(static_cast<double>(factor_) - 0.05);
}

void LevelSteps::startGradientSearch() {
  max = std::max(range_.y, range_.x * 0.0009765625f);  // 2^-10, empirical
}

}  // namespace voxreg::detail
