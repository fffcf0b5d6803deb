#pragma once

#include <vector>

#include "foundation/NmProgressInterface.h"
#include "workflow/Image.h"
#include "workflow/MetricOptions.h"
#include "workflow/Start.h"

namespace voxreg::detail {

/// The places from which a search could begin: that of a rule or, with the values of the metric
/// (nmi in place of msd), all of them, the header's first. `progress` is asked whether to stop, and
/// not told.
std::vector<Start> startsFor(StartRule rule, const Image& reference, const Image& model,
                             const MetricOptions& metric, NmProgressInterface& progress);

/// The first start from which a search gets nearly as far as from any, a tenth less at most:
/// the header's stays unless it is wrong. The first one of all where nothing is known.
const Start& bestOf(const std::vector<Start>& starts);

}  // namespace voxreg::detail
