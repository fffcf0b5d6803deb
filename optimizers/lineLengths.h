#pragma once

namespace voxreg::detail {

/// The lengths of the last five line searches, which give the first step of the next one.
class LineLengths {
 public:
  /// Initialises all lengths to `length`.
  explicit LineLengths(double length);

  void add(double length);

  double newest() const;

  /// Sum of the newest `count`, 1 to 5.
  double sum(int count) const;
  double mean(int count) const;

 private:
  double lengths_[5];  ///< newest first
};

}  // namespace voxreg::detail
