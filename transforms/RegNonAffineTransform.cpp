#include "transforms/RegNonAffineTransform.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "foundation/NmCPUInfo.h"
#include "foundation/VlData.h"
#include "transforms/brickStages.h"
#include "transforms/brickTopology.h"
#include "transforms/voxelAxis.h"

using voxreg::detail::brickFace;
using voxreg::detail::BrickPlace;
using voxreg::detail::BrickTopology;
using voxreg::detail::placeInBricks;
using voxreg::detail::rowDoubles;
using voxreg::detail::sliceDoubles;
using voxreg::detail::VoxelAxis;

namespace {

constexpr int brickLimit = 32;
constexpr int corners = 8;
constexpr int perBrick = voxreg::detail::brickDoubles;

/// Row t turns the corner values of a brick into the coefficient of term t: 1, r, s, rs, q, rq, sq,
/// rsq.
constexpr double cornerToTerm[corners][corners] = {
    {1, 0, 0, 0, 0, 0, 0, 0},   {-1, 1, 0, 0, 0, 0, 0, 0},   {-1, 0, 1, 0, 0, 0, 0, 0},
    {1, -1, -1, 1, 0, 0, 0, 0}, {-1, 0, 0, 0, 1, 0, 0, 0},   {1, -1, 0, 0, -1, 1, 0, 0},
    {1, 0, -1, 0, -1, 0, 1, 0}, {-1, 1, 1, -1, 1, -1, -1, 1}};

static_assert(sizeof(NmVec3d) == 3 * sizeof(double), "the stages walk vectors as plain doubles");

double* flat(NmDArray<NmVec3d>& vectors) {
  return reinterpret_cast<double*>(vectors.data);
}

const double* flat(const NmDArray<NmVec3d>& vectors) {
  return reinterpret_cast<const double*>(vectors.data);
}

NmVec3d nowhere() {
  constexpr double none = std::numeric_limits<double>::quiet_NaN();
  return {none, none, none};
}

void fillWithNowhere(NmDArray<NmVec3d>& vectors) {
  std::fill_n(vectors.data, vectors.size, nowhere());
}

void growWithZeros(NmDArray<double>& values, std::int64_t size) {
  const std::int64_t present = values.size;
  if (present >= size) return;
  values.resize(size);
  std::fill(values.data + present, values.data + size, 0.0);
}

bool isBrickCount(int n) {
  return n >= 1 && n <= brickLimit;
}

NmVec3i limited(const NmVec3i& n) {
  return {std::clamp(n.x, 1, brickLimit), std::clamp(n.y, 1, brickLimit),
          std::clamp(n.z, 1, brickLimit)};
}

bool isGrid(const NmVec3i& n) {
  return isBrickCount(n.x) && isBrickCount(n.y) && isBrickCount(n.z);
}

std::int64_t bricksOf(const NmVec3i& n) {
  return isGrid(n) ? BrickTopology{n}.brickCount() : 0;
}

std::int64_t verticesOf(const NmVec3i& n) {
  return isGrid(n) ? BrickTopology{n}.vertexCount() : 0;
}

bool fits(const NmVec3i& n, std::int64_t parameters) {
  return isGrid(n) && parameters == 3 * verticesOf(n);
}

/// The brick and fraction of a normalised coordinate on an axis of n bricks.
BrickPlace placeOf(double coordinate, int n) {
  return placeInBricks(n * coordinate, n);
}

/// terms = cornerTable (8 x 8) * positions (8 x 3), with each sum in ascending order starting at
/// 0.0.
void multiplyCorners(const double* cornerTable, const double (&positions)[perBrick],
                     double* terms) {
  for (int t = 0; t < corners; ++t)
    for (int c = 0; c < 3; ++c) {
      double sum = 0.0;
      for (int n = 0; n < corners; ++n) sum += cornerTable[corners * t + n] * positions[3 * n + c];
      terms[3 * t + c] = sum;
    }
}

/// Stores coefficients before a change, if the host provides both arrays.
class SavedCoefficients {
 public:
  SavedCoefficients(NmDArray<int>* indices, NmDArray<double>* values)
      : indices_(indices), values_(values), wanted_(indices != nullptr && values != nullptr) {
    if (!wanted_) return;
    indices_->clear();
    values_->clear();
  }

  /// Takes `count` terms of one component, starting at index `first`.
  void append(const NmDArray<double>& coefficients, std::int64_t first, int count) {
    if (!wanted_) return;
    const std::int64_t size = indices_->size;
    indices_->resize(size + count);
    values_->resize(size + count);
    for (int t = 0; t < count; ++t) {
      (*indices_)[size + t] = static_cast<int>(first + 3 * t);
      (*values_)[size + t] = coefficients[first + 3 * t];
    }
  }

