#include "terminal/endingSignals.h"

#include <atomic>
#include <csignal>

#include "files/TemporaryFile.h"

namespace host {

namespace {

// State that the handler accesses.
std::atomic<bool> requestsAreTaken{false};
std::atomic<bool> requestWasMade{false};
std::atomic<bool> areHeld{false};
std::atomic<int> heldSignal{0};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void endBy(int signal) {
  TemporaryFile::removeAll();
  struct sigaction action = {};
  action.sa_handler = SIG_DFL;
  (void)sigaction(signal, &action, nullptr);
  (void)raise(signal);  // takes effect when the handler has returned
}

void handle(int signal) {
  if (requestsAreTaken && !requestWasMade.exchange(true)) return;
  if (areHeld)
    heldSignal = signal;
  else
    endBy(signal);
}

bool isIgnored(int signal) {
  struct sigaction present = {};
  return sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_IGN;
}

}  // namespace

void catchEndingSignals() {
  struct sigaction action = {};
  action.sa_handler = handle;
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    if (!isIgnored(signal)) (void)sigaction(signal, &action, nullptr);
  for (const int signal : {SIGPIPE, SIGXFSZ}) (void)std::signal(signal, SIG_IGN);
}

StopRequest::StopRequest() {
  requestWasMade = false;
  requestsAreTaken = true;
}

StopRequest::~StopRequest() {
  requestsAreTaken = false;
}

bool StopRequest::wasMade() {
  return requestWasMade;
}

EndingSignalsHeld::EndingSignalsHeld() {
  areHeld = true;
}

EndingSignalsHeld::~EndingSignalsHeld() {
  areHeld = false;
  if (const int signal = heldSignal.exchange(0)) endBy(signal);
}

}  // namespace host
