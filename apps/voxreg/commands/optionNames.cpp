#include "commands/optionNames.h"

#include "terminal/HostError.h"

namespace host {

namespace {

template <class Value>
struct Named {
  const char* name;
  Value value;
};

using voxreg::ElasticEngine;
using voxreg::Interpolation;
using voxreg::Metric;
using voxreg::Search;
using voxreg::StartRule;

constexpr Named<Metric> metrics[] = {{"msd", Metric::meanSquaredDifference},
                                     {"cr", Metric::correlationRatio},
                                     {"nmi", Metric::normalizedMutualInformation},
                                     {"mi", Metric::mutualInformation}};

constexpr Named<Search> searches[] = {
    {"exact", Search::exactDerivatives},         {"best-neighbour", Search::bestNeighbour},
    {"aggressive", Search::aggressiveDirection}, {"best-direction", Search::bestDirection},
    {"gradient", Search::quasiNewton},           {"conjugate", Search::conjugateGradient}};

constexpr Named<StartRule> startRules[] = {{"auto", StartRule::best},
                                           {"none", StartRule::header},
                                           {"centres", StartRule::boxes},
                                           {"moments", StartRule::masses}};

constexpr Named<ElasticEngine> elasticEngines[] = {{"bricks", ElasticEngine::bricks},
                                                   {"variational", ElasticEngine::variational}};

constexpr Named<Interpolation> interpolations[] = {{"nearest", Interpolation::nearest},
                                                   {"linear", Interpolation::linear},
                                                   {"cubic", Interpolation::cubic},
                                                   {"lanczos", Interpolation::lanczos}};

template <class Value, std::size_t n>
std::vector<std::string> namesOf(const Named<Value> (&all)[n]) {
  std::vector<std::string> names;
  for (const Named<Value>& named : all) names.emplace_back(named.name);
  return names;
}

template <class Value, std::size_t n>
Value valueOf(const Named<Value> (&all)[n], const std::string& name) {
  for (const Named<Value>& named : all)
    if (named.name == name) return named.value;
  throw HostError("there is no " + name);
}

}  // namespace

std::vector<std::string> metricNames() {
  return namesOf(metrics);
}

Metric metricOf(const std::string& name) {
  return valueOf(metrics, name);
}

std::vector<std::string> searchNames() {
  return namesOf(searches);
}

Search searchOf(const std::string& name) {
  return valueOf(searches, name);
}

std::vector<std::string> startRuleNames() {
  return namesOf(startRules);
}

StartRule startRuleOf(const std::string& name) {
  return valueOf(startRules, name);
}

std::string nameOf(StartRule rule) {
  for (const Named<StartRule>& named : startRules)
    if (named.value == rule) return named.name;
  return "";
}

std::vector<std::string> elasticEngineNames() {
  return namesOf(elasticEngines);
}

ElasticEngine elasticEngineOf(const std::string& name) {
  return valueOf(elasticEngines, name);
}

std::vector<std::string> interpolationNames() {
  return namesOf(interpolations);
}

Interpolation interpolationOf(const std::string& name) {
  return valueOf(interpolations, name);
}

}  // namespace host
