#pragma once

#include "workflow/MetricOptions.h"
#include "workflow/SearchOptions.h"

namespace voxreg::detail {

/// The library's code of a metric or a search.
unsigned int kindOf(Metric metric);
unsigned int kindOf(Search search);

/// Whether a matrix is searched by exact derivatives. Throws Refusal if options contradict each
/// other.
bool usesExactDerivatives(const SearchOptions& options);

/// The search otherwise, and for grids of bricks.
Search searchByValues(const SearchOptions& options);

/// The value for unrelated images. The mean squared difference has no such value.
double valueOfChance(Metric metric);

/// Largest (x) and smallest step of the first search.
NmVec2f stepRange(const SearchOptions& options);

/// The same for a search that continues from a good result.
NmVec2f refiningSteps(const SearchOptions& options);

/// Each throws Refusal for values out of range.
void requireSettings(const MetricOptions& options);
void requireSettings(const SearchOptions& options);
void requireSettings(const LevelOptions& options);

}  // namespace voxreg::detail
