#include <gtest/gtest.h>

#include <limits>

#include "tests/variational/naiveField.h"
#include "variational/fields/fieldDeterminants.h"
#include "variational/fields/fieldInverse.h"
#include "variational/fields/fieldRepair.h"
#include "variational/fields/fieldSmoothing.h"

namespace {

using namespace voxreg::detail;
using naiveField::forEachVoxel;
using naiveField::indexOf;
using naiveField::randomField;

/// Smooth noise with determinants of at least 0.03.
VoxelField smoothField(const NmVec3i& dims, float amount, double sigma, unsigned seed) {
  VoxelField field = randomField(dims, amount, seed);
  smooth(field, sigma);
  EXPECT_TRUE(repair(field, 0.03, 300).suffices);
  return field;
}

TEST(FieldRepair, removesFoldsAndTouchesOnlyWhatIsNear) {
  VoxelField field = randomField({30, 20, 16}, 0.1f, 1);
  field.along[0][indexOf(field.dims, 8, 9, 8)] = 1.5f;
  field.along[2][indexOf(field.dims, 0, 19, 15)] = -1.5f;
  const VoxelField before = field;
  ASSERT_LT(smallestDeterminant(field), 0.0);
  const RepairSummary summary = repair(field, 0.1, 50);
  EXPECT_TRUE(summary.suffices);
  EXPECT_GT(summary.rounds, 0);
  EXPECT_NEAR(summary.smallestDeterminant, naiveField::smallestDeterminant(field), 1e-5);
  EXPECT_GE(summary.smallestDeterminant, 0.1);
  forEachVoxel(field.dims, [&](int x, int y, int z, std::size_t i) {
    const bool isFar = x > 8 + 8 && y < 19 - 6;
    if (!isFar) return;
    EXPECT_EQ(field.along[0][i], before.along[0][i]) << x << " " << y << " " << z;
  });
}

TEST(FieldRepair, smoothsByBinomialWeights) {
  VoxelField field = randomField({9, 7, 1}, 0.0f, 1);
  field.along[0][indexOf(field.dims, 0, 3, 0)] = 1.6f;
  const RepairSummary summary = repair(field, 0.0, 1);
  EXPECT_EQ(summary.rounds, 1);
  // By 1.6 * 3/4 along x, at the border, and 1/2 along y.
  EXPECT_FLOAT_EQ(field.along[0][indexOf(field.dims, 0, 3, 0)], 0.6f);
  EXPECT_FLOAT_EQ(field.along[0][indexOf(field.dims, 1, 2, 0)], 0.1f);
  EXPECT_TRUE(summary.suffices);
}

TEST(FieldRepair, endsWhereItCannotSuffice) {
  VoxelField folded = randomField({12, 9, 8}, 4.0f, 2);
  const RepairSummary few = repair(folded, 0.03, 1);
  EXPECT_EQ(few.rounds, 1);
  EXPECT_FALSE(few.suffices);
  EXPECT_NEAR(few.smallestDeterminant, naiveField::smallestDeterminant(folded), 1e-4);
  EXPECT_EQ(repair(folded, 2.0, 20).rounds, 20) << "more than the identity has";

  VoxelField field = randomField({12, 9, 8}, 0.0f, 2);
  field.along[1][indexOf(field.dims, 5, 4, 4)] = std::numeric_limits<float>::quiet_NaN();
  field.along[0][indexOf(field.dims, 6, 4, 4)] = 2.0f;
  const RepairSummary broken = repair(field, 0.03, 5);
  EXPECT_FALSE(broken.suffices);
  EXPECT_EQ(std::count_if(field.along[1].begin(), field.along[1].end(),
                          [](float v) { return !(v == v); }),
            1);
}

/// |v(y) + u(y + v(y))|
double naiveError(const VoxelField& field, const VoxelField& inverted, int x, int y, int z) {
  const NmVec3d v = naiveField::displacementOf(inverted, indexOf(field.dims, x, y, z));
  const NmVec3d u = naiveField::displacementAt(field, {x + v.x, y + v.y, z + v.z});
  return std::hypot(v.x + u.x, v.y + u.y, v.z + u.z);
}

TEST(FieldInverse, undoesAFieldWithoutFolds) {
  for (const NmVec3i& dims : {NmVec3i(40, 36, 30), NmVec3i(50, 40, 1), NmVec3i(1, 1, 30)}) {
    const VoxelField field = smoothField(dims, dims.z > 1 ? 60.0f : 25.0f, 2.5, 3);
    const FieldInverse result = inverse(field);
    double sum = 0.0;
    double largest = 0.0;
    forEachVoxel(dims, [&](int x, int y, int z, std::size_t i) {
      const double error = naiveError(field, result.field, x, y, z);
      EXPECT_NEAR(static_cast<double>(result.error[i]), error, 1e-4);
      EXPECT_LT(error, 1e-3) << x << " " << y << " " << z;
      sum += error;
      largest = std::max(largest, error);
    });
    EXPECT_NEAR(result.meanError, sum / static_cast<double>(result.error.size()), 1e-5);
    EXPECT_NEAR(result.largestError, largest, 1e-4);
  }
}

TEST(FieldInverse, tellsItsErrorAmongFoldsAndNumbersThatAreNone) {
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  VoxelField field = randomField({20, 10, 8}, 3.0f, 1);
  for (std::size_t i = 1400; i < 1600; ++i) field.along[i % 3][i] = nan;
  const FieldInverse result = inverse(field);
  std::int64_t found = 0;
  forEachVoxel(field.dims, [&](int x, int y, int z, std::size_t i) {
    const auto error = static_cast<double>(result.error[i]);
    EXPECT_NEAR(error, naiveError(field, result.field, x, y, z), 1e-4) << i;
    if (error < 1e-3) ++found;
  });
  EXPECT_GT(found, 1000);

  const std::vector<float> nothing(24, nan);
  const FieldInverse none = inverse({{4, 3, 2}, {nothing, nothing, nothing}});
  EXPECT_EQ(none.error, std::vector<float>(24, std::numeric_limits<float>::infinity()));
  for (const auto& values : none.field.along) EXPECT_EQ(values, std::vector<float>(24, 0.0f));
}

}  // namespace
