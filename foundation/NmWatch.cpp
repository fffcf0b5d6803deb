#include "foundation/NmWatch.h"

NmWatch::NmWatch(bool running) {
  if (running) start();
}

void NmWatch::start() {
  running_ = true;
  begin_ = std::chrono::steady_clock::now();
}

float NmWatch::getTime() const {
  if (!running_) return 0.0f;
  return std::chrono::duration<float>(std::chrono::steady_clock::now() - begin_).count();
}
