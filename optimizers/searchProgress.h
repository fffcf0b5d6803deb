#pragma once

class NmProgressInterface;
class RegOptimizer;

namespace voxreg::detail {

/// Connects a search to the progress object, which may be null, and maps one run of the search to
/// its part of the whole progress.
///
/// It remembers an interruption: once the progress object has asked for one it is not asked again.
/// An operation that was cut short just returns; its callers look at `isInterrupted`.
class SearchProgress {
 public:
  explicit SearchProgress(const RegOptimizer& search);

  /// Asks the progress object. True from the first interruption on.
  bool askInterrupted();

  /// The same between the points at which a search regularly asks, to shorten the user's wait. Does
  /// not ask on volumes of less than a million voxels, whose walk takes a few milliseconds.
  bool askInterruptedMeanwhile();

  /// Whether an interruption has been seen.
  bool isInterrupted() const { return interrupted_; }

  /// Reports that `part` (0 to 1) of this run is done, in percent of the whole.
  void reportPart(float part) const;

  /// Reports `percent` of this run, added to the plain share of the previous runs.
  void reportPercent(int percent) const;

 private:
  void report(float value) const;

  const RegOptimizer& search_;
  NmProgressInterface* progress_;
  float share_ = 1.0f;
  float offset_ = 0.0f;
  bool interrupted_ = false;
};

/// Progress from 0 to 1 of a search whose last gain was `distance` and which ends at a gain of
/// `scale`: linear in the logarithm of the gain, and 0 at e^10 times `scale` (empirical).
float partToConvergence(double scale, double distance);

}  // namespace voxreg::detail
