#include "tests/support/voxelTypes.h"

#include <set>

#include "files/niftiVolume.h"
#include "foundation/sampling/lanczosSums.h"
#include "foundation/voxels/voxelTypes.h"
#include "functional/RegFunctional.h"
#include "functional/kernels/kernelChoice.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegMutualInformation.h"
#include "saved.h"
#include "testFiles.h"
#include "tests/support/volumeValues.h"
#include "transforms/RegAffineTransform.h"

namespace {

const NmVec3l dims(6, 5, 4);
const std::vector<float> values = generate(120, [](long i) { return 1 + i; });

void expectSampled(VlMemoryData& volume) {
  const float x = 1, y = 2, z = 3, expected = values[1 + 6 * (2 + 5 * 3)];
  for (const NmHandle<VlEvaluator>& evaluator :
       {volume.createEvaluator(VlData::NearestNeighbour), volume.createEvaluator(VlData::Trilinear),
        volume.createEvaluatorLanczos()}) {
    float single = 0, among = 0;
    ASSERT_TRUE(evaluator && evaluator->setLocation({x, y, z}));
    evaluator->value(&single);
    evaluator->sample(&x, &y, &z, 1, 0, &among);
    EXPECT_EQ(single, expected);
    EXPECT_EQ(among, expected);
  }
}

void expectZoomed(VlMemoryData& volume) {
  for (const auto filter : {RegResampler::Box, RegResampler::Minimum, RegResampler::Lanczos3}) {
    NmHandle<VlData> result;
    ASSERT_TRUE(
        RegResampler().doResample(&volume, result, {3, 5, 4}, nullptr, {}, filter, 0.0f, 1));
    EXPECT_EQ(result->primType(), volume.primType());
    EXPECT_NEAR(valuesOf(*result)[1], 3.5, 0.6) << filter;  // of 3 and 4
  }
}

template <class T>
void expectKernels() {
  constexpr int row = voxreg::detail::voxelTypeIndex<T>;
  ASSERT_TRUE(row >= 0 && row < voxreg::detail::numVoxelTypes);
  for (const auto set : voxreg::detail::instructionSets) {
    const auto* const table = voxreg::detail::kernelsFor(set);
    if (table == nullptr) continue;
    EXPECT_NE(voxreg::detail::lanczosSum({{6, 5, 4}, 1, voxelTypeNumber<T>}, set), nullptr);
    EXPECT_TRUE(table->difference.affine[row] && table->difference.bricks[row]);
    EXPECT_TRUE(table->correlation.affine[row] && table->correlation.bricks[row]);
    EXPECT_TRUE(table->histogram.affine[row] && table->histogram.bricks[row]);
  }
}

/// Integers get whole grey values per bin.
template <class T>
void expectBinned() {
  int bins = 300;
  double min = 0.0, scale = 0.0;
  RegMutualInformation::init1D(voxelTypeNumber<T>, bins, min, scale, 255.0);
  EXPECT_EQ(bins, std::is_integral_v<T> ? 256 : 300);
}

void expectCompared(const NmHandle<VlData>& volume) {
  Volumes volumes = listOf({volume});
  RegAffineTransform identity(volumes, volume, NmMat4f(), 12);
  RegFunctional functional(volumes, volumes, -1, true, &identity,
                           new RegMeanSquaredDifference(0.0, false), nullptr, 3, 1);
  EXPECT_EQ(functional.evaluate(), 0.0);
  EXPECT_EQ(functional.metric->numSamples, 120);
}

void expectFiled(const NmHandle<VlData>& volume) {
  const TestFolder folder;
  const host::NiftiVolume made =
      host::newVolume(dims, NmBox3f(0, 5, 0, 4, 0, 3), volume->primType());
  std::memcpy(
      made.image.volume()->lock(true)->dataPtr(0), volume->lock(false)->dataPtr(0),
      values.size() * static_cast<std::size_t>(NmPrimType::primTypeSize[volume->primType()]));
  saved(host::writeNifti, folder.file("v.nii"), made);
  const host::NiftiVolume read = host::readNifti(folder.file("v.nii"));
  EXPECT_EQ(read.image.type(), volume->primType());
  EXPECT_EQ(valuesOf(*read.image.volume()), values);
}

TEST(VoxelTypes, AreKnownWhereverTheyMustBe) {
  std::set<int> numbers;
  forEachVoxelType([&]<class T>() {
    constexpr int number = voxelTypeNumber<T>;
    SCOPED_TRACE(number);
    EXPECT_TRUE(numbers.insert(number).second);
    EXPECT_EQ(NmPrimType::primTypeSize[number], static_cast<int>(sizeof(T)));
    EXPECT_EQ(static_cast<int>(voxreg::voxelTypeOf<T>()), number);
    EXPECT_TRUE(voxreg::detail::withVoxelType(
        number, []<class U>() { EXPECT_TRUE((std::is_same_v<T, U>)); }));
    const NmHandle<VlMemoryData> volume = volumeOf(dims, number, 1, values);
    EXPECT_EQ(valuesOf(*volume), values);
    expectSampled(*volume);
    expectZoomed(*volume);
    expectKernels<T>();
    expectBinned<T>();
    expectCompared(NmHandle<VlData>(volume));
    expectFiled(NmHandle<VlData>(volume));
  });
  EXPECT_EQ(numbers.size(), static_cast<std::size_t>(voxreg::detail::numVoxelTypes));
  for (int number = -1; number < 100; ++number)
    EXPECT_EQ(voxreg::detail::isServedVoxelType(number), numbers.count(number) == 1) << number;
}

}  // namespace
