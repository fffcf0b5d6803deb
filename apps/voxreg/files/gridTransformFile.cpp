#include "files/gridTransformFile.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>

#include "files/inputFile.h"
#include "terminal/HostError.h"

namespace host {

namespace {

using nlohmann::json;
using voxreg::BrickGrid;

long vertexCount(const NmVec3i& bricks) {
  return (bricks.x + 1L) * (bricks.y + 1L) * (bricks.z + 1L);
}

bool isFinite(const std::vector<double>& numbers) {
  return std::all_of(numbers.begin(), numbers.end(), [](double x) { return std::isfinite(x); });
}

std::vector<double> numbersOf(const json& document, const char* name, std::size_t count) {
  auto numbers = document.at(name).get<std::vector<double>>();
  if (numbers.size() != count || !isFinite(numbers))
    throw HostError(std::string(name) + " does not hold " + std::to_string(count) + " numbers");
  return numbers;
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

NmVec3i bricksOf(const json& document) {
  const std::vector<double> counts = numbersOf(document, "bricks", 3);
  for (const double count : counts)
    if (!(count >= 1.0 && count <= 32.0 && count == std::floor(count)))
      throw HostError("there must be 1 to 32 bricks on an axis");
  return {static_cast<int>(counts[0]), static_cast<int>(counts[1]), static_cast<int>(counts[2])};
}

NmMat4d matrixOf(const json& document) {
  const std::vector<double> elements = numbersOf(document, "boxToWorld", 16);
  NmMat4d matrix;
  for (std::size_t i = 0; i < 16; ++i) matrix.m[i / 4][i % 4] = elements[i];
  NmMat4d inverse;
  if (!inverse.affine_inverse(matrix, inverse)) throw HostError("boxToWorld has no inverse");
  return matrix;
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

BrickGrid transformOf(const json& document) {
  BrickGrid transform;
  transform.grid.box = boxOf(document);
  transform.grid.numBricks = bricksOf(document);
  transform.boxToWorld = matrixOf(document);
  transform.beyond = beyondOf(document);
  const auto count = static_cast<std::size_t>(3 * vertexCount(transform.grid.numBricks));
  for (const double x : numbersOf(document, "vertices", count))
    transform.grid.vertices.insert(transform.grid.vertices.size, 1, &x);
  return transform;
}

json documentOf(const BrickGrid& transform) {
  const NmBox3f& box = transform.grid.box;
  const NmVec3i& bricks = transform.grid.numBricks;
  const double* const matrix = transform.boxToWorld.m[0];
  const NmDArray<double>& vertices = transform.grid.vertices;
  return {{"box", {box.xmin, box.xmax, box.ymin, box.ymax, box.zmin, box.zmax}},
          {"boxToWorld", std::vector<double>(matrix, matrix + 16)},
          {"beyond", nameOf(transform.beyond)},
          {"bricks", {bricks.x, bricks.y, bricks.z}},
          {"vertices", std::vector<double>(vertices.data, vertices.data + vertices.size)}};
}

}  // namespace

voxreg::BrickGrid readGridTransform(const std::string& path) {
  const std::string text = inputText(path);
  try {
    return transformOf(json::parse(text));
  } catch (const json::exception&) {
    throw HostError(path + " is not a transform file");
  } catch (const HostError& error) {
    throw HostError(path + " is not a transform file: " + error.what());
  }
}

void writeGridTransform(OutputFiles& outputs, const std::string& path,
                        const voxreg::BrickGrid& transform) {
  std::ofstream file(outputs.add(path));
  file << documentOf(transform).dump() << '\n';
  file.close();
  if (!file) OutputFiles::fail(path);
}

}  // namespace host