 private:
  NmDArray<int>* indices_;
  NmDArray<double>* values_;
  bool wanted_;
};

/// Moves one corner of a brick. The table is zero above its diagonal, so a corner does not affect
/// terms before its own.
void changeCorner(RegNonAffineTransform& transform, std::int64_t brick, int corner, int component,
                  double delta, SavedCoefficients& saved) {
  NmDArray<double>& coefficients = transform.coefficients;
  const std::int64_t first = perBrick * brick + 3 * corner + component;
  const int terms = corners - corner;
  saved.append(coefficients, first, terms);
  for (int t = 0; t < terms; ++t)
    coefficients[first + 3 * t] += transform.brickMatrix(corner + t, corner) * delta;
}

/// Changes a parameter in the coefficients of the bricks, at most eight, that share its vertex.
void changeParameter(RegNonAffineTransform& transform, int index, double delta,
                     SavedCoefficients& saved) {
  const NmVec3i& n = transform.numBricks;
  const NmVec3i at = BrickTopology{n}.indicesOfVertex(index / 3);
  for (int bk = std::max(at.z - 1, 0); bk <= std::min(at.z, n.z - 1); ++bk)
    for (int bj = std::max(at.y - 1, 0); bj <= std::min(at.y, n.y - 1); ++bj)
      for (int bi = std::max(at.x - 1, 0); bi <= std::min(at.x, n.x - 1); ++bi)
        changeCorner(transform, bi + n.x * (bj + static_cast<std::int64_t>(n.y) * bk),
                     (at.x - bi) + 2 * (at.y - bj) + 4 * (at.z - bk), index % 3, delta, saved);
}

/// Sets the vertices of a grid to the map's values at first + (i, j, k) * step, normalised. The
/// coefficients remain those of the old vertices.
void sampleVertices(RegNonAffineTransform& transform, const NmVec3i& grid, const NmVec3d& first,
                    const NmVec3d& step) {
  NmDArray<double> vertices;
  NmDArray<NmVec3d> slice;
  NmDArray<NmVec3d> row;
  vertices.resize(3 * verticesOf(grid));
  slice.resize(std::int64_t{4} * transform.numBricks.x * transform.numBricks.y);
  row.resize(std::int64_t{2} * transform.numBricks.x);
  double* vertex = vertices.data;
  for (int k = 0; k <= grid.z; ++k) {
    transform.setW(first.z + k * step.z, slice);
    for (int j = 0; j <= grid.y; ++j) {
      transform.setV(first.y + j * step.y, slice, row);
      for (int i = 0; i <= grid.x; ++i) {
        NmVec3d point;
        transform.setU(first.x + i * step.x, row, point);
        for (int c = 0; c < 3; ++c) *vertex++ = point[c];
      }
    }
  }
  static_cast<NmDArray<double>&>(transform.params) = std::move(vertices);
}

}  // namespace

RegNonAffineTransform::RegNonAffineTransform(const NonAffineTransformDescriptor& d,
                                             const NmVec3i& bricks)
    : numBricks(limited(bricks)), useSse2(NmCPUInfo::instance().hasSse2()) {
  initBrickMatrix();
  init(d);
}

RegNonAffineTransform::RegNonAffineTransform(const RegNonAffineTransform& other)
    : RegParametricTransform(other),
      numBricks(other.numBricks),
      coefficients(other.coefficients),
      offsetToModel(other.offsetToModel),
      scaleToModel(other.scaleToModel),
      referenceBox(other.referenceBox),
      useSse2(NmCPUInfo::instance().hasSse2()) {
  initBrickMatrix();
}

RegNonAffineTransform::~RegNonAffineTransform() = default;

void RegNonAffineTransform::update() {}

int RegNonAffineTransform::getVariableParamVectorDim() {
  return static_cast<int>(3 * vertexCount());
}

double RegNonAffineTransform::getParamStep(int /*i*/, NmVec3d* /*size*/) {
  return 0.25;
}

std::int64_t RegNonAffineTransform::brickCount() const {
  return bricksOf(numBricks);
}

std::int64_t RegNonAffineTransform::vertexCount() const {
  return verticesOf(numBricks);
}

bool RegNonAffineTransform::hasVertices() const {
  return fits(numBricks, params.size);
}

bool RegNonAffineTransform::canEvaluate() const {
  const std::int64_t bricks = brickCount();
  return bricks > 0 && coefficients.size >= perBrick * bricks;
}

void RegNonAffineTransform::initBrickMatrix() {
  if (brickMatrix.nRows == corners && brickMatrix.nCols == corners) return;
  brickMatrix.resize(corners, corners);
  std::memcpy(brickMatrix.data, cornerToTerm, sizeof cornerToTerm);
}

