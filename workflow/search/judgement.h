#pragma once

#include <new>

#include "foundation/NmException.h"
#include "workflow/Overlap.h"
#include "workflow/Registration.h"
#include "workflow/refusal.h"

namespace voxreg::detail {

/// What `find` writes into a result; a Refusal becomes its reason. Memory that runs out is an
/// NmMemoryException, whoever asked for it.
template <class Result, class Find>
Result found(const Find& find) {
  Result result;
  try {
    find(result);
  } catch (const Refusal& refusal) {
    result.reason = refusal.reason();
  } catch (const std::bad_alloc&) {
    throw NmMemoryException();
  }
  return result;
}

/// Decides from the overlap at the result, and from what else is known of it, whether anything was
/// found, and adds the warnings.
void judge(const Overlap& overlap, Registration& found);

}  // namespace voxreg::detail
