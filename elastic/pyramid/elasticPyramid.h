#pragma once

#include "foundation/NmHandle.h"
#include "foundation/NmVec.h"
#include "foundation/VlData.h"

class RegElasticRegistration;

namespace voxreg::detail {

/// A resolution of the pipeline: its planned geometry, and its volumes once they are made.
struct ElasticLevel {
  NmVec3i dims;
  NmVec3f voxelSize;
  NmHandle<VlData> reference;
  NmHandle<VlData> model;

  bool isBuilt() const { return reference != nullptr && model != nullptr; }
  void release();
};

/// The arguments of RegElasticRegistration::applyMasking for both volumes.
struct ElasticMask {
  NmVec2f referenceRescale;
  NmVec2f modelRescale;
  NmVec3f center;
  NmVec3f weights;
  float innerRadius;
  float outerRadius;
};

/// The levels of one run, each at about half the resolution of the one before. A level that cannot
/// be made has no volumes, and neither have those below it.
class ElasticPyramid {
 public:
  ElasticLevel res1;
  ElasticLevel res2;
  ElasticLevel res4;
  ElasticLevel res8;

  /// `mask` is null if nothing is to be masked.
  ElasticPyramid(RegElasticRegistration& registration, const ElasticMask* mask);

  /// Voxels of the input along x.
  int width() const { return input_.dims.x; }

  /// Makes res1, with at most 512 voxels along x and y.
  void buildFinest();

  /// Makes res2 from the input, then res4 and res8.
  void buildCoarser();

  /// Makes res1 at full resolution if it is missing.
  void completeFinest();

 private:
  void fill(ElasticLevel& level, const ElasticLevel& finer) const;
  void buildBelow(const ElasticLevel& finer, const char* names, ElasticLevel& level) const;

  RegElasticRegistration& registration_;
  const ElasticMask* mask_;
  ElasticLevel input_;
};

/// n / divisor in single precision, rounded to nearest, ties to even.
int roundedQuotient(int n, float divisor);

}  // namespace voxreg::detail
