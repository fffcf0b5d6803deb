#pragma once

namespace voxreg::detail {

/// The lengths of the last five line searches, from which the next one takes its first step.
class LineLengths {
 public:
  /// As if all searches so far had ended at `length`.
  explicit LineLengths(double length);

  void add(double length);

  double newest() const;

  /// Of the newest `count`, 1 to 5.
  double sum(int count) const;
  double mean(int count) const;

 private:
  double lengths_[5];  ///< newest first
};

}  // namespace voxreg::detail
