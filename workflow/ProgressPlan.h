#pragma once

#include <string>
#include <vector>

namespace voxreg {

/// How far a command has come through the stages of its work, as a share from 0 to 1 that never
/// falls.
class ProgressPlan {
 public:
  struct Stage {
    std::string caption;
    double work;  ///< compared with that of the other stages
  };

  /// Begins with the first of the stages, of which there is at least one.
  explicit ProgressPlan(std::vector<Stage> stages) : stages_(std::move(stages)) {}

  /// The next stage of this caption begins. One that is not planned takes no share.
  void enter(const std::string& caption);

  /// The present stage consists of these, the first of which begins.
  void divide(std::vector<Stage> parts);

  /// The next stage begins, if there is one.
  void next();

  /// So much of the present stage is done, from 0 to 1.
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
