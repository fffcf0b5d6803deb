#include "commands/pairOptions.h"

#include "files/matrixFile.h"
#include "files/niftiVolume.h"

namespace host {

void addVolumeOptions(CLI::App& command, std::string& reference, std::string& model) {
  command.add_option("-r,--reference", reference, "Volume that stays fixed (NIfTI)")->required();
  command.add_option("-m,--model", model, "Volume to move (NIfTI)")->required();
}

void addSamplingOptions(CLI::App& command, SamplingOptions& options) {
  command
      .add_option("--interpolation", options.interpolation,
                  "Interpolation between voxels: nearest for labels, linear, cubic "
                  "(convolution after Keys 1981 with a = -1/2) or lanczos (six voxels)")
      ->check(CLI::IsMember(interpolationNames()))
      ->capture_default_str();
  command.add_option("--background", options.background,
                     "Value outside the model (default: 0 with nearest, since labels use 0 for "
                     "background; otherwise the model's smallest value, since 0 is water in CT)");
}

void addTalkOptions(CLI::App& command, TalkOptions& options) {
  CLI::Option* const quiet =
      command.add_flag("--quiet", options.quiet, "Print no progress and no results");
  command.add_flag("--verbose", options.verbose, "Print the library's log to standard error")
      ->excludes(quiet);
}

void addForceOption(CLI::App& command, bool& force) {
  command.add_flag("--force", force,
                   "Write the outputs even if nothing was found (the exit code is still 3)");
}

void addPairOptions(CLI::App& command, PairOptions& options) {
  addVolumeOptions(command, options.reference, options.model);
  command.add_option("-o,--output", options.output,
                     "Model on the reference's grid (.nii, .nii.gz)");
  command.add_option("--picture", options.picture,
                     "Middle slices before and after, the patient's left on the left (.png)");
  command.add_option("--report", options.report,
                     "Settings, metric, overlap, warnings and more (.json)");
  addSamplingOptions(command, options.sampling);
  addForceOption(command, options.force);
  addTalkOptions(command, options.talk);
}

voxreg::Masks MaskArguments::read() const {
  voxreg::Masks masks;
  if (!reference.empty()) masks.reference = readNifti(reference).image;
  if (!model.empty()) masks.model = readNifti(model).image;
  return masks;
}

void addMaskOptions(CLI::App& command, MaskArguments& arguments) {
  command.add_option("--reference-mask", arguments.reference,
                     "Volume on the reference's grid (NIfTI): where it is 0, voxels do not count");
  command.add_option("--model-mask", arguments.model, "The same for the model");
}

std::optional<voxreg::Transform> StartArguments::given() const {
  if (file.empty()) return std::nullopt;
  return voxreg::Transform::fromModelToReference(readMatrix(file));
}

void addStartOptions(CLI::App& command, StartArguments& arguments) {
  CLI::Option* const file = command.add_option("--start,--start-matrix", arguments.file,
                                               "Matrix file to start from, instead of --init");
  command
      .add_option(
          "--init", arguments.init,
          "Where to start: as in the files (none), with the centres of both boxes aligned "
          "(centres), with the centres of mass of everything brighter than the background "
          "aligned (moments), or whichever of these gets furthest in a short search on coarse "
          "volumes (auto)")
      ->check(CLI::IsMember(startRuleNames()))
      ->capture_default_str()
      ->excludes(file);
}

}  // namespace host
