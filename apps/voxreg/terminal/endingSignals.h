#pragma once

namespace host {

/// To be called first of all. The signals by which a user, a terminal or a system ends a program
/// (SIGINT, SIGTERM and SIGHUP, unless it was started to ignore them) then leave no temporary file
/// behind, and a write that nobody reads (SIGPIPE) or that exceeds a limit (SIGXFSZ) merely fails.
void catchEndingSignals();

/// While an object lives, the first of these signals is a request to stop; the next one ends the
/// program.
class StopRequest {
 public:
  StopRequest();
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;
  ~StopRequest();

  static bool wasMade();
};

/// While an object lives, no signal ends the program; one that has come meanwhile does afterwards.
class EndingSignalsHeld {
 public:
  EndingSignalsHeld();
  EndingSignalsHeld(const EndingSignalsHeld&) = delete;
  EndingSignalsHeld& operator=(const EndingSignalsHeld&) = delete;
  ~EndingSignalsHeld();
};

}  // namespace host
