#include "files/brickDocument.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "files/jsonNumbers.h"
#include "terminal/HostError.h"

namespace host {

namespace {

using nlohmann::json;
using voxreg::BrickGrid;

long vertexCount(const NmVec3i& bricks) {
  return (bricks.x + 1L) * (bricks.y + 1L) * (bricks.z + 1L);
}

NmBox3f boxOf(const json& document) {
  const std::vector<double> edges = numbersOf(document, "box", 6);
  float e[6];
  std::transform(edges.begin(), edges.end(), e, [](double x) { return static_cast<float>(x); });
  const NmBox3f box(e[0], e[1], e[2], e[3], e[4], e[5]);
  for (int a = 0; a < 3; ++a)
    if (!(box.extent(a) > 0.0f && std::isfinite(box.extent(a)) && box.min(a) < box.max(a)))
      throw HostError("the box has no volume");
  return box;
}

const char* nameOf(BrickGrid::Beyond beyond) {
  return beyond == BrickGrid::Beyond::bricks ? "bricks" : "displacement";
}

BrickGrid::Beyond beyondOf(const json& document) {
  const auto name = document.at("beyond").get<std::string>();
  for (const auto beyond : {BrickGrid::Beyond::bricks, BrickGrid::Beyond::displacement})
    if (name == nameOf(beyond)) return beyond;
  throw HostError("beyond is neither \"bricks\" nor \"displacement\"");
}

}  // namespace

BrickGrid bricksOf(const json& document) {
  BrickGrid bricks;
  bricks.grid.box = boxOf(document);
  bricks.grid.numBricks = countsOf(document, "bricks", 32);
  bricks.boxToWorld = matrixOf(document, "boxToWorld");
  bricks.beyond = beyondOf(document);
  const auto count = static_cast<std::size_t>(3 * vertexCount(bricks.grid.numBricks));
  for (const double x : numbersOf(document, "vertices", count))
    bricks.grid.vertices.insert(bricks.grid.vertices.size, 1, &x);
  return bricks;
}

json documentOf(const BrickGrid& bricks) {
  const NmBox3f& box = bricks.grid.box;
  const NmVec3i& counts = bricks.grid.numBricks;
  const NmDArray<double>& vertices = bricks.grid.vertices;
  return {{"box", {box.xmin, box.xmax, box.ymin, box.ymax, box.zmin, box.zmax}},
          {"boxToWorld", numbersOf(bricks.boxToWorld)},
          {"beyond", nameOf(bricks.beyond)},
          {"bricks", {counts.x, counts.y, counts.z}},
          {"vertices", std::vector<double>(vertices.data, vertices.data + vertices.size)}};
}

}  // namespace host
