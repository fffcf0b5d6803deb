#include "nonAffineCommand.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "MetricProbe.h"
#include "PairRun.h"
#include "displacementError.h"
#include "matrixFile.h"
#include "nonAffineRegistration.h"
#include "picture.h"
#include "report.h"
#include "searchOptions.h"
#include "startChoice.h"

namespace host {

namespace {

struct NonAffineOptions {
  PairOptions pair;
  StartOptions start;
  NonAffineSettings settings;
  std::vector<int> bricks;
  std::vector<int> stages;
  std::string transform;
  std::string truth;
};

void addOptions(CLI::App& command, NonAffineOptions& options) {
  addPairOptions(command, options.pair);
  command.add_option("--transform", options.transform, "Transform file to write (.json)");
  command
      .add_option("--bricks", options.bricks,
                  "Bricks of the last grid on each axis (default: of about 16 mm and no less than "
                  "three voxels)")
      ->expected(3)
      ->type_name("X Y Z")
      ->check(CLI::Range(1, 32));
  command
      .add_option("--stages", options.stages,
                  "Bricks on every axis of the grids before it, which have no more than it has "
                  "(default: a quarter and half as many)")
      ->check(CLI::Range(1, 32));
  addStartOptions(command, options.start);
  command.add_option("--truth", options.truth,
                     "File of points xr yr zr xm ym zm to print the displacement error at");
  addMetricOptions(command, options.settings.metric);
  addSearchOptions(command, options.settings.search);
}

NmVec3i lastGrid(const NonAffineOptions& options, const NiftiVolume& reference) {
  const std::vector<int>& bricks = options.bricks;
  return bricks.empty() ? defaultGrid(reference) : NmVec3i(bricks[0], bricks[1], bricks[2]);
}

std::vector<NmVec3i> gridsOf(const NonAffineOptions& options, const NmVec3i& last) {
  if (options.stages.empty()) return gridsUpTo(last);
  std::vector<NmVec3i> grids;
  for (const int count : options.stages)
    grids.emplace_back(std::min(count, last.x), std::min(count, last.y), std::min(count, last.z));
  grids.push_back(last);
  return grids;
}

/// The model's places in the reference's frame where the files or the user have put it.
GridTransform::Grid givenGrid(const StartOptions& start, const VolumePair& pair) {
  const NmMat4d matrix = start.file.empty() ? NmMat4d() : readMatrix(start.file);
  return GridTransform::start(matrix, pair.reference, pair.model);
}

Assessment assessmentOf(const VolumePair& pair, MetricProbe& probe,
                        const GridTransform::Grid& before, const GridTransform::Grid& after) {
  const auto& [reference, model] = pair;
  const GridTransform transform = GridTransform::fromFrames(after, reference, model);
  return {probe.at(before), probe.at(after),
          overlapOf(reference, model, placeMap(transform, reference, model)),
          transform.smallestJacobian()};
}

/// Leaves the model where it is if there is nothing to go by.
GridTransform::Grid registeredGrid(const NonAffineOptions& options, PairRun& run) {
  const VolumePair& pair = run.searched();
  const NmVec3i last = lastGrid(options, pair.reference);
  NonAffineSettings settings = options.settings;
  settings.grids = gridsOf(options, last);
  run.report.transform = "bricks";
  run.report.settings["bricks"] = {last.x, last.y, last.z};
  const GridTransform::Grid given = givenGrid(options.start, pair);
  if (!run.hasInformation(settings.metric)) return given;
  MetricProbe probe(pair.reference, pair.model, settings.metric, settings.search, fullResolution);
  settings.start = chooseStart(options.start, settings.metric, run);
  const NonAffineResult result =
      registerNonAffine(pair.reference, pair.model, settings, run.progress);
  run.judge(result.search, assessmentOf(pair, probe, given, result.frames));
  return result.frames;
}

int runNonAffine(const NonAffineOptions& options, const CLI::App& command) {
  PairRun run(command, options.pair, {{"--start", options.start.file}, {"--truth", options.truth}},
              {{"--transform", options.transform}}, 60.0);
  std::vector<PointPair> truth;
  if (!options.truth.empty()) truth = readPointPairs(options.truth);
  const auto& [reference, model] = run.files();

  const GridTransform transform =
      GridTransform::fromFrames(registeredGrid(options, run), reference, model);
  const GridTransform given =
      GridTransform::fromFrames(givenGrid(options.start, run.files()), reference, model);
  const PlaceMap map = placeMap(transform, reference, model);
  OutputFiles outputs;
  run.writeOutput(outputs, map);
  run.writePicture(outputs, {placeMap(given, reference, model), map}, MapPanels::shown);
  if (!options.transform.empty()) writeGridTransform(outputs, options.transform, transform);
  return run.finish(outputs, [&] {
    if (!truth.empty()) printPlaceError("displacement error", displacementError(transform, truth));
  });
}

}  // namespace

void addNonAffineCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand("nonaffine", "Find a transform on a grid of bricks");
  const auto options = std::make_shared<NonAffineOptions>();
  addOptions(*command, *options);
  command->callback([options, command, &exitCode] { exitCode = runNonAffine(*options, *command); });
}

}  // namespace host
