#include "elastic/RegElasticRegistration.h"

#include <algorithm>

#include "elastic/pyramid/elasticPyramid.h"
#include "elastic/pyramid/elasticRegion.h"
#include "elastic/pyramid/elasticRuns.h"
#include "foundation/NmLogFile.h"
#include "foundation/voxels/volumeFrame.h"

using voxreg::detail::ElasticMask;
using voxreg::detail::ElasticPyramid;
using voxreg::detail::ElasticRegion;
using voxreg::detail::ElasticRuns;
using voxreg::detail::ElasticRunSettings;
using voxreg::detail::VolumeFrame;

namespace {

/// Why two volumes cannot be registered; null if they can.
const char* faultOf(const VlData* reference, const VlData* model) {
  if (reference == nullptr || model == nullptr) return "reference or model undefined.";
  if (reference->dims() != model->dims())
    return "different dimensions of reference and model, not yet implemented.";
  if (!(voxreg::detail::boxOf(*reference) == voxreg::detail::boxOf(*model)))
    return "different bounding boxes of reference and model, not yet implemented.";
  return nullptr;
}

}  // namespace

bool RegElasticRegistration::doRegistration(const NmVec2f& referenceRange,
                                            const NmVec2f& modelRange, unsigned int metricFlag,
                                            bool useMasking, const NmVec2f& referenceRescale,
                                            const NmVec2f& modelRescale, const NmVec3f& maskCenter,
                                            const NmVec3f& maskWeights, float innerRadius,
                                            float outerRadius, const NmBox3i* roi, int maxBricks,
                                            int bricksAxis) {
  if (const char* const fault = faultOf(reference, model)) {
    getTheLogInstance().errorf("RegElasticRegistration: %s", fault);
    return false;
  }
  const int largestBricks = std::clamp(maxBricks, 12, 40);
  const ElasticMask mask = {referenceRescale, modelRescale, maskCenter,
                            maskWeights,      innerRadius,  outerRadius};
  ElasticPyramid pyramid(*this, useMasking ? &mask : nullptr);
  if (largestBricks >= ElasticRuns::finestBricks) pyramid.buildFinest();
  pyramid.buildCoarser();

  const VolumeFrame frame(*reference);
  const ElasticRegion region = voxreg::detail::regionOf(frame, roi);
  const NmBox3f& box = region.box;
  getTheLogInstance().printf("reference bbox %.3f %.3f %.3f %.3f %.3f %.3f",
                             static_cast<double>(box.xmin), static_cast<double>(box.xmax),
                             static_cast<double>(box.ymin), static_cast<double>(box.ymax),
                             static_cast<double>(box.zmin), static_cast<double>(box.zmax));
  transform = {box, NmVec3i(), NmDArray<double>()};
  const ElasticRunSettings settings = {referenceRange, modelRange,  metricFlag,     largestBricks,
                                       bricksAxis,     region.dims, frame.voxelSize};
  return ElasticRuns(*this, settings).run(pyramid);
}
