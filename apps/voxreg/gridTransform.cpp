#include "gridTransform.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>

#include "HostError.h"
#include "inputFile.h"
#include "placeMap.h"

namespace host {

namespace {

using nlohmann::json;

long vertexCount(const NmVec3i& bricks) {
  return (bricks.x + 1L) * (bricks.y + 1L) * (bricks.z + 1L);
}

/// The brick on one axis in which a normalised coordinate lies, and the place within it.
struct Brick {
  int index;
  double fraction;
};

Brick brickAt(double coordinate, int bricks) {
  const double scaled = coordinate * bricks;
  const double last = bricks - 1.0;
  const double first = scaled > 0.0 ? std::min(std::floor(scaled), last) : 0.0;
  return {static_cast<int>(first), scaled - first};
}

/// A flat volume gets a box one millimetre thick, since a grid needs a volume.
NmBox3f boxAround(const NiftiVolume& reference) {
  const NmBox3f& box = reference.frame.box;
  float edges[6];
  for (int a = 0; a < 3; ++a) {
    const float room = box.extent(a) > 0.0f ? 0.0f : 0.5f;
    edges[2 * a] = box.min(a) - room;
    edges[2 * a + 1] = box.max(a) + room;
  }
  return {edges[0], edges[1], edges[2], edges[3], edges[4], edges[5]};
}

NmVec3d vertexAt(const GridTransform::Grid& grid, long vertex) {
  const double* const p = grid.vertices.data + 3 * vertex;
  return {p[0], p[1], p[2]};
}

void moveVertices(GridTransform::Grid& grid, const NmMat4d& matrix) {
  for (long v = 0; v < vertexCount(grid.numBricks); ++v) {
    NmVec3d moved;
    matrix.multVecMatrix(vertexAt(grid, v), moved);
    for (int c = 0; c < 3; ++c) grid.vertices[3 * v + c] = moved[c];
  }
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

const char* nameOf(GridTransform::Beyond beyond) {
  return beyond == GridTransform::Beyond::bricks ? "bricks" : "displacement";
}

GridTransform::Beyond beyondOf(const json& document) {
  const auto name = document.at("beyond").get<std::string>();
  for (const auto beyond : {GridTransform::Beyond::bricks, GridTransform::Beyond::displacement})
    if (name == nameOf(beyond)) return beyond;
  throw HostError("what holds beyond the box is neither bricks nor displacement");
}

GridTransform transformOf(const json& document) {
  GridTransform transform;
  transform.grid.box = boxOf(document);
  transform.grid.numBricks = bricksOf(document);
  transform.boxToWorld = matrixOf(document);
  transform.beyond = beyondOf(document);
  const auto count = static_cast<std::size_t>(3 * vertexCount(transform.grid.numBricks));
  for (const double x : numbersOf(document, "vertices", count))
    transform.grid.vertices.insert(transform.grid.vertices.size, 1, &x);
  return transform;
}

json documentOf(const GridTransform& transform) {
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

GridTransform GridTransform::fromFrames(const Grid& frames, const NiftiVolume& reference,
                                        const NiftiVolume& model, Beyond beyond) {
  GridTransform transform = {frames, reference.frame.toWorld, beyond};
  moveVertices(transform.grid, model.frame.toWorld);
  return transform;
}

GridTransform::Grid GridTransform::start(const NmMat4d& modelToReference,
                                         const NiftiVolume& reference, const NiftiVolume& model) {
  Grid grid;
  grid.box = boxAround(reference);
  grid.numBricks = NmVec3i(1, 1, 1);
  for (int corner = 0; corner < 8; ++corner)
    for (int a = 0; a < 3; ++a) {
      const double place = (corner >> a & 1) != 0 ? grid.box.max(a) : grid.box.min(a);
      grid.vertices.insert(grid.vertices.size, 1, &place);
    }
  moveVertices(grid, worldToFrames(modelToReference, reference, model).inverse());
  return grid;
}

NmVec3d GridTransform::ofWorld(const NmVec3d& point) const {
  NmVec3d inBox;
  boxToWorld.inverse().multVecMatrix(point, inBox);
  return ofBox(inBox);
}

NmVec3d GridTransform::ofBox(const NmVec3d& point) const {
  if (beyond == Beyond::bricks) return byBricks(point);
  NmVec3d nearest;
  for (int a = 0; a < 3; ++a)
    nearest[a] = std::clamp<double>(point[a], grid.box.min(a), grid.box.max(a));
  NmVec3d found = byBricks(nearest);
  for (int a = 0; a < 3; ++a)
    for (int c = 0; c < 3; ++c) found[c] += (point[a] - nearest[a]) * boxToWorld.m[a][c];
  return found;
}

NmVec3d GridTransform::byBricks(const NmVec3d& point) const {
  const NmVec3i& n = grid.numBricks;
  Brick bricks[3];
  for (int a = 0; a < 3; ++a) {
    const double low = grid.box.min(a);
    bricks[a] = brickAt((point[a] - low) / (static_cast<double>(grid.box.max(a)) - low), n[a]);
  }
  const long strides[3] = {1, n.x + 1L, (n.x + 1L) * (n.y + 1L)};
  NmVec3d found;
  for (int corner = 0; corner < 8; ++corner) {
    double weight = 1.0;
    long vertex = 0;
    for (int a = 0; a < 3; ++a) {
      const int upper = corner >> a & 1;
      weight *= upper != 0 ? bricks[a].fraction : 1.0 - bricks[a].fraction;
      vertex += (bricks[a].index + upper) * strides[a];
    }
    for (int c = 0; c < 3; ++c) found[c] += weight * grid.vertices[3 * vertex + c];
  }
  return found;
}

double GridTransform::smallestJacobian() const {
  const RegNonAffineTransform transform(grid, grid.numBricks);
  NmDArray<double> smallest;
  constexpr int allBricks = -1;
  (void)transform.computeJacobiTransforms(allBricks, 0, smallest, nullptr, nullptr, nullptr,
                                          nullptr, nullptr);
  return smallest.size > 0 ? *std::min_element(smallest.data, smallest.data + smallest.size) : 0.0;
}

GridTransform readGridTransform(const std::string& path) {
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
                        const GridTransform& transform) {
  std::ofstream file(outputs.add(path));
  file << documentOf(transform).dump() << '\n';
  file.close();
  if (!file) OutputFiles::fail(path);
}

}  // namespace host
