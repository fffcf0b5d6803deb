#pragma once

class NmProgressInterface;

/// Gives a search access to its caller.
class RegOptimizerCallback {
 public:
  virtual ~RegOptimizerCallback();

  /// The progress object, owned by the caller of the search; null if there is none.
  virtual NmProgressInterface* getProgressInterface() = 0;
};
