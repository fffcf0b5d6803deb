#pragma once

class NmProgressInterface;
class RegOptimizer;

namespace voxreg::detail {

/// The link from one run of a search to the progress object, which may be null, and the share of
/// the whole progress that the run covers.
///
/// It remembers an interruption: once the progress object has asked for one it is not asked again.
/// An operation that was cut short just returns; its callers look at `isInterrupted`.
class SearchProgress {
 public:
  explicit SearchProgress(const RegOptimizer& search);

  /// Asks the progress object. True from the first interruption on.
  bool askInterrupted();

  /// The same between the points at which a search asks by its rules, for a user who does not want
  /// to wait. Volumes of less than a million voxels, walked in a few milliseconds, do not ask.
  bool askInterruptedMeanwhile();

  /// Whether an interruption has been seen.
  bool isInterrupted() const { return interrupted_; }

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
  bool interrupted_ = false;
};

/// How far a search has come, from 0 to 1, whose last gain was `distance` and which ends at a gain
/// of `scale`: it has ten units of the natural logarithm to go.
float partToConvergence(double scale, double distance);

}  // namespace voxreg::detail
