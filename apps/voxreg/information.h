#pragma once

#include <string>

#include "niftiVolume.h"
#include "searchSettings.h"

namespace host {

/// Why no search could tell one place of these volumes from another: values that are all missing,
/// all the same, or made the same by the range that counts. Empty where there is something to go
/// by. Throws HostError for a range that is none.
std::string lackOfInformation(const NiftiVolume& reference, const NiftiVolume& model,
                              const MetricSettings& metric);

}  // namespace host
