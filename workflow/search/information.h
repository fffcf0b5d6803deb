#pragma once

#include <string>

#include "workflow/Image.h"
#include "workflow/MetricOptions.h"

namespace voxreg::detail {

/// The reason why no search can succeed on these volumes: all values are missing, all are equal, or
/// the range makes them equal. Empty if the volumes hold information. Throws Refusal for an invalid
/// range.
std::string lackOfInformation(const Image& reference, const Image& model,
                              const MetricOptions& metric);

/// Throws Refusal if there is no information.
void requireInformation(const Image& reference, const Image& model, const MetricOptions& metric);

}  // namespace voxreg::detail
