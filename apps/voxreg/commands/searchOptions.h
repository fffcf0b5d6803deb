#pragma once

#include <voxreg.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace host {

/// How two volumes are compared, as given by the user.
struct MetricArguments {
  std::string name = "nmi";
  int bins = 0;
  std::vector<float> referenceRange;
  std::vector<float> modelRange;

  voxreg::MetricOptions options() const;
};

/// Settings of a search.
struct SearchArguments {
  std::string optimizer;  ///< empty: the registration's choice
  std::vector<float> steps;
  int gradientLevels = 0;
  float gradientTolerance = 0.0f;  ///< 0: depends on search and metric
  bool fitSteps = false;
  bool restrictedMotion = false;

  voxreg::SearchOptions options() const;
};

/// The resolutions of a search.
struct LevelArguments {
  std::vector<int> coarsest;
  int levels = 0;

  voxreg::LevelOptions options() const;
};

/// Each adds its options to a command; the current values are the defaults.
void addMetricOptions(CLI::App& command, MetricArguments& arguments);
void addSearchOptions(CLI::App& command, SearchArguments& arguments);
void addLevelOptions(CLI::App& command, LevelArguments& arguments);

/// The two numbers of an option, smallest and largest; nothing if it was not given.
std::optional<voxreg::IntensityRange> rangeOf(const std::vector<float>& numbers);

/// A validator for the numbers of an option: finite and above a limit.
CLI::Validator numberAbove(double limit);

}  // namespace host
