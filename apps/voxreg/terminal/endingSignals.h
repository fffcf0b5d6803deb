#pragma once

namespace host {

/// Must be called first. The signals by which a user, a terminal or a system ends a program
/// (SIGINT, SIGTERM and SIGHUP, unless it was started to ignore them) then leave no temporary file,
/// and a write that nobody reads (SIGPIPE) or that exceeds a limit (SIGXFSZ) only fails.
void catchEndingSignals();

/// During its lifetime, the first of these signals is a request to stop; the next one ends the
/// program.
class StopRequest {
 public:
  StopRequest();
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;
  ~StopRequest();

  static bool wasMade();
};

/// During its lifetime, no signal ends the program; a pending one does so afterwards.
class EndingSignalsHeld {
 public:
  EndingSignalsHeld();
  EndingSignalsHeld(const EndingSignalsHeld&) = delete;
  EndingSignalsHeld& operator=(const EndingSignalsHeld&) = delete;
  ~EndingSignalsHeld();
};

}  // namespace host
