#include <gtest/gtest.h>

#include <algorithm>

#include "elastic/RegElasticRegistration.h"
#include "tests/elastic/shortVolume.h"
#include "tests/support/LogCapture.h"

namespace {

using Elastic = RegElasticRegistration;

const Elastic elastic;
const NmVec3l dims(9, 8, 7);
const NmBox3f box(-2, 2, 1, 8, -3, 9);
const NmVec3f spacing(0.5f, 1, 2);
const NmVec3f center(0.25f, 3, 2.5f);
const NmVec3f weights(1, 1.25f, 0.5f);
unsigned short* const noTag = nullptr;

int voxelAt(long x, long y, long z) {
  return static_cast<int>((x * 131 + y * 337 + z * 71) % 1000);
}

/// Of the i-th voxel. All squared distances and shares are exact in single precision too.
double distance(long i) {
  const long index[3] = {i % 9, i / 9 % 8, i / 72};
  double q = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const double d =
        static_cast<double>(index[axis]) * spacing[axis] + box.min(axis) - center[axis];
    q += weights[axis] * d * d;
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
                        {{1, -7.5f}, 7.5, -5, 3}})
    for (const bool isRounded : {true, false}) {
      const ShortVolume image(dims, voxelAt);
      image.volume->setBoundingBox(box);
      EXPECT_TRUE(isRounded ? elastic.applyMasking(image.volume, c.rescale, center, weights,
                                                   c.inner, c.outer, Elastic::MaskingTarget(7))
                            : elastic._applyMasking(image.volume, noTag, false,
                                                    static_cast<float>(c.fill), center, weights,
                                                    c.inner, c.outer));
      for (long i = 0; i < 504; ++i)
        EXPECT_EQ(image.voxels[static_cast<std::size_t>(i)],
                  masked(distance(i), voxelAt(i % 9, i / 9 % 8, i / 72), c.fill, c.inner, c.outer,
                         isRounded ? 0.5 : 0.0))
            << c.fill << ' ' << i;
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
      const bool isInside = distance(i) < 9;
      EXPECT_EQ(labels[static_cast<std::size_t>(i)], !isInside ? 3 : target == 1 ? 131 : 0) << i;
    }
  }
}

TEST(ApplyMasking, RefusesByTypeThenLockThenRadii) {
  LogCapture log;
  const ShortVolume image(dims, voxelAt);
  const auto fails = [&](Elastic::MaskingTarget target) {
    EXPECT_FALSE(elastic.applyMasking(image.volume, {1, 0}, {}, weights, 3, -3, target));
    return log.error();
  };
  EXPECT_EQ(fails(Elastic::Image),
            "applyMasking: Inconsistent parameters. radius1, radius2 must be different.");
  const NmHandle<VlDataAccess> reader = image.volume->lock(false);
  EXPECT_EQ(fails(Elastic::Image),
            "applyMasking: Failed getting data access or data are not contiguous.");
  EXPECT_EQ(fails(Elastic::LabelsMark), "applyMasking: primType not yet implemented.");
  EXPECT_FALSE(elastic._applyMasking(nullptr, noTag, true, 0, {}, {}, 3, 5));
  EXPECT_EQ(log.error(), "applyMasking: Volume is undefined.");
}

}  // namespace
