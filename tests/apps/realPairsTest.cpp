#include <string>
#include <tuple>

#include "commands/displacementError.h"
#include "commands/optionNames.h"
#include "commands/targetError.h"
#include "files/matrixFile.h"
#include "tests/apps/sharedData.h"

namespace {

/// Pair, metric, search, and the mean error in millimetres that the result must stay below.
using Case = std::tuple<std::string, std::string, std::string, double>;

class RealPair : public testing::TestWithParam<Case> {};

TEST_P(RealPair, comesIntoLine) {
  VOXREG_SKIP_WITHOUT_SHARED_DATA();
#ifndef VOXREG_RELEASE_BUILD
  GTEST_SKIP() << "takes minutes under sanitizers or without optimisation";
#endif
  const auto& [pair, metric, search, limit] = GetParam();
  const std::string folder = "pairs/" + pair;
  const host::NiftiVolume reference = host::readNifti(sharedData("pairs/reference.nii.gz"));
  const host::NiftiVolume model = host::readNifti(sharedData(folder + "_model.nii.gz"));
  voxreg::AffineOptions options;
  options.metric.metric = host::metricOf(metric);
  options.search.search = host::searchOf(search);
  options.degreesOfFreedom = pair == "rigid" ? 6 : 12;
  options.startRule = voxreg::StartRule::header;
  const auto found = voxreg::registerAffine(reference.image, model.image, options);
  const NmMat4d truth = host::readMatrix(sharedData(folder + "_truth.txt"));
  EXPECT_LT(host::targetError(reference, found.transform.modelToReference().value(), truth).mean,
            limit);
}

INSTANTIATE_TEST_SUITE_P(
    MetricsAndSearches, RealPair,
    testing::Values(Case("rigid", "msd", "gradient", 0.5), Case("rigid", "cr", "aggressive", 0.2),
                    Case("rigid", "mi", "best-direction", 0.2), Case("rigid", "nmi", "exact", 0.1),
                    Case("affine", "mi", "exact", 0.1), Case("affine", "nmi", "gradient", 0.5),
                    Case("affine", "cr", "conjugate", 0.5)));

TEST(RealPair, isDeformedToATenthOfAVoxel) {
  VOXREG_SKIP_WITHOUT_SHARED_DATA();
#ifndef VOXREG_RELEASE_BUILD
  GTEST_SKIP() << "takes minutes under sanitizers or without optimisation";
#endif
  const auto found =
      voxreg::registerDeformable(host::readNifti(sharedData("pairs/reference.nii.gz")).image,
                                 host::readNifti(sharedData("pairs/warped_model.nii.gz")).image);
  const auto truth = host::readPointPairs(sharedData("pairs/warped_truth.txt"));
  EXPECT_LT(host::displacementError(found.transform, truth).mean, 0.2);
  EXPECT_GT(found.smallestJacobian, 0.5);
}

}  // namespace
