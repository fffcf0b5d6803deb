#pragma once

#include <optional>
#include <string>
#include <vector>

#include "niftiVolume.h"
#include "searchOptions.h"

namespace host {

/// How a registration finds where to begin.
enum class StartRule {
  best,    ///< the one of the others at which the metric is highest
  header,  ///< as the files have it
  boxes,   ///< the middles of the volumes' boxes on each other
  masses   ///< the centres of mass on each other
};

/// Where a registration may begin.
struct Start {
  StartRule rule;
  NmMat4d matrix;               ///< model world to reference world
  std::optional<double> value;  ///< of the metric on a coarse level, where it can tell one
};

/// The names that the command line has for the rules, in their order.
const std::vector<std::string>& startRuleNames();
StartRule startRuleOf(const std::string& name);
const std::string& nameOf(StartRule rule);

/// The places from which a search could begin: that of a rule or, with the metric's values, all of
/// them, the header's first.
std::vector<Start> startsFor(StartRule rule, const NiftiVolume& reference, const NiftiVolume& model,
                             const MetricSettings& metric, const SearchSettings& search);

/// The start of the highest value; the first of equals, and where no value can be told.
const Start& bestOf(const std::vector<Start>& starts);

}  // namespace host
