#pragma once

class NmProgressInterface;
class RegOptimizer;

namespace voxreg::detail {

/// Connects a search to the progress object, which may be null, and maps one run of the search to
/// its part of the whole progress.
class SearchProgress {
 public:
  explicit SearchProgress(const RegOptimizer& search);

  bool wasInterrupted() const;

  /// The same between the points at which a search regularly asks, to shorten the user's wait.
  /// False without asking on volumes of less than a million voxels, whose walk takes a few
  /// milliseconds.
  bool wasInterruptedMeanwhile() const;

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
};

/// Progress from 0 to 1 of a search whose last gain was `distance` and which ends at a gain of
/// `scale`: linear in the logarithm of the gain, and 0 at e^10 times `scale` (empirical).
float partToConvergence(double scale, double distance);

}  // namespace voxreg::detail
