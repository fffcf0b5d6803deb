#pragma once

#include <vector>

#include "foundation/NmProgressInterface.h"
#include "workflow/Image.h"
#include "workflow/MetricOptions.h"
#include "workflow/Start.h"

namespace voxreg::detail {

/// The possible starts of a search: that of a rule or, with the values of the metric (nmi instead
/// of msd), all of them, the header's first. `progress` is asked whether to stop, but receives no
/// reports.
std::vector<Start> startsFor(StartRule rule, const Image& reference, const Image& model,
                             const MetricOptions& metric, NmProgressInterface& progress);

/// The first start from which a search gains at most a tenth less than the best (empirical), so the
/// header's is kept unless it is wrong. The first of all if nothing is known.
const Start& bestOf(const std::vector<Start>& starts);

}  // namespace voxreg::detail
