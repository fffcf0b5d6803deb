#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/volumeValues.h"
#include "tests/workflow/smoothScene.h"

namespace {

using voxreg::Image;

enum class Operation { affine, deformable, detail, elastic };

class Exhaustion : public testing::TestWithParam<Operation> {};

TEST_P(Exhaustion, ofMemoryIsAnExceptionThatLeavesNothingBehind) {
  // Turned and with a missing voxel, so that there are copies, too; a log would keep its lines.
  const bool isDetailed = GetParam() == Operation::detail;
  const long n = isDetailed ? 16 : 9;
  const double size = 80.0 / static_cast<double>(n);
  const SceneGrid turned = {{n, n, n}, {0, size, 0, 0, -size, 0, 0, 0, 0, 0, size, 0, 0, 0, 0, 1}};
  const auto bent = [](const NmVec3d& p) {
    return blobsAt(warped({p.x + 5.0 * std::sin(p.y / 6.0), p.y + 5.0 * std::sin(p.z / 6.0), p.z}));
  };
  const Image reference = sampled(bent, turned);
  const Image model =
      sampled([](const NmVec3d& p) { return p.x < -35 ? NAN : blobsAt(p); }, turned);
  // A volume keeps the room in which it notes its readers from its first reader on.
  for (const Image& image : {reference, model}) (void)image.volume()->lock(false);
  bool hasField = false;
  const auto attempt = [&] {
    if (GetParam() == Operation::elastic) {
      voxreg::ElasticOptions options;
      options.engine = voxreg::ElasticEngine::variational;
      options.masking = voxreg::Masking::none;
      (void)voxreg::registerElastic(reference, model, options);
    } else if (GetParam() == Operation::affine) {
      voxreg::AffineOptions options;
      options.startRule = voxreg::StartRule::boxes;
      options.metric.bins = 8;
      options.search.gradientTolerance = 1e-2f;
      (void)voxreg::registerAffine(reference, model, options);
    } else {
      voxreg::DeformableOptions options;
      options.startRule = voxreg::StartRule::boxes;
      options.metric.bins = 8;
      options.spacing = 40.0;
      options.tolerance = 1e-2f;
      if (isDetailed) options.detail = voxreg::Detail::fast;
      if (isDetailed) options.stiffness = 1e3;  // leaves detail to be found
      const voxreg::Registration found = voxreg::registerDeformable(reference, model, options);
      hasField = found.transform.field() != nullptr;
    }
  };
  int unnoticed = 0;
  const auto sink = getTheLogInstance().setSink([](bool, const std::string&) {});
  (void)failEachAllocation(
      attempt,
      [&](bool hasFailed, bool threw) {
        EXPECT_TRUE(hasFailed || !threw);
        EXPECT_TRUE(hasFailed || hasField == isDetailed);
        unnoticed += hasFailed && !threw ? 1 : 0;
        EXPECT_TRUE(isUnlocked(reference.volume()) && isUnlocked(model.volume()));
      },
      17);
  (void)getTheLogInstance().setSink(sink);
  EXPECT_LE(unnoticed, 3) << "only the line that the log has for each level may find another way";
}

INSTANTIATE_TEST_SUITE_P(Of, Exhaustion,
                         testing::Values(Operation::affine, Operation::deformable,
                                         Operation::detail, Operation::elastic));

}  // namespace
