#pragma once

#include <string>

#include "workflow/Image.h"
#include "workflow/MetricOptions.h"

namespace voxreg::detail {

/// Why no search could tell one place of these volumes from another: values that are all missing,
/// all the same, or made the same by the range that counts. Empty where there is something to go
/// by. Throws Refusal for a range that is none.
std::string lackOfInformation(const Image& reference, const Image& model,
                              const MetricOptions& metric);

/// Throws Refusal where there is nothing to go by.
void requireInformation(const Image& reference, const Image& model, const MetricOptions& metric);

}  // namespace voxreg::detail
