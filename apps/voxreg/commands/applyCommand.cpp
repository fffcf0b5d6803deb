#include "commands/applyCommand.h"

#include <memory>
#include <string>

#include "commands/PairRun.h"
#include "files/matrixFile.h"
#include "files/transformFile.h"
#include "terminal/HostError.h"

namespace host {

namespace {

struct ApplyOptions {
  std::string transform;
  std::string matrix;
  std::string reference;
  std::string model;
  std::string output;
  SamplingOptions sampling;
  TalkOptions talk;
  bool force = false;
};

void addOptions(CLI::App& command, ApplyOptions& options) {
  CLI::App* const map = command.add_option_group("map");
  map->add_option("--transform", options.transform, "Transform file (.json, .nii, .nii.gz)");
  map->add_option("--matrix", options.matrix, "Matrix file");
  map->require_option(1);
  command.add_option("-m,--model", options.model, "Volume to resample (NIfTI)")->required();
  command.add_option("-r,--reference", options.reference, "Volume whose grid to use (NIfTI)")
      ->required();
  command.add_option("-o,--output", options.output, "Volume to write (.nii, .nii.gz)")->required();
  addSamplingOptions(command, options.sampling);
  addForceOption(command, options.force);
  addTalkOptions(command, options.talk);
}

voxreg::Transform transformOf(const ApplyOptions& options) {
  if (options.transform.empty())
    return voxreg::Transform::fromModelToReference(readMatrix(options.matrix));
  return readTransform(options.transform);
}

void requireOverlap(const voxreg::Overlap& overlap) {
  if (!(overlap.share > 0.0))
    throw HostError("nothing found: the volumes do not overlap", HostError::nothingFound);
}

int runApply(const ApplyOptions& options) {
  const FileRole output = {"--output", options.output, FileRole::Kind::volume};
  requireSeparateFiles({{"--reference", options.reference},
                        {"--model", options.model},
                        {"--matrix", options.matrix},
                        {"--transform", options.transform}},
                       {output});
  output.requireWritable();
  std::optional<LogOnStandardError> log;
  if (options.talk.verbose) log.emplace();
  InterruptibleProgress progress({{"Reading", 1.0}, {"Resampling", 3.0}, {"Writing", 2.0}},
                                 options.talk.quiet);
  const NiftiVolume reference = readNifti(options.reference);
  const NiftiVolume model = readNifti(options.model);
  const voxreg::Transform transform = transformOf(options);
  const voxreg::Overlap overlap = voxreg::overlapOf(reference.image, model.image, transform);
  if (!options.force) requireOverlap(overlap);

  progress.enter("Resampling");
  const NiftiVolume moved = resampled(reference, model, transform, options.sampling.options());
  progress.enter("Writing");
  OutputFiles outputs;
  writeNifti(outputs, options.output, moved);
  outputs.commit();
  progress.finish();
  printWarnings(warningsAbout(options.reference, reference));
  printWarnings(warningsAbout(options.model, model));
  printWarnings(overlap.warnings());
  requireOverlap(overlap);
  return 0;
}

}  // namespace

void addApplyCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand("apply", "Resample a volume with a known transform");
  const auto options = std::make_shared<ApplyOptions>();
  addOptions(*command, *options);
  command->callback([options, &exitCode] { exitCode = runApply(*options); });
}

}  // namespace host
