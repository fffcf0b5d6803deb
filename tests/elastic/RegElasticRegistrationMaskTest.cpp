#include <gtest/gtest.h>

#include <algorithm>

#include "elastic/RegElasticRegistration.h"
#include "tests/elastic/shortVolume.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RowVolume.h"

namespace {

using Elastic = RegElasticRegistration;

const Elastic elastic;
const NmVec3l dims(9, 8, 7);
const NmBox3f box(-2, 2, 1, 8, -3, 9);
const NmVec3f spacing(0.5f, 1, 2);
const NmVec3f center(0.25f, 3, 2.5f);
const NmVec3f weights(1, 1.25f, 0.5f);

int voxelAt(long x, long y, long z) {
  return static_cast<int>((x * 131 + y * 337 + z * 71) % 1000);
}

/// All squared distances and shares are exact here in single precision too.
double distance(long x, long y, long z) {
  const double index[3] = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
  double q = 0;
  for (int i = 0; i < 3; ++i) {
    const double d = index[i] * spacing[i] + box.min(i) - center[i];
    q += weights[i] * d * d;
  }
  return q;
}

int masked(double q, int voxel, double fill, double inner, double outer, double rounding) {
  double value = voxel;
  if (q < inner * inner) {
    value = fill + rounding;
  } else if (q < outer * outer) {
    const double t = (q - inner * inner) / (outer * outer - inner * inner);
    value = (1 - t) * fill + t * voxel + rounding;
  }
  return static_cast<int>(std::clamp(value, 0.0, 65535.0));
}

TEST(ApplyMasking, FadesAnImageToPhysicalZero) {
  struct Case {
    NmVec2f rescale;
    double fill;
    float inner, outer;
  };
  for (const Case& c : {Case{{0.5f, -20}, 40, 3, 5},
                        {{0, -30.25f}, 30.25, 3, 5},
                        {{1, 50}, -50, 3, 5},
                        {{-1, 70000}, 70000, 0, 4},
                        {{1, -7.5f}, 7.5, -5, 3},
                        {{1, -7.75f}, 7.75, 0, 99}})
    for (const bool isRounded : {true, false}) {
      if (c.outer > 9 && isRounded)
        continue;  // shares are not exact; only its reach is of interest
      const ShortVolume image(dims, voxelAt);
      image.volume->setBoundingBox(box);
      EXPECT_TRUE(isRounded
                      ? elastic.applyMasking(image.volume, c.rescale, center, weights, c.inner,
                                             c.outer, static_cast<Elastic::MaskingTarget>(7))
                      : elastic._applyMasking(image.volume, static_cast<unsigned short*>(nullptr),
                                              false, static_cast<float>(c.fill), center, weights,
                                              c.inner, c.outer));
      std::size_t i = 0;
      for (long z = 0; z < dims.z; ++z)
        for (long y = 0; y < dims.y; ++y)
          for (long x = 0; x < dims.x; ++x)
            EXPECT_NEAR(image.voxels[i++],
                        masked(distance(x, y, z), voxelAt(x, y, z), c.fill, c.inner, c.outer,
                               isRounded ? 0.5 : 0.0),
                        c.outer > 9 ? 1 : 0)
                << c.fill << ' ' << x << y << z;
    }
}

TEST(ApplyMasking, ClearsOrMarksLabelsInsideTheInnerRadius) {
  for (const int target : {-1, 0, 1}) {
    std::vector<unsigned char> labels(504, 3);
    const NmHandle<VlMemoryData> volume =
        wrapVolume(dims, NmPrimType::UnsignedChar, 1, labels.data());
    volume->setBoundingBox(box);
    EXPECT_TRUE(elastic.applyMasking(volume, {1, 0}, center, weights, 3, 3,
                                     static_cast<Elastic::MaskingTarget>(target)));
    for (long i = 0; i < 504; ++i) {
      const bool isInside = distance(i % 9, i / 9 % 8, i / 72) < 9;
      EXPECT_EQ(labels[static_cast<std::size_t>(i)], !isInside ? 3 : target == 1 ? 131 : 0) << i;
    }
  }
}

TEST(ApplyMasking, RefusesByTypeThenLockThenRadii) {
  LogCapture log;
  const auto fails = [&](VlData* volume, Elastic::MaskingTarget target, float outer) {
    EXPECT_FALSE(elastic.applyMasking(volume, {1, 0}, {}, weights, 3, outer, target));
    return log.error();
  };
  const ShortVolume image(dims, voxelAt);
  const NmHandle<VlMemoryData> bytes = makeVolume(dims, NmPrimType::UnsignedChar);
  const char* const badType = "applyMasking: primType not yet implemented.";
  const char* const noAccess =
      "applyMasking: Failed getting data access or data are not contiguous.";
  EXPECT_EQ(fails(nullptr, Elastic::Image, 5), "applyMasking: Volume to be masked is undefined.");
  EXPECT_EQ(fails(image.volume, Elastic::Image, -3),
            "applyMasking: Inconsistent parameters. radius1, radius2 must be different.");
  {
    const NmHandle<VlDataAccess> reader = image.volume->lock(false);
    const NmHandle<VlDataAccess> other = bytes->lock(false);
    EXPECT_EQ(fails(image.volume, Elastic::Image, -3), noAccess);
    EXPECT_EQ(fails(bytes, Elastic::LabelsMark, 5), noAccess);
    EXPECT_EQ(fails(bytes, Elastic::Image, 5), badType);
    EXPECT_EQ(fails(image.volume, Elastic::LabelsClear, 5), badType);
  }
  const NmHandle<VlData> rows = new RowVolume(image.volume);
  EXPECT_EQ(fails(rows, Elastic::Image, 5), noAccess);
  EXPECT_EQ(fails(makeVolume(dims, NmPrimType::UnsignedShort, 2), Elastic::Image, 5), noAccess);
  EXPECT_EQ(fails(makeVolume(dims, NmPrimType::UnsignedChar, 2), Elastic::LabelsClear, 5),
            noAccess);
  unsigned char* const tag = nullptr;
  EXPECT_FALSE(elastic._applyMaskingLabels(nullptr, tag, {}, weights, 3, true));
  EXPECT_EQ(log.error(), "applyMasking: Volume is undefined.");
  EXPECT_FALSE(elastic._applyMaskingLabels(image.volume, tag, {}, weights, 3, true));
  EXPECT_EQ(log.error(), badType);
  EXPECT_EQ(image.voxels[1], 131);
}

}  // namespace
