#include "commands/nonAffineCommand.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/PairRun.h"
#include "commands/displacementError.h"
#include "commands/report.h"
#include "commands/searchOptions.h"
#include "commands/transformOutput.h"

namespace host {

namespace {

struct NonAffineOptions {
  NonAffineOptions() { search.optimizer = "gradient"; }

  PairOptions pair;
  StartArguments start;
  MetricArguments metric;
  SearchArguments search;
  std::vector<int> bricks;
  std::vector<int> stages;
  TransformOutput transform;
  std::string truth;
};

void addOptions(CLI::App& command, NonAffineOptions& options) {
  addPairOptions(command, options.pair);
  addTransformOption(command, options.transform);
  command
      .add_option("--bricks", options.bricks,
                  "Bricks of the last grid on each axis (default: about 16 mm and at least "
                  "three voxels each)")
      ->expected(3)
      ->type_name("X Y Z")
      ->check(CLI::Range(1, 32));
  command
      .add_option("--stages", options.stages,
                  "Bricks on every axis of the preceding grids, at most as many as in the last one "
                  "(default: a quarter and half as many)")
      ->check(CLI::Range(1, 32));
  addStartOptions(command, options.start);
  command.add_option("--truth", options.truth,
                     "File of points xr yr zr xm ym zm to print the displacement error at");
  addMetricOptions(command, options.metric);
  addSearchOptions(command, options.search);
}

NmVec3i lastGrid(const NonAffineOptions& options, const NiftiVolume& reference) {
  const std::vector<int>& bricks = options.bricks;
  return bricks.empty() ? voxreg::defaultBricks(reference.image)
                        : NmVec3i(bricks[0], bricks[1], bricks[2]);
}

/// Leaves the model where it is if the volumes hold no information.
voxreg::Transform registered(const NonAffineOptions& options,
                             const std::optional<voxreg::Transform>& given, PairRun& run) {
  const auto& [reference, model] = run.files();
  const NmVec3i last = lastGrid(options, reference);
  voxreg::NonAffineOptions task;
  task.bricks = last;
  task.stages = options.stages;
  task.startRule = startRuleOf(options.start.init);
  task.start = given;
  task.metric = options.metric.options();
  task.search = options.search.options();
  task.progress = run.progress.ofRegistration("Registering");
  run.report.transform = "bricks";
  run.report.metric = options.metric.name;
  run.report.settings["bricks"] = {last.x, last.y, last.z};
  const voxreg::Registration found = voxreg::registerNonAffine(reference.image, model.image, task);
  run.judge(found);
  run.report.tellStart(options.start.init, options.start.file, given.value_or(voxreg::Transform()));
  return found.transform;
}

int runNonAffine(const NonAffineOptions& options, const CLI::App& command) {
  PairRun run(command, options.pair, {{"--start", options.start.file}, {"--truth", options.truth}},
              {{"--transform", options.transform.path}}, 61.0);
  std::vector<PointPair> truth;
  if (!options.truth.empty()) truth = readPointPairs(options.truth);
  const std::optional<voxreg::Transform> given = options.start.given();
  const voxreg::Transform transform = registered(options, given, run);
  OutputFiles outputs;
  run.writeOutput(outputs, transform);
  run.writePicture(outputs, {given.value_or(voxreg::Transform()), transform}, MapPanels::shown);
  const std::string loss = options.transform.write(outputs, transform, run.files().reference.image);
  return run.finish(outputs, [&] {
    (void)std::fputs(loss.c_str(), stdout);
    if (!truth.empty()) printPlaceError("displacement error", displacementError(transform, truth));
  });
}

}  // namespace

void addNonAffineCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command =
      app.add_subcommand("nonaffine", "Find a non-affine transform on a grid of bricks");
  const auto options = std::make_shared<NonAffineOptions>();
  addOptions(*command, *options);
  command->callback([options, command, &exitCode] { exitCode = runNonAffine(*options, *command); });
}

}  // namespace host
