#include "commands/affineCommand.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/PairRun.h"
#include "commands/report.h"
#include "commands/searchOptions.h"
#include "commands/targetError.h"
#include "files/matrixFile.h"

namespace host {

namespace {

struct AffineOptions {
  PairOptions pair;
  StartArguments start;
  MaskArguments masks;
  MetricArguments metric;
  SearchArguments search;
  LevelArguments levels;
  int degreesOfFreedom = 12;
  std::vector<int> stages;
  std::string matrix;
  std::string truth;
};

void addStages(CLI::App& command, AffineOptions& options) {
  CLI::Option* const last =
      command
          .add_option("--dof", options.degreesOfFreedom,
                      "Degrees of freedom: translation 3, rigid 6, one scale 7, three 9, affine 12")
          ->check(CLI::IsMember({3, 6, 7, 9, 12}))
          ->capture_default_str();
  command.add_option("--stages", options.stages, "Degrees of freedom of successive searches")
      ->check(CLI::IsMember({3, 6, 7, 12}))
      ->excludes(last);
}

void addOptions(CLI::App& command, AffineOptions& options) {
  addPairOptions(command, options.pair);
  command.add_option("--matrix", options.matrix, "Matrix file to write");
  addStartOptions(command, options.start);
  command.add_option("--truth", options.truth, "Matrix file to print the target error against");
  addStages(command, options);
  addMaskOptions(command, options.masks);
  addMetricOptions(command, options.metric);
  addSearchOptions(command, options.search);
  addLevelOptions(command, options.levels);
}

std::string kindOf(int degreesOfFreedom) {
  if (degreesOfFreedom == 3) return "translation";
  if (degreesOfFreedom == 6) return "rigid";
  return degreesOfFreedom == 7 ? "similarity" : "affine";
}

int mostFreedom(const AffineOptions& options) {
  const std::vector<int>& stages = options.stages;
  return stages.empty() ? options.degreesOfFreedom
                        : *std::max_element(stages.begin(), stages.end());
}

/// Leaves the model where it is if the volumes hold no information.
NmMat4d registeredMatrix(const AffineOptions& options,
                         const std::optional<voxreg::Transform>& given, PairRun& run) {
  voxreg::AffineOptions task;
  task.degreesOfFreedom = options.degreesOfFreedom;
  task.stages = options.stages;
  task.startRule = startRuleOf(options.start.init);
  task.start = given;
  task.masks = options.masks.read();
  task.metric = options.metric.options();
  task.search = options.search.options();
  task.levels = options.levels.options();
  task.progress = run.progress.ofRegistration("Registering");
  run.report.transform = kindOf(mostFreedom(options));
  run.report.metric = options.metric.name;
  const auto& [reference, model] = run.files();
  const voxreg::Registration found = voxreg::registerAffine(reference.image, model.image, task);
  run.judge(found);
  run.report.tellStart(options.start.init, options.start.file, given.value_or(voxreg::Transform()));
  return found.transform.modelToReference().value_or(NmMat4d());
}

int runAffine(const AffineOptions& options, const CLI::App& command) {
  std::vector<FileRole> inputs = options.masks.roles();
  inputs.push_back({"--start", options.start.file});
  inputs.push_back({"--truth", options.truth});
  PairRun run(command, options.pair, inputs, {{"--matrix", options.matrix}}, 5.0);
  std::optional<NmMat4d> truth;
  if (!options.truth.empty()) truth = readMatrix(options.truth);
  const std::optional<voxreg::Transform> given = options.start.given();
  const NmMat4d matrix = registeredMatrix(options, given, run);
  const voxreg::Transform transform = voxreg::Transform::fromModelToReference(matrix);
  OutputFiles outputs;
  run.writeOutput(outputs, transform);
  run.writePicture(outputs, {given.value_or(voxreg::Transform()), transform}, MapPanels::none);
  if (!options.matrix.empty()) writeMatrix(outputs, options.matrix, matrix);
  return run.finish(outputs, [&] {
    if (truth) printPlaceError("target error", targetError(run.files().reference, matrix, *truth));
  });
}

}  // namespace

void addAffineCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand("affine", "Find a rigid or affine matrix");
  const auto options = std::make_shared<AffineOptions>();
  addOptions(*command, *options);
  command->callback([options, command, &exitCode] { exitCode = runAffine(*options, *command); });
}

}  // namespace host
