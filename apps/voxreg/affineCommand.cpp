#include "affineCommand.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "OutputFiles.h"
#include "affineRegistration.h"
#include "matrixFile.h"
#include "pairOptions.h"
#include "picture.h"
#include "report.h"
#include "resampled.h"
#include "targetError.h"

namespace host {

namespace {

struct AffineOptions {
  PairFiles files;
  AffineSettings settings;
  int degreesOfFreedom = 0;
  std::string start;
  std::string matrix;
  std::string truth;
};

void addStages(CLI::App& command, AffineOptions& options) {
  CLI::App* const stages = command.add_option_group("stages");
  stages
      ->add_option("--dof", options.degreesOfFreedom,
                   "Degrees of freedom: translation 3, rigid 6, one scale 7, three 9, affine 12")
      ->check(CLI::IsMember({3, 6, 7, 9, 12}));
  stages->add_option("--stages", options.settings.stages, "Degrees of freedom of several searches")
      ->check(CLI::IsMember({3, 6, 7, 12}));
  stages->require_option(1);
}

void addOptions(CLI::App& command, AffineOptions& options) {
  addPairOptions(command, options.files);
  command.add_option("--matrix", options.matrix, "Matrix file to write")->required();
  command.add_option("--start", options.start, "Matrix file to start from (default: identity)");
  command.add_option("--truth", options.truth, "Matrix file to print the target error against");
  addStages(command, options);
  addMetricOptions(command, options.settings.metric);
  addSearchOptions(command, options.settings.search);
  addLevelOptions(command, options.settings.levels);
}

AffineSettings settingsOf(const AffineOptions& options) {
  AffineSettings settings = options.settings;
  if (settings.stages.empty()) settings.stages = stagesFor(options.degreesOfFreedom);
  std::sort(settings.stages.begin(), settings.stages.end());
  if (!options.start.empty()) settings.start = readMatrix(options.start);
  return settings;
}

int runAffine(const AffineOptions& options) {
  requireWritable(options.files);
  OutputFiles::requireWritable(options.matrix);
  const AffineSettings settings = settingsOf(options);
  std::optional<NmMat4d> truth;
  if (!options.truth.empty()) truth = readMatrix(options.truth);
  InterruptibleProgress progress(
      {{"Reading", 1.0}, {"Registering", 20.0}, {"Resampling", 1.5}, {"Writing", 2.0}});
  const NiftiVolume reference = readNifti(options.files.reference);
  const NiftiVolume model = readNifti(options.files.model);

  const AffineResult result = registerAffine(reference, model, settings, progress);
  progress.enter("Resampling");
  const NiftiVolume moved = resampled(reference, model, result.matrix);
  progress.enter("Writing");
  OutputFiles outputs;
  writeMatrix(outputs, options.matrix, result.matrix);
  writeNifti(outputs, options.files.output, moved);
  writePicture(
      outputs, options.files.picture, reference, model,
      {placeMap(settings.start, reference, model), placeMap(result.matrix, reference, model)});
  outputs.commit();
  progress.finish();
  printSearch(result.metric, result.seconds, result.interrupted);
  if (truth) printTargetError("target error", targetError(reference, result.matrix, *truth));
  return progress.wasInterrupted() ? interruptedExitCode : 0;
}

}  // namespace

void addAffineCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand("affine", "Find a rigid or affine matrix");
  const auto options = std::make_shared<AffineOptions>();
  addOptions(*command, *options);
  command->callback([options, &exitCode] { exitCode = runAffine(*options); });
}

}  // namespace host
