#include <gtest/gtest.h>

#include <string>

#include "elastic/RegElasticRegistration.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RowVolume.h"
#include "tests/support/volumes.h"

namespace {

using Elastic = RegElasticRegistration;

using Call = bool (*)(const Elastic&, const NmVec3i& axes);

NmBox3i roi;

/// An operation on a registration's reference, and its last line without one, without one block of
/// one data variable, for another voxel type, and for axes that name one twice.
struct Operation {
  Call call;
  const char *noVolume, *noBlock, *badType, *badAxes;
};

const Operation operations[] = {
    {[](const Elastic& elastic, const NmVec3i& axes) {
       NmDArray<float> profile;
       return elastic.getCoronalProfile(elastic.reference, {1, 0}, axes, false, 0, 0, 5, profile);
     },
     "getCoronalProfile: No field to be sampled.",
     "getCoronalProfile: Failed getting data access or data are not contiguous.",
     "getCoronalProfile: primType not yet implemented.",
     "getCoronalProfile: axes are not 0, 1 and 2 in some order."},
    {[](const Elastic& elastic, const NmVec3i& axes) {
       return elastic.findRegionOfInterest(1, axes, false, roi);
     },
     "findRegionOfInterest: Reference volume is undefined.",
     "findRegionOfInterest: Failed getting data access or data are not contiguous.",
     "findRegionOfInterest: Data type not yet implemented.",
     "findRegionOfInterest: axes are not 0, 1 and 2 in some order."},
    {[](const Elastic& elastic, const NmVec3i& axes) {
       NmVec3f center, weights;
       float inner = 0, outer = 0;
       int level = 0;
       const bool isFound = elastic.findMasking({1, 0}, axes, {1, 1, 1}, center, weights, inner,
                                                outer, nullptr, level, level);
       EXPECT_TRUE(weights == NmVec3f(1, 1, 1) && inner == 192 && outer == 205);
       return isFound;
     },
     "findMasking: Reference volume is undefined.",
     "findMasking: Failed computing the coronal profile.",
     "findMasking: Failed computing the coronal profile.",
     "findMasking: axes are not 0, 1 and 2 in some order."},
    {[](const Elastic& elastic, const NmVec3i&) {
       return elastic.applyMasking(elastic.reference, {1, 0}, {}, {}, 3, 5, Elastic::Image);
     },
     "applyMasking: Volume to be masked is undefined.",
     "applyMasking: Failed getting data access or data are not contiguous.",
     "applyMasking: primType not yet implemented.", nullptr},
    {[](const Elastic& elastic, const NmVec3i&) {
       NmVec2f range;
       return elastic.findRanges(false, 10, 1000, {1, 0}, {1, 0}, range, range);
     },
     "findRanges: Reference or model volume is undefined.",
     "findRanges: Failed computing histogram for reference volume.",
     "findRanges: Failed computing histogram for reference volume.", nullptr}};

TEST(UnreadableVolumes, AreToldByEachOperation) {
  const NmHandle<VlData> volume = makeVolume({4, 4, 4}, NmPrimType::UnsignedShort);
  const NmHandle<VlData> rows = new RowVolume(volume);
  const NmHandle<VlData> pairs = makeVolume({4, 4, 4}, NmPrimType::UnsignedShort, 2);
  const NmHandle<VlData> signedShorts = makeVolume({4, 4, 4}, NmPrimType::Short);
  for (const Operation& operation : operations) {
    LogCapture log;
    const auto fails = [&](const NmHandle<VlData>& given, const NmVec3i& axes = {0, 1, 2}) {
      EXPECT_FALSE(operation.call({nullptr, given, nullptr, {}, 1}, axes));
      return log.errors.empty() ? "" : log.errors.back();
    };
    EXPECT_EQ(fails(nullptr), operation.noVolume);
    EXPECT_EQ(fails(rows), operation.noBlock);
    EXPECT_EQ(fails(pairs), operation.noBlock);
    EXPECT_EQ(fails(signedShorts), operation.badType);
    if (operation.badAxes == nullptr) continue;
    for (const NmVec3i& axes : {NmVec3i(0, 1, 1), NmVec3i(1, 2, 3), NmVec3i(-1, 1, 2)})
      EXPECT_EQ(fails(volume, axes), operation.badAxes);
    EXPECT_NE(volume->tryLock(true), nullptr);
  }
  EXPECT_EQ(roi, NmBox3i(0, 3, 0, 3, 0, 3));
}

}  // namespace
