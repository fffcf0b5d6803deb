#include "starts.h"

#include <algorithm>

#include "HostError.h"
#include "MetricProbe.h"
#include "centres.h"
#include "placeMap.h"

namespace host {

namespace {

NmMat4d shift(const NmVec3d& from, const NmVec3d& to) {
  NmMat4d matrix;
  matrix.setTranslate(NmVec3d(to.x - from.x, to.y - from.y, to.z - from.z));
  return matrix;
}

NmMat4d matrixOf(StartRule rule, const NiftiVolume& reference, const NiftiVolume& model) {
  if (rule == StartRule::boxes) return shift(centreOfBox(model), centreOfBox(reference));
  if (rule == StartRule::masses) return shift(centreOfMass(model), centreOfMass(reference));
  return {};
}

}  // namespace

const std::vector<std::string>& startRuleNames() {
  static const std::vector<std::string> names = {"auto", "none", "centres", "moments"};
  return names;
}

StartRule startRuleOf(const std::string& name) {
  const std::vector<std::string>& names = startRuleNames();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) throw HostError("there is no start " + name);
  return static_cast<StartRule>(found - names.begin());
}

const std::string& nameOf(StartRule rule) {
  return startRuleNames()[static_cast<std::size_t>(rule)];
}

std::vector<Start> startsFor(StartRule rule, const NiftiVolume& reference, const NiftiVolume& model,
                             const MetricSettings& metric, const SearchSettings& search) {
  std::vector<Start> starts;
  for (const StartRule kind : {StartRule::header, StartRule::boxes, StartRule::masses}) {
    if (rule == StartRule::best || rule == kind)
      starts.push_back({kind, matrixOf(kind, reference, model), {}});
  }
  if (rule != StartRule::best) return starts;
  MetricProbe probe(reference, model, metric, search, coarsestFactors(reference, model, {}));
  for (Start& start : starts) start.value = probe.at(worldToFrames(start.matrix, reference, model));
  return starts;
}

const Start& bestOf(const std::vector<Start>& starts) {
  const Start* best = &starts.front();
  for (const Start& start : starts)
    if (start.value && (!best->value || *start.value > *best->value)) best = &start;
  return *best;
}

}  // namespace host
