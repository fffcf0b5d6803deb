#include <gtest/gtest.h>

#include <cmath>

#include "phantoms/Phantom.h"
#include "terminal/InterruptibleProgress.h"
#include "workflow/search/centres.h"
#include "workflow/search/starts.h"

namespace {

using host::NiftiVolume;
using voxreg::StartRule;

/// Air of -1000 with noise, and a body of 40 in part of it, as a CT has them.
NiftiVolume bodyInAir() {
  NiftiVolume volume =
      host::newVolume(NmVec3l(40, 20, 10), NmBox3f(-100, 95, 10, 105, 0, 27), NmPrimType::Short);
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(true);
  auto* voxel = static_cast<short*>(access->dataPtr(0));
  for (int z = 0; z < 10; ++z)
    for (int y = 0; y < 20; ++y)
      for (int x = 0; x < 40; ++x) {
        const bool isBody = x >= 4 && x <= 12 && y >= 10 && y <= 14 && z >= 2 && z <= 8;
        *voxel++ = static_cast<short>((isBody ? 40 : -1000) + (x * 7 + y * 3 + z) % 5);
      }
  return volume;
}

TEST(Centres, ofMassIsThatOfTheBodyWhateverTheValuesOfAir) {
  const NmVec3d centre = voxreg::detail::centreOfMass(bodyInAir().image);
  EXPECT_NEAR(centre.x, -100 + 8 * 5, 1e-3);
  EXPECT_NEAR(centre.y, 10 + 12 * 5, 1e-3);
  EXPECT_NEAR(centre.z, 5 * 3, 1e-3);
  const NmVec3d middle = voxreg::detail::centreOfBox(bodyInAir().image);
  EXPECT_NEAR(middle.x, -2.5, 1e-3);
  EXPECT_NEAR(middle.z, 13.5, 1e-3);
}

/// The phantom's head in a field of view that lies elsewhere by `shift`.
NiftiVolume headAt(double shift) {
  host::Acquisition moved;
  moved.modelToReference.setTranslate(NmVec3d(5, -4, 6));
  NiftiVolume volume = host::acquire(host::Phantom(3), 32, moved);
  NmMat4d there = volume.image.voxelToWorld();
  there.m[3][1] += shift;
  volume.image =
      voxreg::Image::copy(volume.image.type(), volume.image.voxels(), volume.image.dims(), there);
  return volume;
}

TEST(Starts, areTheHeadersUnlessOthersShowMore) {
  const NiftiVolume reference = host::acquire(host::Phantom(3), 32, {});
  host::InterruptibleProgress progress;
  const auto best = [&](const NiftiVolume& model) {
    return voxreg::detail::bestOf(
        voxreg::detail::startsFor(StartRule::best, reference.image, model.image, {}, progress));
  };
  // The boxes have one middle here, so that their start and the header's are equally good.
  EXPECT_EQ(best(host::acquire(host::Phantom(3), 32, {})).rule, StartRule::header);
  const NiftiVolume farAway = headAt(500);
  const voxreg::Start found = best(farAway);
  EXPECT_NE(found.rule, StartRule::header);
  EXPECT_NEAR(found.matrix.m[3][1], -500, 10);
  const auto starts =
      voxreg::detail::startsFor(StartRule::masses, reference.image, farAway.image, {}, progress);
  ASSERT_EQ(starts.size(), 1u);
  for (int c = 0; c < 3; ++c)  // 5, -4, 6 mm at voxels of 6 mm
    EXPECT_NEAR(starts[0].matrix.m[3][c], (NmVec3d(5, -504, 6)[c]), 2.0);
}

TEST(Overlap, isTheShareOfTheReferenceThatTheModelCovers) {
  const NiftiVolume volume = host::acquire(host::Phantom(1), 16, {});  // voxels of 12 mm
  const auto overlapAfter = [&](const NmVec3d& shift) {
    NmMat4d matrix;
    matrix.setTranslate(shift);
    return voxreg::overlapOf(volume.image, volume.image,
                             voxreg::Transform::fromModelToReference(matrix));
  };
  EXPECT_EQ(overlapAfter(NmVec3d(0, 0, 0)).share, 1.0);
  EXPECT_EQ(overlapAfter(NmVec3d(0.1, 0, 0)).share, 1.0);  // less than a hundredth of a voxel
  EXPECT_EQ(overlapAfter(NmVec3d(0, 48, 0)).share, 0.75);
  EXPECT_EQ(overlapAfter(NmVec3d(96, 96, -96)).share, 0.125);
  EXPECT_TRUE(overlapAfter(NmVec3d(96, 0, 0)).referenceVaries);
  EXPECT_TRUE(overlapAfter(NmVec3d(96, 0, 0)).modelVaries);
  const voxreg::Overlap corner = overlapAfter(NmVec3d(180, 180, 180));  // one voxel of air
  EXPECT_EQ(corner.share, 1.0 / 4096);
  EXPECT_FALSE(corner.referenceVaries || corner.modelVaries);
  EXPECT_EQ(overlapAfter(NmVec3d(0, 5000, 0)).share, 0.0);
}

}  // namespace
