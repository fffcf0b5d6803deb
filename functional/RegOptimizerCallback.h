#pragma once

class NmProgressInterface;

/// The way back from a search to whoever runs it.
class RegOptimizerCallback {
 public:
  virtual ~RegOptimizerCallback();

  /// The progress object, owned by whoever runs the search; null if nobody watches.
  virtual NmProgressInterface* getProgressInterface() = 0;
};
