#include "commands/latticeOutput.h"

#include <cstdio>

#include "files/transformFile.h"

namespace host {

void addKindOption(CLI::App& command, std::string& kind) {
  command
      .add_option("--as", kind,
                  "What --transform holds: the lattice itself, or a grid of bricks in its place")
      ->check(CLI::IsMember({"lattice", "bricks"}))
      ->capture_default_str();
}

std::string writeAs(const std::string& kind, OutputFiles& outputs, const std::string& path,
                    const voxreg::Transform& transform) {
  const voxreg::LatticeMap* const lattice = transform.lattice();
  if (kind == "lattice" || lattice == nullptr) {
    writeTransform(outputs, path, transform);
    return "";
  }
  const voxreg::BrickApproximation bricks = voxreg::approximateByBricks(*lattice);
  writeTransform(outputs, path, voxreg::Transform::fromBricks(bricks.bricks));
  char text[100];
  (void)std::snprintf(text, sizeof text, "error of the bricks      %.3f mm mean, %.3f mm maximum\n",
                      bricks.meanError, bricks.largestError);
  return text;
}

}  // namespace host
