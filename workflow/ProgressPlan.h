#pragma once

#include <string>
#include <vector>

namespace voxreg {

/// The progress of a command through the stages of its work, as a share from 0 to 1 that never
/// decreases.
class ProgressPlan {
 public:
  struct Stage {
    std::string caption;
    double work;  ///< relative to that of the other stages
  };

  /// Starts at the first stage; there is at least one.
  explicit ProgressPlan(std::vector<Stage> stages) : stages_(std::move(stages)) {}

  /// Starts the next stage with this caption. An unplanned one takes no share.
  void enter(const std::string& caption);

  /// Divides the current stage into these, and starts the first.
  void divide(std::vector<Stage> parts);

  /// Starts the next stage, if there is one.
  void next();

  /// Sets the finished part of the current stage, from 0 to 1.
  void report(double part);

  void finish() { share_ = 1.0; }

  const std::string& caption() const { return caption_; }
  double share() const { return share_; }

 private:
  void enter(std::size_t stage);
  double shareBefore(std::size_t stage) const;

  std::vector<Stage> stages_;
  std::size_t present_ = 0;
  std::string caption_ = stages_.front().caption;
  double share_ = 0.0;
};

}  // namespace voxreg
