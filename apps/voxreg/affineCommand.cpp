#include "affineCommand.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "OutputFile.h"
#include "affineRegistration.h"
#include "matrixFile.h"
#include "picture.h"
#include "report.h"
#include "resampled.h"
#include "targetError.h"

namespace host {

namespace {

struct AffineOptions {
  std::string reference;
  std::string model;
  int degreesOfFreedom = 6;
  std::string metric = "msd";
  std::string optimizer = "best-neighbour";
  int levels = 1;
  std::string start;
  std::string matrix;
  std::string output;
  std::string picture;
  std::string truth;
};

void addOptions(CLI::App& command, AffineOptions& options) {
  command.add_option("--reference", options.reference, "Volume that stays (NIfTI-1)")->required();
  command.add_option("--model", options.model, "Volume to move (NIfTI-1)")->required();
  command.add_option("--dof", options.degreesOfFreedom, "Degrees of freedom")
      ->check(CLI::IsMember({3, 6, 7, 9, 12}))
      ->required();
  command.add_option("--metric", options.metric, "Similarity: msd, mean squared difference")
      ->check(CLI::IsMember({"msd"}))
      ->capture_default_str();
  command.add_option("--optimizer", options.optimizer, "Search method")
      ->check(CLI::IsMember({"best-neighbour"}))
      ->capture_default_str();
  command.add_option("--levels", options.levels, "Resolution levels")
      ->check(CLI::IsMember({1}))
      ->capture_default_str();
  command.add_option("--start", options.start, "Matrix file to start from (default: identity)");
  command.add_option("--matrix", options.matrix, "Matrix file to write")->required();
  command.add_option("--output", options.output, "Model on the reference's grid (.nii, .nii.gz)")
      ->required();
  command.add_option("--picture", options.picture, "Middle slices before and after (.png)")
      ->required();
  command.add_option("--truth", options.truth, "Matrix file to print the target error against");
}

void requireWritableOutputs(const AffineOptions& options) {
  OutputFile::requireWritable(options.matrix);
  requireWritableNifti(options.output);
  OutputFile::requireWritable(options.picture);
}

int runAffine(const AffineOptions& options) {
  requireWritableOutputs(options);
  AffineSettings settings;
  settings.stages = stagesFor(options.degreesOfFreedom);
  if (!options.start.empty()) settings.start = readMatrix(options.start);
  std::optional<NmMat4d> truth;
  if (!options.truth.empty()) truth = readMatrix(options.truth);
  const NiftiVolume reference = readNifti(options.reference);
  const NiftiVolume model = readNifti(options.model);

  InterruptibleProgress progress;
  const AffineResult result = registerAffine(reference, model, settings, progress);
  writeMatrix(options.matrix, result.matrix);
  writeNifti(options.output, resampled(reference, model, result.matrix));
  writePicture(options.picture, reference, model, {settings.start, result.matrix});
  printResult(result);
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
