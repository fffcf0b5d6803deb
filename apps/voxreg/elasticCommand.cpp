#include "elasticCommand.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "HostError.h"
#include "LogOnStandardError.h"
#include "OutputFile.h"
#include "displacementError.h"
#include "elasticPicture.h"
#include "pairOptions.h"
#include "report.h"
#include "searchOptions.h"

namespace host {

namespace {

struct ElasticOptions {
  PairFiles files;
  ElasticSettings settings;
  std::vector<int> roi;
  std::string transform;
  std::string subtraction;
  std::string truth;
  bool log = false;
};

void addMaskOptions(CLI::App& command, ElasticOptions& options) {
  using Masking = ElasticSettings::Masking;
  const auto choose = [&options](Masking masking) {
    return [&options, masking] { options.settings.masking = masking; };
  };
  CLI::Option* const mask = command.add_flag_callback(
      "--mask", choose(Masking::required), "Insist on masking what lies behind the chest wall");
  command
      .add_flag_callback("--no-mask", choose(Masking::none),
                         "Register everything (default: mask what lies behind the wall of a chest)")
      ->excludes(mask);
}

void addOptions(CLI::App& command, ElasticOptions& options) {
  addPairOptions(command, options.files);
  command.add_option("--transform", options.transform, "Grid of bricks to write (.json)")
      ->required();
  command
      .add_option("--subtraction", options.subtraction,
                  "Registered model minus reference (.nii, .nii.gz)")
      ->required();
  addMaskOptions(command, options);
  command
      .add_option("--levels", options.settings.levels,
                  "Values of the reference's air and of its darkest tissue (default: measured)")
      ->expected(2)
      ->type_name("LOW HIGH")
      ->check(numberAbove(-1e30));
  command
      .add_option(
          "--max-bricks", options.settings.maxBricks,
          "Bricks from left to right at the end, as far as they keep four voxels along each "
          "axis; from 18 on, volumes of more than 300 voxels are also registered at full "
          "resolution")
      ->check(CLI::Range(12, 40))
      ->capture_default_str();
  command
      .add_option("--roi", options.roi,
                  "First and last voxel to cover on the reference file's three axes, from 0 on "
                  "(default: found with the mask)")
      ->expected(6)
      ->type_name("I0 I1 J0 J1 K0 K1")
      ->check(CLI::NonNegativeNumber);
  command
      .add_option(
          "--metric", options.settings.metric,
          "Similarity: correlation ratio, or normalised mutual information, which is slow and "
          "needs many voxels")
      ->check(CLI::IsMember({"nmi", "cr"}))
      ->capture_default_str();
  command.add_option("--truth", options.truth,
                     "Lines of six numbers, a place in the reference and the same in the model, to "
                     "print the displacement error against");
  command.add_flag("--log", options.log, "Print the library's log to standard error");
}

/// From the axes of the file to those of the frame.
NmBox3i roiInFrame(const std::vector<int>& asked, const NiftiVolume& reference) {
  int bounds[6];
  for (int a = 0; a < 3; ++a) {
    const int axis = reference.order.fileAxis[a];
    const int last = static_cast<int>(reference.grid.dims[axis]) - 1;
    const std::size_t first = 2 * static_cast<std::size_t>(axis);
    const int low = asked[first];
    const int high = asked[first + 1];
    if (low >= high || high > last)
      throw HostError("--roi needs two voxels of the reference, in order, on each axis");
    bounds[2 * a] = reference.order.flipped[a] ? last - high : low;
    bounds[2 * a + 1] = reference.order.flipped[a] ? last - low : high;
  }
  return {bounds[0], bounds[1], bounds[2], bounds[3], bounds[4], bounds[5]};
}

int runElastic(const ElasticOptions& options) {
  requireWritable(options.files);
  OutputFile::requireWritable(options.transform);
  requireWritableNifti(options.subtraction);
  std::vector<PointPair> truth;
  if (!options.truth.empty()) truth = readPointPairs(options.truth);
  const NiftiVolume reference = readNifti(options.files.reference);
  const NiftiVolume model = readNifti(options.files.model);
  ElasticSettings settings = options.settings;
  if (!options.roi.empty()) settings.roi = roiInFrame(options.roi, reference);

  std::optional<LogOnStandardError> log;
  if (options.log) log.emplace();
  InterruptibleProgress progress;
  const ElasticResult result = registerElastic(reference, model, settings, progress);
  const ElasticVolumes volumes = elasticVolumes(reference, model, result.transform);
  const GridTransform transform = result.inWorld(reference, model);
  writeGridTransform(options.transform, transform);
  writeNifti(options.files.output, volumes.registered);
  writeNifti(options.subtraction, volumes.subtraction);
  writeElasticPicture(options.files.picture, volumes, result.mask);
  printElastic(result);
  if (!truth.empty())
    printDisplacementError("displacement error", displacementError(transform, truth));
  return progress.wasInterrupted() ? interruptedExitCode : 0;
}

}  // namespace

void addElasticCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand(
      "elastic", "Register two volumes of one patient on one grid by bricks, coarse to fine");
  const auto options = std::make_shared<ElasticOptions>();
  addOptions(*command, *options);
  command->callback([options, &exitCode] { exitCode = runElastic(*options); });
}

}  // namespace host
