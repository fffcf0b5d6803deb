#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumeValues.h"
#include "tests/workflow/smoothScene.h"

namespace {

using voxreg::Image;

enum class Operation { affine, deformable, elastic };

class Exhaustion : public testing::TestWithParam<Operation> {};

TEST_P(Exhaustion, ofMemoryIsAnExceptionThatLeavesNothingBehind) {
  // Turned and with a missing voxel, so that there are copies, too; a log would keep its lines.
  const SceneGrid turned = {{9, 9, 9}, {0, 9, 0, 0, -9, 0, 0, 0, 0, 0, 9, 0, 0, 0, 0, 1}};
  const Image reference = sampled([](const NmVec3d& p) { return blobsAt(warped(p)); }, turned);
  const Image model =
      sampled([](const NmVec3d& p) { return p.x < -35 ? NAN : blobsAt(p); }, turned);
  // A volume keeps the room in which it notes its readers from its first reader on.
  for (const Image& image : {reference, model}) (void)image.volume()->lock(false);
  const auto attempt = [&] {
    if (GetParam() == Operation::elastic) {
      voxreg::ElasticOptions options;
      options.engine = voxreg::ElasticEngine::variational;
      options.masking = voxreg::Masking::none;
      (void)voxreg::registerElastic(reference, model, options);
    } else if (GetParam() == Operation::deformable) {
      voxreg::DeformableOptions options;
      options.startRule = voxreg::StartRule::boxes;
      options.metric.bins = 8;
      options.spacing = 40.0;
      options.tolerance = 1e-2f;
      (void)voxreg::registerDeformable(reference, model, options);
    } else {
      voxreg::AffineOptions options;
      options.startRule = voxreg::StartRule::boxes;
      options.metric.bins = 8;
      options.search.gradientTolerance = 1e-2f;
      (void)voxreg::registerAffine(reference, model, options);
    }
  };
  int unnoticed = 0;
  const auto sink = getTheLogInstance().setSink([](bool, const std::string&) {});
  (void)failEachAllocation(
      attempt,
      [&](bool hasFailed, bool threw) {
        EXPECT_TRUE(hasFailed || !threw);
        unnoticed += hasFailed && !threw ? 1 : 0;
        EXPECT_TRUE(isUnlocked(reference.volume()) && isUnlocked(model.volume()));
      },
      17);
  (void)getTheLogInstance().setSink(sink);
  EXPECT_LE(unnoticed, 3) << "only the line that the log has for each level may find another way";
}

INSTANTIATE_TEST_SUITE_P(Of, Exhaustion,
                         testing::Values(Operation::affine, Operation::deformable,
                                         Operation::elastic));

}  // namespace
