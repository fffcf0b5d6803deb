#include <gtest/gtest.h>

#include <cmath>

#include "files/subtraction.h"
#include "tests/apps/testFiles.h"
#include "tests/apps/voxelsOf.h"
#include "workflow/bricks/shortVolume.h"

namespace {

using host::NiftiVolume;

/// A volume whose voxels are `show` of their positions.
template <class Show>
NiftiVolume volumeOf(const NmBox3f& box, NmPrimType type, const Show& show) {
  NiftiVolume volume = host::newVolume(NmVec3l(9, 8, 7), box, type);
  const NmVec3f spacing = volume.image.volume()->voxelSpacing();
  const NmHandle<VlDataAccess> access = volume.image.volume()->lock(true);
  float row[9];
  for (long z = 0; z < 7; ++z)
    for (long y = 0; y < 8; ++y) {
      for (long x = 0; x < 9; ++x)
        row[x] = show(NmVec3f(box.xmin + static_cast<float>(x) * spacing.x,
                              box.ymin + static_cast<float>(y) * spacing.y,
                              box.zmin + static_cast<float>(z) * spacing.z));
      (void)access->putRow(-1, y, z, row);
    }
  return volume;
}

const NmBox3f box(-8, 8, 0, 14, 2, 14);

struct Values {
  NmPrimType::Value type;
  float low;
  float high;
};

class ShortVolumeTest : public testing::TestWithParam<Values> {};

TEST_P(ShortVolumeTest, keepsTheValuesInUnitsThatWholeNumbersResolve) {
  const float low = GetParam().low;
  const float high = GetParam().high;
  const NiftiVolume volume = volumeOf(box, GetParam().type, [low, high](const NmVec3f& p) {
    return low + (high - low) * (p.x + 8.0f) / 16.0f;
  });
  const auto made = voxreg::detail::asUnsignedShort(volume.image);
  EXPECT_EQ(made.data->primType(), NmPrimType::UnsignedShort);
  EXPECT_GE(made.unit * (high - low), 100.0f);
  const std::vector<float> before = voxelsOf(*volume.image.volume());
  const std::vector<float> raw = voxelsOf(*made.data);
  for (std::size_t i = 0; i < raw.size(); ++i)
    EXPECT_NEAR((raw[i] * made.rescale.x + made.rescale.y) / made.unit, before[i],
                1e-5f * (high - low));
}

INSTANTIATE_TEST_SUITE_P(Types, ShortVolumeTest,
                         testing::Values(Values{NmPrimType::UnsignedShort, 0, 65535},
                                         Values{NmPrimType::UnsignedChar, 0, 255},
                                         Values{NmPrimType::Short, -1024, 3071},
                                         Values{NmPrimType::Int, -2000000, 2000000},
                                         Values{NmPrimType::Float, 0.0f, 0.016f},
                                         Values{NmPrimType::Double, -1, 1}));

TEST(SubtractionTest, goesBelowZero) {
  const NiftiVolume a = volumeOf(box, NmPrimType::UnsignedShort, [](NmVec3f p) { return p.y; });
  const NiftiVolume b = volumeOf(box, NmPrimType::UnsignedShort, [](NmVec3f) { return 5.0f; });
  const std::vector<float> values = voxelsOf(*subtraction(a, b).image.volume());
  EXPECT_EQ(values.front(), -5.0f);
  EXPECT_EQ(values.back(), 9.0f);
}

}  // namespace
