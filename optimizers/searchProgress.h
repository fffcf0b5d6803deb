#pragma once

class NmProgressInterface;
class RegOptimizer;

namespace voxreg::detail {

/// The way from a search to the progress object, which may be null, and the part of the whole
/// progress that one run of the search covers.
class SearchProgress {
 public:
  explicit SearchProgress(const RegOptimizer& search);

  bool wasInterrupted() const;

  /// The same between the points at which a search asks by its rules, for a user who does not want
  /// to wait: false without asking on volumes of less than a million voxels, which are walked in a
  /// few milliseconds.
  bool wasInterruptedMeanwhile() const;

  /// Reports, in percent of the whole, that `part` (0 to 1) of this run is done.
  void reportPart(float part) const;

  /// Reports `percent` of this run in front of the bare share of the runs before it.
  void reportPercent(int percent) const;

 private:
  void report(float value) const;

  const RegOptimizer& search_;
  NmProgressInterface* progress_;
  float share_ = 1.0f;
  float offset_ = 0.0f;
};

/// How far a search has come, from 0 to 1, whose last gain was `distance` and which ends at a gain
/// of `scale`: it has ten units of the natural logarithm to go.
float partToConvergence(double scale, double distance);

}  // namespace voxreg::detail
