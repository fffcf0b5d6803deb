#pragma once

#include <string>
#include <utility>

#include "workflow/Reason.h"

namespace voxreg::detail {

/// Ends a registration internally; the public operations turn it into their reason.
class Refusal {
 public:
  explicit Refusal(std::string message, Reason::Kind kind = Reason::Kind::badOptions)
      : reason_{kind, std::move(message)} {}

  const Reason& reason() const { return reason_; }

 private:
  Reason reason_;
};

}  // namespace voxreg::detail
