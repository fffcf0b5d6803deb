#pragma once

#include <optional>
#include <string>
#include <vector>

#include "niftiVolume.h"
#include "searchSettings.h"

namespace host {

/// How a registration finds where to begin.
enum class StartRule {
  best,    ///< the one of the others from which a short coarse search gets furthest
  header,  ///< as the files have it
  boxes,   ///< the middles of the volumes' boxes on each other
  masses   ///< the centres of mass on each other
};

/// Where a registration may begin.
struct Start {
  StartRule rule;
  NmMat4d matrix;                 ///< model world to reference world
  std::optional<double> reached;  ///< by a short rigid search from there, above what chance gives
};

/// The names that the command line has for the rules, in their order.
const std::vector<std::string>& startRuleNames();
StartRule startRuleOf(const std::string& name);
const std::string& nameOf(StartRule rule);

/// The places from which a search could begin: that of a rule or, with the values of the metric
/// (nmi in place of msd), all of them, the header's first. `progress` is asked whether to stop, and
/// not told.
std::vector<Start> startsFor(StartRule rule, const NiftiVolume& reference, const NiftiVolume& model,
                             const MetricSettings& metric, NmProgressInterface& progress);

/// The first start from which a search gets nearly as far as from any, a tenth less at most:
/// the header's stays unless it is wrong. The first one of all where nothing is known.
const Start& bestOf(const std::vector<Start>& starts);

}  // namespace host
