#pragma once

#include "foundation/NmHandableThreaded.h"

namespace voxreg::detail {

/// Keeps an object alive beyond its last handle. One that no handle has ever held is its owner's,
/// and stays when the last keeper goes.
class KeepAlive {
 public:
  explicit KeepAlive(const NmHandableThreaded& object) noexcept : object_(object) {
    object_.keep();
  }
  KeepAlive(const KeepAlive&) = delete;
  KeepAlive& operator=(const KeepAlive&) = delete;
  ~KeepAlive() { object_.letGo(); }

 private:
  const NmHandableThreaded& object_;
};

}  // namespace voxreg::detail