void RegNonAffineTransform::init(const NonAffineTransformDescriptor& d) {
  if (!(d.box.volume() > 0.0f)) return;
  if (fits(d.numBricks, d.vertices.size))
    initFromNonAffineTransform(d.box, d.vertices, d.numBricks, true);
  else
    makeIdentityTransform(d.box);
}

void RegNonAffineTransform::initFromNonAffineTransform(const NmBox3f& box,
                                                       const NmDArray<double>& vertices,
                                                       const NmVec3i& n, bool keepBrickCount) {
  if (!(box.volume() > 0.0f) || !fits(n, vertices.size)) return;
  const NmVec3i target = keepBrickCount ? limited(numBricks) : n;
  static_cast<NmDArray<double>&>(params) = vertices;
  numBricks = n;
  computeCoefficients();
  if (target != numBricks) moveToGrid(target);
  referenceBox = box;
}

void RegNonAffineTransform::makeIdentityTransform(const NmBox3f& box) {
  const NmBox3f limits = box.volume() > 0.0f ? box : NmBox3f(0, 1, 0, 1, 0, 1);
  numBricks = limited(numBricks);
  params.resize(3 * vertexCount());
  const auto place = [&](int axis, int index) {
    const double a = 1.0 / numBricks[axis] * index;
    return a * limits.max(axis) + (1.0 - a) * limits.min(axis);
  };
  double* vertex = params.data;
  for (int k = 0; k <= numBricks.z; ++k)
    for (int j = 0; j <= numBricks.y; ++j)
      for (int i = 0; i <= numBricks.x; ++i) {
        *vertex++ = place(0, i);
        *vertex++ = place(1, j);
        *vertex++ = place(2, k);
      }
  referenceBox = limits;
  computeCoefficients();
}

void RegNonAffineTransform::computeCoefficients() {
  initBrickMatrix();
  growWithZeros(coefficients, perBrick * brickCount());
  if (!hasVertices()) return;
  const BrickTopology grid = {numBricks};
  double* terms = coefficients.data;
  for (int bk = 0; bk < numBricks.z; ++bk)
    for (int bj = 0; bj < numBricks.y; ++bj)
      for (int bi = 0; bi < numBricks.x; ++bi, terms += perBrick) {
        double positions[perBrick];
        for (int pair = 0; pair < 4; ++pair)
          std::copy_n(params.data + 3 * grid.cornerOf({bi, bj, bk}, 2 * pair), 6,
                      positions + 6 * pair);
        multiplyCorners(brickMatrix.data, positions, terms);
      }
}

void RegNonAffineTransform::apply() {
  computeCoefficients();
}

void RegNonAffineTransform::updateCoefficients(NmDArray<int>& indices, NmDArray<double>& deltas,
                                               NmDArray<int>* savedIndices,
                                               NmDArray<double>* savedValues) {
  SavedCoefficients saved(savedIndices, savedValues);
  initBrickMatrix();
  growWithZeros(coefficients, perBrick * brickCount());
  growWithZeros(deltas, indices.size);
  for (std::int64_t n = 0; n < indices.size; ++n)
    if (indices[n] >= 0 && indices[n] < 3 * vertexCount() && deltas[n] != 0.0)
      changeParameter(*this, indices[n], deltas[n], saved);
}

void RegNonAffineTransform::restoreCoefficients(NmDArray<int>& indices, NmDArray<double>& values) {
  const std::int64_t count = std::min(indices.size, values.size);
  for (std::int64_t n = 0; n < count; ++n)
    if (indices[n] >= 0 && indices[n] < coefficients.size) coefficients[indices[n]] = values[n];
}

void RegNonAffineTransform::setW(double w, NmDArray<NmVec3d>& out) const {
  const std::int64_t bricks = static_cast<std::int64_t>(numBricks.x) * numBricks.y;
  if (!canEvaluate() || out.size < 4 * bricks) return fillWithNowhere(out);
  const BrickPlace place = placeOf(w, numBricks.z);
  const double* const layer = coefficients.data + perBrick * bricks * place.brick;
  for (std::int64_t b = 0; b < bricks; ++b)
    voxreg::detail::takeSlice(voxreg::detail::PlainTerms{layer + perBrick * b}, place.fraction,
                              flat(out) + sliceDoubles * b);
}

void RegNonAffineTransform::setV(double v, const NmDArray<NmVec3d>& in,
                                 NmDArray<NmVec3d>& out) const {
  const std::int64_t bricks = static_cast<std::int64_t>(numBricks.x) * numBricks.y;
  if (brickCount() == 0 || in.size < 4 * bricks || out.size < 2 * numBricks.x)
    return fillWithNowhere(out);
  const BrickPlace place = placeOf(v, numBricks.y);
  const double* const slice =
      flat(in) + static_cast<std::int64_t>(sliceDoubles) * numBricks.x * place.brick;
  for (int b = 0; b < numBricks.x; ++b)
    voxreg::detail::takeRow(voxreg::detail::PlainTerms{slice + sliceDoubles * b}, place.fraction,
                            flat(out) + rowDoubles * b);
}

