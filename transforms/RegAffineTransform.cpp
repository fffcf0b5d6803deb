#include "transforms/RegAffineTransform.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

#include "transforms/RegTools.h"

namespace {

constexpr std::int64_t parameterCount = 15;
constexpr double pi = 3.141592653589793;

double identityParameter(std::int64_t i) {
  return i >= 6 && i < 9 ? 1.0 : 0.0;
}

/// Restores all elements of a vector that a host has shortened.
void completeParameters(NmDVector<double>& params) {
  const std::int64_t present = params.size;
  if (present >= parameterCount) return;
  params.resize(parameterCount);
  for (std::int64_t i = present; i < parameterCount; ++i) params[i] = identityParameter(i);
}

NmMat4d translationBy(const NmVec3f& offset) {
  NmMat4d matrix;
  matrix.setTranslate(offset);
  return matrix;
}

VlData* firstOf(const NmDArray<NmHandle<VlData>>& volumes) {
  return volumes.size > 0 ? volumes[0].get() : nullptr;
}

/// Angle in degrees at which a point on the rim of a rectangle moves by about three world units.
double rimAngle(double width, double height) {
  return 1080.0 / (std::sqrt(width * width + height * height) * pi);
}

void takeInverse(RegAffineTransform& inverse, const RegAffineTransform& transform) {
  inverse.relativeMatrix = transform.relativeMatrix.inverse();
  inverse.decomposeMatrix(inverse.relativeMatrix, inverse.params);
  inverse.absoluteMatrix = transform.absoluteMatrix.inverse();
}

void levelScales(NmDVector<double>& params) {
  completeParameters(params);
  params[7] = params[8] = params[6];
}

}  // namespace

RegAffineTransform::RegAffineTransform() {
  makeIdentityTransform();
}

RegAffineTransform::RegAffineTransform(NmDArray<NmHandle<VlData>>& referenceVolumes,
                                       VlData* modelVolume, const NmMat4f& matrix,
                                       int freeParameters)
    : references(referenceVolumes), model(modelVolume), degreesOfFreedom(freeParameters) {
  params.resize(parameterCount);
  init(matrix);
}

RegAffineTransform::RegAffineTransform(const RegAffineTransform& other)
    : RegParametricTransform(other),
      references(other.references),
      model(other.model),
      relativeMatrix(other.relativeMatrix),
      absoluteMatrix(other.absoluteMatrix),
      degreesOfFreedom(other.degreesOfFreedom) {}

RegAffineTransform& RegAffineTransform::operator=(const RegAffineTransform& other) {
  if (&other == this) return *this;
  RegParametricTransform::operator=(other);
  references = other.references;
  model = other.model;
  relativeMatrix = other.relativeMatrix;
  absoluteMatrix = other.absoluteMatrix;
  degreesOfFreedom = other.degreesOfFreedom;
  delete inverseTransform;
  inverseTransform = nullptr;
  return *this;
}

RegAffineTransform::~RegAffineTransform() {
  delete inverseTransform;
}

RegParametricTransform* RegAffineTransform::makeInverse() {
  std::unique_ptr<RegAffineTransform> inverse(
      new RegAffineTransform(references, model, NmMat4f(), degreesOfFreedom));
  takeInverse(*inverse, *this);
  if (degreesOfFreedom == 7) levelScales(inverse->params);
  return inverse.release();
}

void RegAffineTransform::update() {}

int RegAffineTransform::getVariableParamVectorDim() {
  return static_cast<int>(std::clamp<std::int64_t>(degreesOfFreedom, 0, params.size));
}

double RegAffineTransform::getParamStep(int i, NmVec3d* size) {
  if (i >= getVariableParamVectorDim()) return 0.0;
  if (i < 3 || i > 11) return 1.0;
  if (size == nullptr) return 0.0;
  switch (i) {
    case 3:
      return rimAngle(size->y, size->z);
    case 4:
      return rimAngle(size->x, size->z);
    case 5:
      return rimAngle(size->x, size->y);
    default:
      return 4.0 / std::max({0.0, size->x, size->y, size->z});
  }
}

bool RegAffineTransform::decomposeMatrix(NmMat4d& m, NmDVector<double>& p) {
  RegTools::decomposeMatrix(m, p);
  const NmVec3f size = RegTools::getBoundingBoxSize(model);
  const double middle[3] = {size.x * 0.5f, size.y * 0.5f, size.z * 0.5f};
  changeCenter(middle);
  return true;
}

void RegAffineTransform::setDegreesOfFreedom(int n) {
  degreesOfFreedom = n;
  if (n != 7) return;
  levelScales(params);
  composeMatrix();
  updateInverse();
}

void RegAffineTransform::setDegreesOfFreedomDirect(int n) {
  degreesOfFreedom = n;
}

void RegAffineTransform::init(const NmMat4f& matrix) {
  absoluteMatrix.setValue(matrix);
  relativeMatrix = translationBy(RegTools::getBoundingBoxOrigin(model));
  relativeMatrix.multRight(absoluteMatrix);
  relativeMatrix.multRight(
      translationBy(RegTools::getBoundingBoxOrigin(firstOf(references))).inverse());
  decomposeMatrix(relativeMatrix, params);
}

void RegAffineTransform::composeMatrix() {
  RegTools::composeMatrix(params, relativeMatrix);
  absoluteMatrix = translationBy(RegTools::getBoundingBoxOrigin(model)).inverse();
  absoluteMatrix.multRight(relativeMatrix);
  absoluteMatrix.multRight(translationBy(RegTools::getBoundingBoxOrigin(firstOf(references))));
}

void RegAffineTransform::apply() {
  composeMatrix();
}

void RegAffineTransform::decomposeMatrix() {
  decomposeMatrix(relativeMatrix, params);
}

void RegAffineTransform::makeIdentityTransform() {
  params.clear();
  completeParameters(params);
}

void RegAffineTransform::changeCenter(const double* center) {
  if (center == nullptr) return;
  const NmVec3d target(center[0], center[1], center[2]);
  completeParameters(params);
  double shift[3];
  double moved[3];
  for (int j = 0; j < 3; ++j) shift[j] = target[j] - params[12 + j];
  rotateScaleShear(moved, shift);
  for (int j = 0; j < 3; ++j) {
    params[j] -= shift[j];
    params[j] += moved[j];
    params[12 + j] = target[j];
  }
}

void RegAffineTransform::rotateScaleShear(double* out, const double* in) const {
  if (out == nullptr || in == nullptr) return;
  const auto& m = relativeMatrix.m;
  const double x = in[0];
  const double y = in[1];
  const double z = in[2];
  for (int j = 0; j < 3; ++j) out[j] = x * m[0][j] + y * m[1][j] + z * m[2][j];
}

RegAffineTransform* RegAffineTransform::getInverse() {
  if (inverseTransform != nullptr) {
    updateInverse();
    return inverseTransform;
  }
  std::unique_ptr<RegParametricTransform> made(makeInverse());
  inverseTransform = dynamic_cast<RegAffineTransform*>(made.get());
  if (inverseTransform != nullptr) (void)made.release();
  return inverseTransform;
}

void RegAffineTransform::updateInverse() {
  if (inverseTransform == nullptr) return;
  inverseTransform->degreesOfFreedom = degreesOfFreedom;
  takeInverse(*inverseTransform, *this);
}
