#include "commands/deformCommand.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/PairRun.h"
#include "commands/displacementError.h"
#include "commands/report.h"
#include "commands/searchOptions.h"
#include "commands/transformOutput.h"
#include "files/transformFile.h"

namespace host {

namespace {

struct DeformOptions {
  PairOptions pair;
  StartArguments start;
  MaskArguments masks;
  MetricArguments metric;
  std::optional<double> spacing;
  double stiffness = 1.0;
  std::string detail = "none";
  double leastJacobian = 0.0;
  std::optional<float> tolerance;
  std::string startTransform;
  TransformOutput transform;
  std::string truth;
};

void addLatticeOptions(CLI::App& command, DeformOptions& options) {
  command
      .add_option("--spacing", options.spacing,
                  "Distance of the controls in millimetres (default: 16, with --detail 10, or an "
                  "eighth of the reference's longest side if that is less); finer ones show more "
                  "detail")
      ->type_name("MM")
      ->check(numberAbove(0.0));
  command
      .add_option("--stiffness", options.stiffness,
                  "Resistance to bending, as a multiple of the usual one")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  command
      .add_option("--detail", options.detail,
                  "Fine detail to add by local correlation, for two people rather than one: the "
                  "transform is a field then")
      ->check(CLI::IsMember({"none", "fast", "normal", "fine"}))
      ->capture_default_str();
  command
      .add_option("--least-jacobian", options.leastJacobian,
                  "Smallest change of volume that is permitted, 0 to 1")
      ->check(CLI::Range(0.0, 0.99))
      ->capture_default_str();
  command
      .add_option("--tolerance", options.tolerance, "Relative gain below which the search stops")
      ->check(numberAbove(0.0))
      ->default_str("0.0001");
}

void addOptions(CLI::App& command, DeformOptions& options) {
  addPairOptions(command, options.pair);
  addTransformOption(command, options.transform);
  addKindOption(command, options.transform);
  addLatticeOptions(command, options);
  addStartOptions(command, options.start);
  command.add_option(
      "--start-transform", options.startTransform,
      "Transform file (.json, .nii, .nii.gz) to start from, instead of an affine registration");
  command.get_option("--start-transform")->excludes("--start")->excludes("--init");
  command.add_option("--truth", options.truth,
                     "File of points xr yr zr xm ym zm to print the displacement error at");
  addMaskOptions(command, options.masks);
  addMetricOptions(command, options.metric);
}

std::optional<voxreg::Transform> givenStart(const DeformOptions& options) {
  if (!options.startTransform.empty()) return readTransform(options.startTransform);
  return options.start.given();
}

voxreg::Detail detailOf(const std::string& name) {
  if (name == "fast") return voxreg::Detail::fast;
  if (name == "normal") return voxreg::Detail::normal;
  return name == "fine" ? voxreg::Detail::fine : voxreg::Detail::none;
}

/// Leaves the model where it is if the volumes hold no information.
voxreg::Transform registered(const DeformOptions& options,
                             const std::optional<voxreg::Transform>& given, PairRun& run) {
  const auto& [reference, model] = run.files();
  voxreg::DeformableOptions task;
  task.detail = detailOf(options.detail);
  task.spacing = options.spacing;
  task.stiffness = options.stiffness;
  task.leastJacobian = options.leastJacobian;
  task.tolerance = options.tolerance;
  task.startRule = startRuleOf(options.start.init);
  task.start = given;
  task.metric = options.metric.options();
  task.masks = options.masks.read();
  task.progress = run.progress.ofRegistration("Registering");
  run.report.metric = options.metric.name;
  run.report.settings["spacing"] =
      options.spacing.value_or(voxreg::defaultSpacing(reference.image, task.detail));
  const voxreg::Registration found = voxreg::registerDeformable(reference.image, model.image, task);
  run.report.transform = found.transform.field() != nullptr ? "field" : "lattice";
  run.judge(found);
  const std::string& file =
      options.startTransform.empty() ? options.start.file : options.startTransform;
  run.report.tellStart(options.start.init, file, given.value_or(voxreg::Transform()));
  return found.transform;
}

int runDeform(DeformOptions options, const CLI::App& command) {
  if (options.detail != "none" && options.transform.kind.empty()) options.transform.kind = "field";
  options.transform.requireSuitableName();
  std::vector<FileRole> inputs = options.masks.roles();
  inputs.push_back({"--start", options.start.file});
  inputs.push_back({"--start-transform", options.startTransform});
  inputs.push_back({"--truth", options.truth});
  PairRun run(command, options.pair, inputs, {{"--transform", options.transform.path}}, 20.0);
  std::vector<PointPair> truth;
  if (!options.truth.empty()) truth = readPointPairs(options.truth);
  const std::optional<voxreg::Transform> given = givenStart(options);
  const voxreg::Transform transform = registered(options, given, run);
  OutputFiles outputs;
  run.writeOutput(outputs, transform);
  run.writePicture(outputs, {given.value_or(voxreg::Transform()), transform}, MapPanels::shown);
  const std::string loss = options.transform.write(outputs, transform, run.files().reference.image);
  return run.finish(outputs, [&] {
    (void)std::fputs(loss.c_str(), stdout);
    if (!truth.empty()) printPlaceError("displacement error", displacementError(transform, truth));
  });
}

}  // namespace

void addDeformCommand(CLI::App& app, int& exitCode) {
  CLI::App* const command = app.add_subcommand(
      "deform", "Find a smooth transform on a lattice of splines, by exact derivatives");
  const auto options = std::make_shared<DeformOptions>();
  addOptions(*command, *options);
  command->callback([options, command, &exitCode] { exitCode = runDeform(*options, *command); });
}

}  // namespace host
