#include <cmath>
#include <limits>

#include "tests/workflow/rows.h"
#include "workflow/search/information.h"

namespace {

using voxreg::Image;
using voxreg::Metric;

constexpr float infinity = std::numeric_limits<float>::infinity();

TEST(MissingVoxels, countAsTheSmallestOfTheOthers) {
  const Image volume = rowOf<float>({3, infinity, -2, NAN, 8, -infinity});
  EXPECT_EQ(voxreg::countMissing(volume), 3);
  const auto range = voxreg::finiteRange(volume);
  ASSERT_TRUE(range);
  EXPECT_EQ(range->smallest, -2.0);
  EXPECT_EQ(range->largest, 8.0);
  EXPECT_EQ(voxelsIn<float>(voxreg::withMissingFilled(volume)),
            (std::vector<float>{3, -2, -2, -2, 8, -2}));
}

TEST(MissingVoxels, leaveAVolumeAloneThatHasNoneOrNothingElse) {
  for (const Image& volume : {rowOf<float>({1, 2, 3}), rowOf<float>({NAN, NAN, infinity})})
    EXPECT_EQ(voxreg::withMissingFilled(volume).voxels(), volume.voxels());
}

TEST(LackOfInformation, tellsWhichVolumeShowsNothing) {
  const Image good = rowOf<float>({0, 1, 2, 3, 4, 5});
  struct Case {
    std::vector<float> reference;
    Metric metric;
    bool isLimited;  // to 50 to 100
    std::string expected;
  };
  constexpr auto nmi = Metric::normalizedMutualInformation, mi = Metric::mutualInformation,
                 msd = Metric::meanSquaredDifference, cr = Metric::correlationRatio;
  const std::string uniform = "all voxels of the reference are 5",
                    empty = "the reference has no finite voxel",
                    outside = "no voxels of the reference differ between 50 and 100";
  const Case cases[] = {{{0, 1, 2, 3}, nmi, false, ""},
                        {{5, 5, 5, 5}, nmi, false, uniform},
                        {{NAN, 5, infinity, 5}, msd, false, uniform},
                        {{NAN, infinity}, cr, false, empty},
                        {{0, 0, 200, 200}, nmi, true, ""},  // it tells the two apart
                        {{0, 0, 200, 200}, cr, true, outside},
                        {{0, 70, 200, 70}, cr, true, outside},
                        {{0, 70, 80, 200}, cr, true, ""},
                        {{0, 1, 2, 3}, mi, true, outside},
                        {{0, 1, 2, 3}, msd, true, ""}};
  for (const Case& tried : cases) {
    voxreg::MetricOptions metric;
    metric.metric = tried.metric;
    if (tried.isLimited) metric.referenceRange = {{50, 100}};
    EXPECT_EQ(voxreg::detail::lackOfInformation(rowOf(tried.reference), good, metric),
              tried.expected);
    metric.modelRange.swap(metric.referenceRange);
    const std::string lack =
        voxreg::detail::lackOfInformation(good, rowOf(tried.reference), metric);
    EXPECT_EQ(lack.empty(), tried.expected.empty());
    EXPECT_EQ(lack.find("reference"), std::string::npos);
  }
}

}  // namespace
