#pragma once

#include "workflow/Overlap.h"
#include "workflow/Registration.h"
#include "workflow/refusal.h"

namespace voxreg::detail {

/// What `find` writes into a result; a Refusal becomes its reason.
template <class Result, class Find>
Result found(const Find& find) {
  Result result;
  try {
    find(result);
  } catch (const Refusal& refusal) {
    result.reason = refusal.reason();
  }
  return result;
}

/// Says by the overlap at the result, and by what else is known of it, whether anything was found
/// and what a user ought to look at.
void judge(const Overlap& overlap, Registration& found);

}  // namespace voxreg::detail
