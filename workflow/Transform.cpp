#include "workflow/Transform.h"

#include <utility>

#include "workflow/sampling/deformation.h"
#include "workflow/sampling/matrices.h"

namespace voxreg {

NmVec3d Transform::Step::at(const NmVec3d& point) const {
  if (deformation != nullptr)
    return isInverse ? detail::inverseOf(*deformation, point) : deformation->at(point);
  NmVec3d found;
  forward.multVecMatrix(point, found);
  return found;
}

NmMat4d Transform::Step::jacobian(const NmVec3d& point) const {
  if (deformation != nullptr)
    return isInverse ? deformation->jacobian(at(point)).inverse() : deformation->jacobian(point);
  return detail::linearPart(forward);
}

Transform::Step Transform::Step::inverse() const {
  return {backward, forward, deformation, !isInverse};
}

Transform Transform::fromModelToReference(const NmMat4d& matrix) {
  Transform transform;
  transform.append({matrix.inverse(), matrix, nullptr, false});
  return transform;
}

Transform Transform::fromReferenceToModel(const NmMat4d& matrix) {
  Transform transform;
  transform.append({matrix, matrix.inverse(), nullptr, false});
  return transform;
}

Transform Transform::fromBricks(const BrickGrid& bricks) {
  Transform transform;
  transform.append({{}, {}, detail::deformationOf(bricks), false});
  return transform;
}

Transform Transform::fromLattice(const LatticeMap& lattice) {
  Transform transform;
  transform.append({{}, {}, detail::deformationOf(lattice), false});
  return transform;
}

Transform Transform::fromField(DisplacementMap field) {
  Transform transform;
  transform.append({{}, {}, detail::deformationOf(std::move(field)), false});
  return transform;
}

void Transform::append(const Step& step) {
  if (steps_.empty() || steps_.back().deformation != nullptr || step.deformation != nullptr) {
    steps_.push_back(step);
    return;
  }
  steps_.back().forward.multRight(step.forward);
  steps_.back().backward.multLeft(step.backward);
}

NmVec3d Transform::operator()(const NmVec3d& point) const {
  NmVec3d place = point;
  for (const Step& step : steps_) place = step.at(place);
  return place;
}

Transform Transform::inverse() const {
  Transform result;
  for (std::size_t i = steps_.size(); i-- > 0;) result.append(steps_[i].inverse());
  return result;
}

Transform Transform::then(const Transform& next) const {
  Transform result = *this;
  for (const Step& step : next.steps_) result.append(step);
  return result;
}

NmMat4d Transform::jacobian(const NmVec3d& point) const {
  NmMat4d product;
  NmVec3d place = point;
  for (const Step& step : steps_) {
    product.multRight(step.jacobian(place));
    place = step.at(place);
  }
  return product;
}

std::optional<NmMat4d> Transform::modelToReference() const {
  if (steps_.empty()) return NmMat4d();
  if (steps_.size() > 1 || steps_.front().deformation != nullptr) return std::nullopt;
  return steps_.front().backward;
}

std::optional<NmMat4d> Transform::referenceToModel() const {
  return inverse().modelToReference();
}

const detail::Deformation* Transform::onlyDeformation() const {
  const bool isOnly = steps_.size() == 1 && !steps_.front().isInverse;
  return isOnly ? steps_.front().deformation.get() : nullptr;
}

const BrickGrid* Transform::bricks() const {
  const detail::Deformation* const only = onlyDeformation();
  return only != nullptr ? only->bricks() : nullptr;
}

const LatticeMap* Transform::lattice() const {
  const detail::Deformation* const only = onlyDeformation();
  return only != nullptr ? only->lattice() : nullptr;
}

const DisplacementMap* Transform::field() const {
  const detail::Deformation* const only = onlyDeformation();
  return only != nullptr ? only->field() : nullptr;
}

}  // namespace voxreg
