#include "commands/resampleCommand.h"

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/pairOptions.h"
#include "commands/report.h"
#include "commands/searchOptions.h"
#include "files/fileRoles.h"
#include "files/niftiVolume.h"
#include "files/zoomed.h"
#include "terminal/HostError.h"
#include "terminal/InterruptibleProgress.h"
#include "terminal/LogOnStandardError.h"

namespace host {

namespace {

struct Filter {
  const char* name;
  RegResampler::FilterType type;
};

constexpr Filter filters[] = {
    {"box", RegResampler::Box},
    {"triangle", RegResampler::Triangle},
    {"bell", RegResampler::Bell},
    {"bspline", RegResampler::BSpline},
    {"lanczos3", RegResampler::Lanczos3},
    {"mitchell", RegResampler::Mitchell},
    {"minimum", RegResampler::Minimum},
    {"maximum", RegResampler::Maximum},
    {"cubic6", RegResampler::Cubic6},
    {"cubic8", RegResampler::Cubic8},
    {"lanczos20", RegResampler::LanczosTest},
};

struct ResampleOptions {
  std::string input;
  std::string output;
  std::vector<float> spacing;
  std::vector<int> size;
  std::string filter = "bell";
  TalkOptions talk;
};

std::vector<std::string> filterNames() {
  std::vector<std::string> names;
  for (const Filter& filter : filters) names.emplace_back(filter.name);
  return names;
}

RegResampler::FilterType filterOf(const std::string& name) {
  for (const Filter& filter : filters)
    if (filter.name == name) return filter.type;
  throw HostError("there is no filter " + name);
}

void addOptions(CLI::App& command, ResampleOptions& options) {
  command.add_option("--input", options.input, "Volume to resample (NIfTI)")->required();
  command.add_option("-o,--output", options.output, "Volume to write (.nii, .nii.gz)")->required();
  CLI::App* const shape = command.add_option_group("shape");
  shape
      ->add_option("--spacing", options.spacing,
                   "Voxel spacing in millimetres along the axes closest to the world's x, y and "
                   "z; an axis of one voxel keeps its spacing")
      ->expected(3)
      ->type_name("X Y Z")
      ->check(numberAbove(0.0));
  shape->add_option("--size", options.size, "Number of voxels along the same axes")
      ->expected(3)
      ->type_name("X Y Z")
      ->check(CLI::Range(1, 32767));
  shape->require_option(1);
  command
      .add_option("--filter", options.filter,
                  "Kernel of the weighted mean, or the extreme value of each cell")
      ->check(CLI::IsMember(filterNames()))
      ->capture_default_str();
  addTalkOptions(command, options.talk);
}

NmVec3f newDimsOf(const ResampleOptions& options, const NiftiVolume& volume) {
  NmVec3f dims;
  for (int a = 0; a < 3; ++a) {
    const auto i = static_cast<std::size_t>(a);
    const auto present = static_cast<float>(volume.image.dims()[a]);
    if (!options.size.empty())
      dims[a] = static_cast<float>(options.size[i]);
    else
      dims[a] = present == 1.0f
                    ? 1.0f
                    : present * volume.image.volume()->voxelSpacing()[a] / options.spacing[i];
  }
  return dims;
}

// Half a volume is of no use, so an interruption leaves no file.
int runResample(const ResampleOptions& options) {
  const FileRole output = {"--output", options.output, FileRole::Kind::volume};
  requireSeparateFiles({{"--input", options.input}}, {output});
  output.requireWritable();
  std::optional<LogOnStandardError> log;
  if (options.talk.verbose) log.emplace();
  InterruptibleProgress progress({{"Reading", 1.0}, {"Resampling", 4.0}, {"Writing", 4.0}},
                                 options.talk.quiet);
  const NiftiVolume volume = readNifti(options.input);
  const NiftiVolume result =
      zoomed(volume, newDimsOf(options, volume), filterOf(options.filter), progress);
  if (progress.wasInterrupted()) return interruptedExitCode;
  progress.enter("Writing");
  OutputFiles outputs;
  writeNifti(outputs, options.output, result);
  outputs.commit();
  progress.finish();
  return 0;
}

}  // namespace

void addResampleCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command =
      app.add_subcommand("resample", "Change the voxel size of a volume along its axes");
  const auto options = std::make_shared<ResampleOptions>();
  addOptions(*command, *options);
  command->callback([options, &exitCode] { exitCode = runResample(*options); });
}

}  // namespace host
