#include "nonAffineCommand.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "OutputFiles.h"
#include "displacementError.h"
#include "matrixFile.h"
#include "nonAffineRegistration.h"
#include "pairOptions.h"
#include "picture.h"
#include "report.h"
#include "resampled.h"

namespace host {

namespace {

struct NonAffineOptions {
  PairFiles files;
  NonAffineSettings settings;
  std::vector<int> bricks;
  std::vector<int> stages;
  std::string startMatrix;
  std::string transform;
  std::string truth;
};

void addOptions(CLI::App& command, NonAffineOptions& options) {
  addPairOptions(command, options.files);
  command.add_option("--transform", options.transform, "Transform file to write (.json)")
      ->required();
  command.add_option("--bricks", options.bricks, "Bricks of the last grid on each axis")
      ->expected(3)
      ->type_name("X Y Z")
      ->check(CLI::Range(1, 32))
      ->required();
  command
      .add_option("--stages", options.stages,
                  "Bricks on every axis of the grids before it, which have no more than it has")
      ->check(CLI::Range(1, 32));
  command.add_option("--start-matrix", options.startMatrix,
                     "Matrix file to start from (default: identity)");
  command.add_option("--truth", options.truth,
                     "File of points xr yr zr xm ym zm to print the displacement error at");
  addMetricOptions(command, options.settings.metric);
  addSearchOptions(command, options.settings.search);
}

NonAffineSettings settingsOf(const NonAffineOptions& options) {
  NonAffineSettings settings = options.settings;
  const NmVec3i last(options.bricks[0], options.bricks[1], options.bricks[2]);
  for (const int count : options.stages)
    settings.grids.emplace_back(std::min(count, last.x), std::min(count, last.y),
                                std::min(count, last.z));
  settings.grids.push_back(last);
  if (!options.startMatrix.empty()) settings.start = readMatrix(options.startMatrix);
  return settings;
}

int runNonAffine(const NonAffineOptions& options) {
  requireWritable(options.files);
  OutputFiles::requireWritable(options.transform);
  const NonAffineSettings settings = settingsOf(options);
  std::vector<PointPair> truth;
  if (!options.truth.empty()) truth = readPointPairs(options.truth);
  InterruptibleProgress progress(
      {{"Reading", 1.0}, {"Registering", 60.0}, {"Resampling", 1.0}, {"Writing", 2.0}});
  const NiftiVolume reference = readNifti(options.files.reference);
  const NiftiVolume model = readNifti(options.files.model);

  const NonAffineResult result = registerNonAffine(reference, model, settings, progress);
  const PlaceMap map = placeMap(result.transform, reference, model);
  progress.enter("Resampling");
  const NiftiVolume moved = resampled(reference, model, map);
  progress.enter("Writing");
  OutputFiles outputs;
  writeGridTransform(outputs, options.transform, result.transform);
  writeNifti(outputs, options.files.output, moved);
  writePicture(outputs, options.files.picture, reference, model,
               {placeMap(settings.start, reference, model), map}, MapPanels::shown);
  outputs.commit();
  progress.finish();
  printSearch(result.metric, result.seconds, result.interrupted);
  printJacobian(result.transform.smallestJacobian());
  if (!truth.empty())
    printDisplacementError("displacement error", displacementError(result.transform, truth));
  return progress.wasInterrupted() ? interruptedExitCode : 0;
}

}  // namespace

void addNonAffineCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand("nonaffine", "Find a transform on a grid of bricks");
  const auto options = std::make_shared<NonAffineOptions>();
  addOptions(*command, *options);
  command->callback([options, &exitCode] { exitCode = runNonAffine(*options); });
}

}  // namespace host