void RegNonAffineTransform::setU(double u, const NmDArray<NmVec3d>& in, NmVec3d& out) const {
  if (brickCount() == 0 || in.size < 2 * numBricks.x) {
    out = nowhere();
    return;
  }
  const BrickPlace place = placeOf(u, numBricks.x);
  const NmVec3d& start = in[2 * place.brick];
  const NmVec3d& slope = in[2 * place.brick + 1];
  out = NmVec3d(start.x + place.fraction * slope.x, start.y + place.fraction * slope.y,
                start.z + place.fraction * slope.z);
}

void RegNonAffineTransform::setWUnscaled(double w, NmDArray<NmVec3d>& out) const {
  setW(w, out);
}

void RegNonAffineTransform::setWScaled(double w, NmDArray<NmVec3d>& out) const {
  setW(w, out);
  const std::int64_t groups =
      std::min(static_cast<std::int64_t>(numBricks.x) * numBricks.y, out.size / 4);
  for (std::int64_t g = 0; g < groups; ++g)
    voxreg::detail::scaleSlice(&offsetToModel.x, &scaleToModel.x, voxreg::detail::PlainSpread(),
                               flat(out) + sliceDoubles * g);
}

void RegNonAffineTransform::setScaleToModel(const NmVec3d& offset, double sx, double sy,
                                            double sz) {
  offsetToModel = offset;
  scaleToModel = NmVec3d(sx, sy, sz);
}

void RegNonAffineTransform::setNumBricks(NmVec3i& n) {
  n = limited(n);
  if (n != numBricks) prolongate(numBricks, n);
}

void RegNonAffineTransform::prolongate(const NmVec3i& from, const NmVec3i& to) {
  if (from != to) moveToGrid(limited(to));
}

void RegNonAffineTransform::restrict(const NmVec3i& from, const NmVec3i& to) {
  prolongate(from, to);
}

void RegNonAffineTransform::moveToGrid(const NmVec3i& grid) {
  if (hasVertices())
    sampleVertices(*this, grid, NmVec3d(), NmVec3d(1.0 / grid.x, 1.0 / grid.y, 1.0 / grid.z));
  numBricks = grid;
  computeCoefficients();
}

NmBox3i RegNonAffineTransform::getROIofVertex(VlData* data, int vertex) const {
  if (data == nullptr) return {};
  const voxreg::detail::VolumeFrame frame(*data);
  const VoxelAxis axes[3] = {VoxelAxis(frame, 0), VoxelAxis(frame, 1), VoxelAxis(frame, 2)};
  int voxels[3][2] = {{0, axes[0].last()}, {0, axes[1].last()}, {0, axes[2].last()}};
  const bool exists = vertex >= 0 && vertex < vertexCount();
  const NmVec3i at = exists ? BrickTopology{numBricks}.indicesOfVertex(vertex) : NmVec3i();
  for (int axis = 0; exists && axis < 3; ++axis) {
    const int n = numBricks[axis];
    if (n < 2) continue;
    const int lower = at[axis] < 2 ? 0 : at[axis] - 1;
    const int upper = std::min(at[axis] + 1, n);
    voxels[axis][0] = axes[axis].firstFrom(brickFace(referenceBox, axis, lower, n));
    voxels[axis][1] = axes[axis].lastUpTo(brickFace(referenceBox, axis, upper, n));
  }
  return {voxels[0][0], voxels[0][1], voxels[1][0], voxels[1][1], voxels[2][0], voxels[2][1]};
}

void RegNonAffineTransform::adaptReferenceBoundingBox(const NmBox3f& box) {
  if (box == referenceBox || !(referenceBox.volume() > 0.0f) || !(box.volume() > 0.0f)) return;
  if (!hasVertices()) return;
  computeCoefficients();
  NmVec3d first;
  NmVec3d step;
  for (int axis = 0; axis < 3; ++axis) {
    const double extent = referenceBox.extent(axis);
    first[axis] = (box.min(axis) - referenceBox.min(axis)) / extent;
    const double end = (box.max(axis) - referenceBox.min(axis)) / extent;
    step[axis] = (end - first[axis]) / numBricks[axis];
  }
  sampleVertices(*this, numBricks, first, step);
  computeCoefficients();
  referenceBox = box;
}

void RegNonAffineTransform::getTransform(NonAffineTransformDescriptor& d) const {
  d.box = referenceBox;
  d.numBricks = numBricks;
  d.vertices = params;
}
