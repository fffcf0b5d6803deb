#pragma once

class NmProgressInterface;

namespace voxreg::detail {

/// The progress of one level of a search, which may make several, and the host's request to stop
/// it. Opens a task of the progress object, which may be null.
class SearchReport {
 public:
  SearchReport(NmProgressInterface* progress, int level, int levels, int mostIterations);
  ~SearchReport();
  SearchReport(const SearchReport&) = delete;
  SearchReport& operator=(const SearchReport&) = delete;

  /// Reports an iteration. False once the host has asked to stop.
  bool operator()(int iteration, double value);

  /// Closes the task. Without it the destructor does, but keeps exceptions of the host to itself.
  void close();

 private:
  NmProgressInterface* progress_;
  int level_;
  int mostIterations_;
  int furthest_ = 0;
  double value_ = 0.0;
};

/// Whether the host asks to stop; it may be null.
bool wantsToStop(NmProgressInterface* progress);

}  // namespace voxreg::detail
