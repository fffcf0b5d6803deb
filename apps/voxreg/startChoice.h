#pragma once

#include "PairRun.h"
#include "searchSettings.h"

namespace host {

/// The matrix, model world to reference world, from which a run begins; the run's report tells how
/// it was found.
NmMat4d chooseStart(const StartOptions& options, const MetricSettings& metric, PairRun& run);

}  // namespace host
