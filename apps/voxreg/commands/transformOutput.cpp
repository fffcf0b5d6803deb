#include "commands/transformOutput.h"

#include <cstdio>
#include <utility>

#include "files/NiftiWriter.h"
#include "files/transformFile.h"
#include "terminal/HostError.h"

namespace host {

namespace {

/// A transform in place of another.
struct Replacement {
  voxreg::Transform transform;
  double meanError;
  double largestError;
};

Replacement byBricks(const voxreg::LatticeMap& lattice) {
  const voxreg::BrickApproximation found = voxreg::approximateByBricks(lattice);
  return {voxreg::Transform::fromBricks(found.bricks), found.meanError, found.largestError};
}

/// Finer nodes would enlarge the file, but bring the smooth maps that are written no closer.
Replacement byField(const voxreg::Transform& transform, const voxreg::Image& reference) {
  constexpr double spacing = 2.0;
  voxreg::MapApproximation found = voxreg::approximateByField(transform, reference, spacing);
  return {voxreg::Transform::fromField(std::move(found.map)), found.meanError, found.largestError};
}

std::string lossOf(const std::string& name, const Replacement& replacement) {
  char text[100];
  (void)std::snprintf(text, sizeof text, "%-24s %.3f mm mean, %.3f mm maximum\n",
                      ("error of the " + name).c_str(), replacement.meanError,
                      replacement.largestError);
  return text;
}

}  // namespace

void TransformOutput::requireSuitableName() const {
  if (path.empty() || kind.empty() || isNiftiName(path) == (kind == "field")) return;
  throw HostError(
      "--as " + kind + " cannot be written to " + path + ": " +
      (kind == "field" ? "its name does not end in .nii or .nii.gz" : "NIfTI files hold fields"));
}

std::string TransformOutput::write(OutputFiles& outputs, const voxreg::Transform& transform,
                                   const voxreg::Image& reference) const {
  if (path.empty()) return "";
  const auto replace = [&](const std::string& name, const Replacement& replacement) {
    writeTransform(outputs, path, replacement.transform);
    return lossOf(name, replacement);
  };
  if (isNiftiName(path) && transform.field() == nullptr)
    return replace("field", byField(transform, reference));
  if (kind == "bricks" && transform.lattice() != nullptr)
    return replace("bricks", byBricks(*transform.lattice()));
  writeTransform(outputs, path, transform);
  return "";
}

void addTransformOption(CLI::App& command, TransformOutput& output) {
  command.add_option("--transform", output.path,
                     "Transform file to write (.json, or a field: .nii, .nii.gz)");
}

void addKindOption(CLI::App& command, TransformOutput& output) {
  command
      .add_option("--as", output.kind,
                  "What --transform holds: the lattice itself, or a grid of bricks or a field in "
                  "its place (default: the lattice in JSON, a field in NIfTI files)")
      ->check(CLI::IsMember({"lattice", "bricks", "field"}));
}

}  // namespace host
