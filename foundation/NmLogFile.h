#pragma once

#include <cstdarg>
#include <functional>
#include <mutex>
#include <string>

#include "foundation/NmHandle.h"

/// The process-wide log, returned by getTheLogInstance(). Safe to call from several threads. Each
/// line of a text goes to the sink without its line end. The sink runs outside the log's mutex, so
/// it may log, replace the sink or throw; its exceptions reach the caller.
class NmLogFile {
 public:
  using Sink = std::function<void(bool isError, const std::string& line)>;

  NmLogFile();
  NmLogFile(const NmLogFile&) = delete;
  NmLogFile& operator=(const NmLogFile&) = delete;
  ~NmLogFile();

  /// Logs information.
  void printf(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Logs an error.
  void errorf(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Replaces the sink and returns the previous one. An empty sink restores the default, which
  /// writes to standard error. Throws NmMemoryException, with the sink unchanged, if memory is
  /// exhausted.
  Sink setSink(Sink sink);

 private:
  class SinkHolder;

  NmHandle<SinkHolder> presentSink();
  void write(bool isError, const char* format, va_list arguments)
      __attribute__((format(printf, 3, 0)));
  void writeLines(bool isError, const char* text);

  std::mutex mutex_;
  NmHandle<SinkHolder> sink_;
};

NmLogFile& getTheLogInstance();
