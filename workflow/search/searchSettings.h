#pragma once

#include "workflow/MetricOptions.h"
#include "workflow/SearchOptions.h"

namespace voxreg::detail {

/// The library's number of a metric, and of a search.
unsigned int kindOf(Metric metric);
unsigned int kindOf(Search search);

/// Of images that have nothing to do with each other; the difference knows no such value.
double valueOfChance(Metric metric);

/// Largest (x) and smallest step of a search that begins.
NmVec2f stepRange(const SearchOptions& options);

/// The same of a search that goes on from a good result.
NmVec2f refiningSteps(const SearchOptions& options);

/// Each throws Refusal for values that no run can take.
void requireSettings(const MetricOptions& options);
void requireSettings(const SearchOptions& options);
void requireSettings(const LevelOptions& options);

}  // namespace voxreg::detail
