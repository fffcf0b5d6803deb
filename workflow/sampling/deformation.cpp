#include "workflow/sampling/deformation.h"

#include <cmath>
#include <utility>

#include "foundation/numbers/vectors.h"
#include "workflow/sampling/fieldPoints.h"
#include "workflow/sampling/matrices.h"

namespace voxreg::detail {

namespace {

class BrickDeformation : public Deformation {
 public:
  explicit BrickDeformation(const BrickGrid& bricks) : bricks_(bricks) {}

  NmVec3d at(const NmVec3d& point) const override { return bricks_.ofWorld(point); }
  NmMat4d jacobian(const NmVec3d& point) const override { return bricks_.jacobian(point); }
  const BrickGrid* bricks() const override { return &bricks_; }

  /// The centre of the box.
  NmVec3d guess(const NmVec3d& /*target*/) const override {
    NmVec3d middle;
    for (int a = 0; a < 3; ++a)
      middle[a] = 0.5 * (static_cast<double>(bricks_.grid.box.min(a)) +
                         static_cast<double>(bricks_.grid.box.max(a)));
    bricks_.boxToWorld.multVecMatrix(middle, middle);
    return middle;
  }

 private:
  BrickGrid bricks_;
};

class LatticeDeformation : public Deformation {
 public:
  explicit LatticeDeformation(const LatticeMap& map)
      : map_(map), modelToReference_(map.referenceToModel.inverse()), isValid_(map.isValid()) {}

  NmVec3d at(const NmVec3d& point) const override {
    return isValid_ ? map_.ofWorld(point) : nowhere();
  }
  NmMat4d jacobian(const NmVec3d& point) const override {
    return isValid_ ? map_.jacobian(point) : noDerivative();
  }
  const LatticeMap* lattice() const override { return &map_; }

  /// Where it would be without displacement.
  NmVec3d guess(const NmVec3d& target) const override {
    NmVec3d found;
    modelToReference_.multVecMatrix(target, found);
    return found;
  }

 private:
  LatticeMap map_;
  NmMat4d modelToReference_;
  bool isValid_;
};

class FieldDeformation : public Deformation {
 public:
  explicit FieldDeformation(DisplacementMap map)
      : map_(std::move(map)),
        points_(map_),
        modelToReference_(map_.referenceToModel.inverse()),
        isValid_(map_.isValid()) {}
  FieldDeformation(const FieldDeformation&) = delete;
  FieldDeformation& operator=(const FieldDeformation&) = delete;
  ~FieldDeformation() override = default;

  NmVec3d at(const NmVec3d& point) const override {
    return isValid_ ? points_.at(point) : nowhere();
  }
  NmMat4d jacobian(const NmVec3d& point) const override {
    return isValid_ ? points_.jacobian(point) : noDerivative();
  }
  const DisplacementMap* field() const override { return &map_; }

  /// Where it would be without displacement.
  NmVec3d guess(const NmVec3d& target) const override {
    return throughAffine(modelToReference_, target);
  }

 private:
  DisplacementMap map_;
  FieldPoints points_;
  NmMat4d modelToReference_;
  bool isValid_;
};

NmVec3d stepped(const NmVec3d& place, const NmVec3d& step, double share) {
  return {place.x + share * step.x, place.y + share * step.y, place.z + share * step.z};
}

/// Newton's method with a share of each step; true if it converges, at `place`.
bool search(const Deformation& deformation, const NmVec3d& target, double share, NmVec3d& place) {
  constexpr int mostSteps = 100;
  const double enough = 1e-6 + 1e-12 * length(target);
  place = deformation.guess(target);
  for (int i = 0; i < mostSteps; ++i) {
    const NmVec3d rest = minus(target, deformation.at(place));
    const double distance = length(rest);
    if (distance <= enough) return true;
    if (!std::isfinite(distance)) return false;
    NmVec3d step;
    deformation.jacobian(place).inverse().multDirMatrix(rest, step);
    place = stepped(place, step, share);
  }
  return false;
}

}  // namespace

std::shared_ptr<const Deformation> deformationOf(const BrickGrid& bricks) {
  return std::make_shared<const BrickDeformation>(bricks);
}

std::shared_ptr<const Deformation> deformationOf(const LatticeMap& lattice) {
  return std::make_shared<const LatticeDeformation>(lattice);
}

std::shared_ptr<const Deformation> deformationOf(DisplacementMap field) {
  return std::make_shared<const FieldDeformation>(std::move(field));
}

// Within a brick or the box of a lattice the map is smooth, and full steps converge in a few
// iterations. Across faces, where the slope jumps, full steps may oscillate for ever; shorter ones
// do not.
NmVec3d inverseOf(const Deformation& deformation, const NmVec3d& point) {
  NmVec3d place;
  for (const double share : {1.0, 0.5, 0.25})
    if (search(deformation, point, share, place)) return place;
  return nowhere();
}

}  // namespace voxreg::detail
