#pragma once

#include "foundation/NmHandableThreaded.h"

namespace voxreg::detail {

/// Keeps an object alive beyond its last handle. An object that no handle has ever held belongs to
/// its owner, and is not destroyed with the last keeper.
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
