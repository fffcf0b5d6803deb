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

const char* const unreadable = "Failed getting data access or data are not contiguous.";

/// An operation on a registration's reference, and its last line without one, without one block of
/// one data variable, and for another voxel type.
struct Operation {
  Call call;
  std::string name;
  const char *noVolume, *noBlock, *badType;
  bool hasAxes = true;
};

const Operation operations[] = {
    {[](const Elastic& elastic, const NmVec3i& axes) {
       NmDArray<float> profile;
       return elastic.getCoronalProfile(elastic.reference, {1, 0}, axes, false, 0, 0, 5, profile);
     },
     "getCoronalProfile: ", "No field to be sampled.", unreadable, "primType not yet implemented."},
    {[](const Elastic& elastic, const NmVec3i& axes) {
       return elastic.findRegionOfInterest(1, axes, false, roi);
     },
     "findRegionOfInterest: ", "Reference volume is undefined.", unreadable,
     "Data type not yet implemented."},
    {[](const Elastic& elastic, const NmVec3i& axes) {
       NmVec3f center, weights;
       float inner = 0, outer = 0;
       int level = 0;
       const bool isFound = elastic.findMasking({1, 0}, axes, {1, 1, 1}, center, weights, inner,
                                                outer, nullptr, level, level);
       EXPECT_TRUE(weights == NmVec3f(1, 1, 1) && inner == 192 && outer == 205);
       return isFound;
     },
     "findMasking: ", "Reference volume is undefined.", "Failed computing the coronal profile.",
     "Failed computing the coronal profile."},
    {[](const Elastic& elastic, const NmVec3i&) {
       return elastic.applyMasking(elastic.reference, {1, 0}, {}, {}, 3, 5, Elastic::Image);
     },
     "applyMasking: ", "Volume to be masked is undefined.", unreadable,
     "primType not yet implemented.", false},
    {[](const Elastic& elastic, const NmVec3i&) {
       NmVec2f range;
       return elastic.findRanges(false, 10, 1000, {1, 0}, {1, 0}, range, range);
     },
     "findRanges: ", "Reference or model volume is undefined.",
     "Failed computing histogram for reference volume.",
     "Failed computing histogram for reference volume.", false}};

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
    EXPECT_EQ(fails(nullptr), operation.name + operation.noVolume);
    EXPECT_EQ(fails(rows), operation.name + operation.noBlock);
    EXPECT_EQ(fails(pairs), operation.name + operation.noBlock);
    EXPECT_EQ(fails(signedShorts), operation.name + operation.badType);
    if (!operation.hasAxes) continue;
    for (const NmVec3i& axes : {NmVec3i(0, 1, 1), NmVec3i(1, 2, 3), NmVec3i(-1, 1, 2)})
      EXPECT_EQ(fails(volume, axes), operation.name + "axes are not 0, 1 and 2 in some order.");
    EXPECT_NE(volume->tryLock(true), nullptr);
  }
  EXPECT_EQ(roi, NmBox3i(0, 3, 0, 3, 0, 3));
}

}  // namespace
