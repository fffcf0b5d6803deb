#include "files/latticeDocument.h"

#include "files/jsonNumbers.h"
#include "terminal/HostError.h"

namespace host {

namespace {

using nlohmann::json;
using voxreg::ControlLattice;

/// The upper end of the box on an axis. Boxes of lattices have float ends as a rule; from these the
/// spacing comes back with all its bits.
double upperEnd(const ControlLattice& lattice, int axis) {
  const int n = lattice.intervals[axis];
  const double end = lattice.origin[axis] + lattice.spacing[axis] * n;
  const double rounded = static_cast<double>(static_cast<float>(end));
  return (rounded - lattice.origin[axis]) / n == lattice.spacing[axis] ? rounded : end;
}

void placeBox(ControlLattice& lattice, const json& document) {
  const std::vector<double> edges = numbersOf(document, "box", 6);
  auto edge = edges.begin();
  for (int a = 0; a < 3; ++a) {
    const double low = *edge++;
    const double high = *edge++;
    lattice.origin[a] = low;
    lattice.spacing[a] = (high - low) / lattice.intervals[a];
    if (!(lattice.spacing[a] > 0.0)) throw HostError("the box has no volume");
  }
}

}  // namespace

voxreg::LatticeMap latticeOf(const json& document) {
  voxreg::LatticeMap map;
  ControlLattice& lattice = map.lattice;
  lattice.intervals = countsOf(document, "intervals", ControlLattice::mostIntervals);
  placeBox(lattice, document);
  map.boxToWorld = matrixOf(document, "boxToWorld");
  map.referenceToModel = matrixOf(document, "referenceToModel");
  lattice.values =
      numbersOf(document, "controls", static_cast<std::size_t>(3 * lattice.controlCount()));
  if (!map.isValid()) throw HostError("its numbers are too large for a map");
  return map;
}

json documentOf(const voxreg::LatticeMap& map) {
  const ControlLattice& lattice = map.lattice;
  json box = json::array();
  for (int a = 0; a < 3; ++a) {
    box.push_back(lattice.origin[a]);
    box.push_back(upperEnd(lattice, a));
  }
  return {{"box", box},
          {"boxToWorld", numbersOf(map.boxToWorld)},
          {"referenceToModel", numbersOf(map.referenceToModel)},
          {"intervals", {lattice.intervals.x, lattice.intervals.y, lattice.intervals.z}},
          {"controls", lattice.values}};
}

}  // namespace host
