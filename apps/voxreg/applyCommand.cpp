#include "applyCommand.h"

#include <memory>
#include <string>

#include "InterruptibleProgress.h"
#include "matrixFile.h"
#include "niftiVolume.h"
#include "resampled.h"

namespace host {

namespace {

struct ApplyOptions {
  std::string transform;
  std::string matrix;
  std::string reference;
  std::string model;
  std::string output;
};

void addOptions(CLI::App& command, ApplyOptions& options) {
  CLI::App* const map = command.add_option_group("map");
  map->add_option("--transform", options.transform, "Transform file (.json)");
  map->add_option("--matrix", options.matrix, "Matrix file");
  map->require_option(1);
  command.add_option("--model", options.model, "Volume to resample (NIfTI)")->required();
  command.add_option("--reference", options.reference, "Volume whose grid to take (NIfTI)")
      ->required();
  command.add_option("--output", options.output, "Volume to write (.nii, .nii.gz)")->required();
}

int runApply(const ApplyOptions& options) {
  requireWritableNifti(options.output);
  InterruptibleProgress progress({{"Reading", 1.0}, {"Resampling", 3.0}, {"Writing", 2.0}});
  const auto write = [&](const auto& transform) {
    const NiftiVolume reference = readNifti(options.reference);
    const NiftiVolume model = readNifti(options.model);
    progress.enter("Resampling");
    const NiftiVolume moved = resampled(reference, model, placeMap(transform, reference, model));
    progress.enter("Writing");
    OutputFiles outputs;
    writeNifti(outputs, options.output, moved);
    outputs.commit();
    progress.finish();
  };
  if (options.transform.empty())
    write(readMatrix(options.matrix));
  else
    write(readGridTransform(options.transform));
  return 0;
}

}  // namespace

void addApplyCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand("apply", "Resample a volume by a known transform");
  const auto options = std::make_shared<ApplyOptions>();
  addOptions(*command, *options);
  command->callback([options, &exitCode] { exitCode = runApply(*options); });
}

}  // namespace host
