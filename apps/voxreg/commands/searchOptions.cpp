#include "commands/searchOptions.h"

#include <cmath>
#include <limits>

#include "commands/optionNames.h"

namespace host {

namespace {

constexpr double anything = -std::numeric_limits<double>::infinity();

void addRange(CLI::App& command, const std::string& name, std::vector<float>& range,
              const std::string& volume) {
  command.add_option(name, range, "Range of values of the " + volume + " to use (default: all)")
      ->expected(2)
      ->type_name("MIN MAX")
      ->check(numberAbove(anything));
}

}  // namespace

voxreg::MetricOptions MetricArguments::options() const {
  return {metricOf(name), bins, rangeOf(referenceRange), rangeOf(modelRange)};
}

voxreg::SearchOptions SearchArguments::options() const {
  voxreg::SearchOptions options;
  if (!optimizer.empty()) options.search = searchOf(optimizer);
  if (!steps.empty()) options.steps = {steps[0], steps[1]};
  options.gradientLevels = gradientLevels;
  if (gradientTolerance > 0.0f) options.gradientTolerance = gradientTolerance;
  options.fitSteps = fitSteps;
  options.restrictedMotion = restrictedMotion;
  return options;
}

voxreg::LevelOptions LevelArguments::options() const {
  voxreg::LevelOptions options;
  if (!coarsest.empty()) options.coarsest = NmVec3i(coarsest[0], coarsest[1], coarsest[2]);
  options.levels = levels;
  return options;
}

std::optional<voxreg::IntensityRange> rangeOf(const std::vector<float>& numbers) {
  if (numbers.empty()) return std::nullopt;
  return voxreg::IntensityRange{numbers[0], numbers[1]};
}

CLI::Validator numberAbove(double limit) {
  const auto complaintAbout = [limit](const std::string& text) -> std::string {
    float value = 0.0f;
    if (!CLI::detail::lexical_cast(text, value) || !std::isfinite(value))
      return text + " is not a number";
    return value > limit ? "" : text + " is too small";
  };
  return {complaintAbout, ""};
}

void addMetricOptions(CLI::App& command, MetricArguments& arguments) {
  command
      .add_option(
          "--metric", arguments.name,
          "Similarity measure: mean squared difference, correlation ratio, normalised or plain "
          "mutual information")
      ->check(CLI::IsMember(metricNames()))
      ->capture_default_str();
  command
      .add_option("--bins", arguments.bins,
                  "Bins of nmi and mi (default: from the ranges, up to 64)")
      ->check(CLI::Range(1, 4096));
  addRange(command, "--range-reference", arguments.referenceRange, "reference");
  addRange(command, "--range-model", arguments.modelRange, "model");
}

void addSearchOptions(CLI::App& command, SearchArguments& arguments) {
  command
      .add_option(
          "--optimizer", arguments.optimizer,
          "Search method: exact derivatives (matrices only), or one of those that compare "
          "values; best-neighbour shows no progress, and Ctrl-C stops it only at the end of "
          "a stage. An option of the latter selects gradient")
      ->check(CLI::IsMember(searchNames()))
      ->default_str(arguments.optimizer.empty() ? "exact" : arguments.optimizer);
  command
      .add_option("--steps", arguments.steps,
                  "Largest and smallest step of the search (default: depends on the search)")
      ->expected(2)
      ->type_name("MAX MIN")
      ->check(numberAbove(0.0));
  command
      .add_option("--gradient-levels", arguments.gradientLevels,
                  "Number of finest levels that use the gradient search")
      ->check(CLI::Range(0, 16))
      ->capture_default_str();
  command
      .add_option("--gradient-tolerance", arguments.gradientTolerance,
                  "Relative gain below which exact, gradient and conjugate searches stop")
      ->check(numberAbove(0.0))
      ->default_str("depends on search and metric");
  command.add_flag("--fit-steps", arguments.fitSteps,
                   "Reduce the step of the best-direction search by a constant factor");
  command.add_flag("--restricted-motion", arguments.restrictedMotion,
                   "Restrain rotations, and lower the value gradually as the overlap shrinks");
}

void addLevelOptions(CLI::App& command, LevelArguments& arguments) {
  CLI::Option* const coarsest =
      command
          .add_option("--coarsest", arguments.coarsest,
                      "Reduction on the coarsest level (default: down to about 32 voxels)")
          ->expected(3)
          ->type_name("X Y Z")
          ->check(CLI::Range(1, 1024));
  command
      .add_option(
          "--levels", arguments.levels,
          "Number of levels: 1 is full resolution only, each further one is twice as coarse")
      ->check(CLI::Range(1, 10))
      ->excludes(coarsest);
}

}  // namespace host
