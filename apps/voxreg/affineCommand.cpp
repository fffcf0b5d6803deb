#include "affineCommand.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "MetricProbe.h"
#include "PairRun.h"
#include "affineRegistration.h"
#include "matrixFile.h"
#include "picture.h"
#include "report.h"
#include "resampled.h"
#include "searchOptions.h"
#include "startChoice.h"
#include "targetError.h"

namespace host {

namespace {

struct AffineOptions {
  PairOptions pair;
  StartOptions start;
  AffineSettings settings;
  int degreesOfFreedom = 12;
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
  command.add_option("--stages", options.settings.stages, "Degrees of freedom of several searches")
      ->check(CLI::IsMember({3, 6, 7, 12}))
      ->excludes(last);
}

void addOptions(CLI::App& command, AffineOptions& options) {
  addPairOptions(command, options.pair);
  command.add_option("--matrix", options.matrix, "Matrix file to write");
  addStartOptions(command, options.start);
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
  return settings;
}

std::string kindOf(int degreesOfFreedom) {
  if (degreesOfFreedom == 3) return "translation";
  if (degreesOfFreedom == 6) return "rigid";
  return degreesOfFreedom == 7 ? "similarity" : "affine";
}

Assessment assessmentOf(const VolumePair& pair, MetricProbe& probe, const NmMat4d& before,
                        const NmMat4d& after) {
  const auto& [reference, model] = pair;
  return {probe.at(worldToFrames(before, reference, model)),
          probe.at(worldToFrames(after, reference, model)),
          overlapOf(reference, model, placeMap(after, reference, model)),
          smallestJacobianOf(after)};
}

/// Where the files or the user have put the model.
NmMat4d givenMatrix(const StartOptions& start) {
  return start.file.empty() ? NmMat4d() : readMatrix(start.file);
}

/// Leaves the model where it is if there is nothing to go by.
NmMat4d registeredMatrix(const AffineOptions& options, PairRun& run) {
  AffineSettings settings = settingsOf(options);
  run.report.transform = kindOf(settings.stages.back());
  const NmMat4d given = givenMatrix(options.start);
  if (!run.hasInformation(settings.metric)) return given;
  const VolumePair& pair = run.searched();
  MetricProbe probe(pair.reference, pair.model, settings.metric, settings.search, fullResolution);
  settings.start = chooseStart(options.start, settings.metric, run);
  const AffineResult result = registerAffine(pair.reference, pair.model, settings, run.progress);
  run.judge(result.search, assessmentOf(pair, probe, given, result.matrix));
  return result.matrix;
}

int runAffine(const AffineOptions& options, const CLI::App& command) {
  PairRun run(command, options.pair, {{"--start", options.start.file}, {"--truth", options.truth}},
              {{"--matrix", options.matrix}}, 20.0);
  std::optional<NmMat4d> truth;
  if (!options.truth.empty()) truth = readMatrix(options.truth);
  const NiftiVolume& reference = run.files().reference;
  const NiftiVolume& model = run.files().model;

  const NmMat4d matrix = registeredMatrix(options, run);
  const PlaceMap map = placeMap(matrix, reference, model);
  OutputFiles outputs;
  run.writeOutput(outputs, map);
  run.writePicture(outputs, {placeMap(givenMatrix(options.start), reference, model), map},
                   MapPanels::none);
  if (!options.matrix.empty()) writeMatrix(outputs, options.matrix, matrix);
  return run.finish(outputs, [&] {
    if (truth) printPlaceError("target error", targetError(reference, matrix, *truth));
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
