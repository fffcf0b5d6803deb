#pragma once

#include <voxreg.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace host {

/// How two volumes are compared, as the user has said it.
struct MetricArguments {
  std::string name = "nmi";
  int bins = 0;
  std::vector<float> referenceRange;
  std::vector<float> modelRange;

  voxreg::MetricOptions options() const;
};

/// How a search goes about it.
struct SearchArguments {
  std::string optimizer = "gradient";
  std::vector<float> steps;
  int gradientLevels = 0;
  float gradientTolerance = 1e-6f;  ///< 0, where that is allowed: by the metric
  bool fitSteps = false;
  bool restrictedMotion = false;

  voxreg::SearchOptions options() const;
};

/// The resolutions that it runs through.
struct LevelArguments {
  std::vector<int> coarsest;
  int levels = 0;

  voxreg::LevelOptions options() const;
};

/// Each adds its options to a command; the present values are the defaults.
void addMetricOptions(CLI::App& command, MetricArguments& arguments);
void addSearchOptions(CLI::App& command, SearchArguments& arguments);
void addLevelOptions(CLI::App& command, LevelArguments& arguments);

/// Two numbers of an option, smallest and largest; none where it was not given.
std::optional<voxreg::IntensityRange> rangeOf(const std::vector<float>& numbers);

/// A check for the numbers of an option: finite and above a limit.
CLI::Validator numberAbove(double limit);

}  // namespace host
