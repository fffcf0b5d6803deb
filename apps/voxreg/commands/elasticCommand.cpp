#include "commands/elasticCommand.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/PairRun.h"
#include "commands/displacementError.h"
#include "commands/optionNames.h"
#include "commands/report.h"
#include "commands/searchOptions.h"
#include "commands/transformOutput.h"
#include "pictures/elasticPicture.h"
#include "terminal/HostError.h"

namespace host {

namespace {

struct ElasticOptions {
  ElasticOptions() { pair.sampling.interpolation = "lanczos"; }

  PairOptions pair;
  voxreg::Masking masking = voxreg::Masking::chests;
  std::vector<float> levels;
  std::string engine = "variational";
  std::optional<int> maxBricks;
  std::optional<double> spacing;
  std::optional<double> stiffness;
  std::string metric = "cr";
  std::vector<int> roi;
  TransformOutput transform;
  std::string subtraction;
  std::string truth;
};

void addMaskOptions(CLI::App& command, ElasticOptions& options) {
  const auto choose = [&options](voxreg::Masking masking) {
    return [&options, masking] { options.masking = masking; };
  };
  CLI::Option* const mask =
      command.add_flag_callback("--mask", choose(voxreg::Masking::required),
                                "Mask the inside of the chest wall wherever a wall is found");
  command
      .add_flag_callback("--no-mask", choose(voxreg::Masking::none),
                         "Register everything (default: mask the inside of the wall of a chest)")
      ->excludes(mask);
}

void addEngineOptions(CLI::App& command, ElasticOptions& options) {
  command
      .add_option("--engine", options.engine,
                  "What is searched: a smooth lattice by exact derivatives, or grids of bricks by "
                  "differences")
      ->check(CLI::IsMember(elasticEngineNames()))
      ->capture_default_str();
  command
      .add_option("--spacing", options.spacing,
                  "Distance of the lattice's controls in millimetres (default: 24, or an eighth of "
                  "the reference's longest side if that is less)")
      ->type_name("MM")
      ->check(numberAbove(0.0));
  command
      .add_option("--stiffness", options.stiffness,
                  "Resistance of the lattice to bending, as a multiple of the usual one")
      ->check(CLI::NonNegativeNumber)
      ->default_str("1");
  command
      .add_option(
          "--max-bricks", options.maxBricks,
          "Bricks from left to right in the last grid, as long as they keep four voxels along each "
          "axis; with 18 or more, volumes of more than 300 voxels are also registered at full "
          "resolution")
      ->check(CLI::Range(12, 40))
      ->default_str("12");
}

void addOptions(CLI::App& command, ElasticOptions& options) {
  addPairOptions(command, options.pair);
  addTransformOption(command, options.transform);
  addKindOption(command, options.transform);
  command.add_option("--subtraction", options.subtraction,
                     "Registered model minus reference (.nii, .nii.gz)");
  addMaskOptions(command, options);
  command
      .add_option("--levels", options.levels,
                  "Values of the reference's air and of its darkest tissue (default: measured)")
      ->expected(2)
      ->type_name("LOW HIGH")
      ->check(numberAbove(-1e30));
  addEngineOptions(command, options);
  command
      .add_option("--roi", options.roi,
                  "First and last voxel to cover on the reference file's three axes, from 0 "
                  "(default: found with the mask)")
      ->expected(6)
      ->type_name("I0 I1 J0 J1 K0 K1")
      ->check(CLI::NonNegativeNumber);
  command
      .add_option("--metric", options.metric,
                  "Similarity measure: correlation ratio, or normalised mutual information, which "
                  "is slower and needs many voxels")
      ->check(CLI::IsMember({"nmi", "cr"}))
      ->capture_default_str();
  command.add_option(
      "--truth", options.truth,
      "File with lines of six numbers, a point in the reference and the same in the model, to "
      "print the displacement error against");
}

/// From the axes of the file to those of the image.
NmBox3i roiInImage(const std::vector<int>& asked, const NiftiVolume& reference) {
  int bounds[6];
  for (int a = 0; a < 3; ++a) {
    const int axis = reference.order.gridAxis[a];
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

/// Leaves the model where it is if the volumes hold no information.
voxreg::ElasticRegistration registered(const ElasticOptions& options, PairRun& run) {
  const auto& [reference, model] = run.files();
  voxreg::ElasticOptions task;
  task.engine = elasticEngineOf(options.engine);
  task.masking = options.masking;
  task.levels = rangeOf(options.levels);
  if (!options.roi.empty()) task.region = roiInImage(options.roi, reference);
  task.maxBricks = options.maxBricks;
  task.spacing = options.spacing;
  task.stiffness = options.stiffness;
  task.metric = metricOf(options.metric);
  task.progress = run.progress.ofRegistration("Registering");
  run.report.transform = task.engine == voxreg::ElasticEngine::bricks ? "bricks" : "lattice";
  run.report.metric = options.metric;
  voxreg::ElasticRegistration found = voxreg::registerElastic(reference.image, model.image, task);
  run.judge(found);
  return found;
}

void writeVolumes(const ElasticOptions& options, const voxreg::ElasticRegistration& found,
                  PairRun& run, OutputFiles& outputs) {
  const PairOptions& files = options.pair;
  if (files.output.empty() && files.picture.empty() && options.subtraction.empty()) return;
  run.progress.enter("Resampling");
  const ElasticVolumes volumes = elasticVolumes(run.files().reference, run.files().model,
                                                found.transform, files.sampling.options());
  run.progress.enter("Writing");
  if (!files.output.empty()) writeNifti(outputs, files.output, volumes.registered);
  if (!options.subtraction.empty()) writeNifti(outputs, options.subtraction, volumes.subtraction);
  if (!files.picture.empty()) writeElasticPicture(outputs, files.picture, volumes, found.mask);
}

int runElastic(const ElasticOptions& options, const CLI::App& command) {
  options.transform.requireSuitableName();
  constexpr double workOfBricks = 41.0;
  constexpr double workOfLattice = 6.0;
  PairRun run(command, options.pair, {{"--truth", options.truth}},
              {{"--transform", options.transform.path},
               {"--subtraction", options.subtraction, FileRole::Kind::volume}},
              options.engine == "bricks" ? workOfBricks : workOfLattice);
  std::vector<PointPair> truth;
  if (!options.truth.empty()) truth = readPointPairs(options.truth);

  const voxreg::ElasticRegistration found = registered(options, run);
  OutputFiles outputs;
  writeVolumes(options, found, run, outputs);
  const std::string loss =
      options.transform.write(outputs, found.transform, run.files().reference.image);
  return run.finish(outputs, [&] {
    printElastic(found);
    (void)std::fputs(loss.c_str(), stdout);
    if (!truth.empty())
      printPlaceError("displacement error", displacementError(found.transform, truth));
  });
}

}  // namespace

void addElasticCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand(
      "elastic", "Register two volumes of one patient on one grid, coarse to fine");
  const auto options = std::make_shared<ElasticOptions>();
  addOptions(*command, *options);
  command->callback([options, command, &exitCode] { exitCode = runElastic(*options, *command); });
}

}  // namespace host
