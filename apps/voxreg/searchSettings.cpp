#include "searchSettings.h"

#include "HostError.h"

namespace host {

namespace {

struct Kind {
  const char* name;
  unsigned int number;
};

constexpr Kind metrics[] = {{"msd", 2}, {"cr", 3}, {"nmi", 0}, {"mi", 1}};

constexpr Kind searches[] = {{"best-neighbour", 1},
                             {"aggressive", 0},
                             {"best-direction", 4},
                             {"gradient", SearchSettings::gradientKind},
                             {"conjugate", 3}};

template <std::size_t n>
std::vector<std::string> namesOf(const Kind (&kinds)[n]) {
  std::vector<std::string> names;
  for (const Kind& kind : kinds) names.emplace_back(kind.name);
  return names;
}

template <std::size_t n>
unsigned int numberOf(const Kind (&kinds)[n], const std::string& name) {
  for (const Kind& kind : kinds)
    if (kind.name == name) return kind.number;
  throw HostError("there is no " + name);
}

}  // namespace

unsigned int MetricSettings::kind() const {
  return numberOf(metrics, name);
}

unsigned int SearchSettings::kind() const {
  return numberOf(searches, optimizer);
}

/// The others make each of their steps in turn, down to the smallest; those that search lines take
/// their gradients at it.
bool SearchSettings::followsLines() const {
  return optimizer == "gradient" || optimizer == "conjugate";
}

NmVec2f SearchSettings::stepRange() const {
  if (steps.empty()) return followsLines() ? NmVec2f(8.0f, 1.0f) : NmVec2f(8.0f, 0.03f);
  if (steps[0] < steps[1]) throw HostError("the largest step is smaller than the smallest");
  return {steps[0], steps[1]};
}

NmVec2f SearchSettings::refiningSteps() const {
  const float smallest = stepRange().y;
  return followsLines() ? NmVec2f(0.2f * smallest, 0.1f * smallest)
                        : NmVec2f(16.0f * smallest, smallest);
}

std::vector<std::string> metricNames() {
  return namesOf(metrics);
}

std::vector<std::string> searchNames() {
  return namesOf(searches);
}

}  // namespace host
