#include <gtest/gtest.h>

#include "tests/support/LogCapture.h"
#include "tests/workflow/smoothScene.h"

namespace {

using voxreg::AffineOptions;
using voxreg::Image;
using voxreg::Search;
using enum voxreg::Metric;

/// Reference to model: scales along the axes, then a turn by about 9 degrees, then a shift.
NmMat4d matrixOf(int degreesOfFreedom) {
  const int n = degreesOfFreedom;
  NmMat4d matrix;
  if (n > 6) matrix.setScale(n == 7 ? NmVec3d(1.1, 1.1, 1.1) : NmVec3d(1.1, 0.92, 1.05));
  if (n == 12) matrix.multRight(NmMat4d(1, 0.1, 0, 0, 0, 1, 0, 0, -0.08, 0, 1, 0, 0, 0, 0, 1));
  if (n > 3) {
    const double c = std::cos(0.15), s = std::sin(0.15);
    matrix.multRight(NmMat4d(c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
    matrix.multRight(NmMat4d(1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1));
  }
  for (int c = 0; c < 3; ++c) matrix.m[3][c] = (NmVec3d(3, -4, 2)[c]);
  return matrix;
}

/// The blobs at rest are the model; the reference shows what a matrix takes to them.
Image referenceFor(const NmMat4d& matrix) {
  return sampled([&](NmVec3d p) {
    matrix.multVecMatrix(p, p);
    return blobsAt(p);
  });
}

TEST(ExactDerivatives, findTheMatrixOfEachKind) {
  const LogCapture log;
  const Image model = sampled([](const NmVec3d& p) { return 250.0 - 0.8 * blobsAt(p); });
  const voxreg::Metric metrics[] = {normalizedMutualInformation, mutualInformation,
                                    correlationRatio};
  int turn = 0;
  for (const int n : {3, 6, 7, 9, 12}) {
    SCOPED_TRACE(n);
    const NmMat4d truth = matrixOf(n);
    AffineOptions options;
    options.degreesOfFreedom = n;
    options.startRule = voxreg::StartRule::boxes;
    options.metric.metric = metrics[turn++ % 3];
    const auto found = voxreg::registerAffine(referenceFor(truth), model, options);
    ASSERT_TRUE(found) << found.reason.message;
    EXPECT_LT(meanDistance(found.transform, voxreg::Transform::fromReferenceToModel(truth)), 0.1);
    EXPECT_EQ(found.evaluations, found.gradients);
    EXPECT_NEAR(found.smallestJacobian, std::min(truth.det3(), 1.0 / truth.det3()), 0.01);

    options.metric.metric = meanSquaredDifference;
    const auto same = voxreg::registerAffine(referenceFor(truth), sampled(blobsAt), options);
    EXPECT_LT(meanDistance(same.transform, voxreg::Transform::fromReferenceToModel(truth)), 0.1);
  }
}

TEST(ExactDerivatives, compareWhatTheMasksLeave) {
  const LogCapture log;
  const NmMat4d truth = matrixOf(3);
  // What lies at x > 8 in the reference is shown 6 mm off.
  const auto isFalse = [](const NmVec3d& p) { return p.x > 8.0; };
  const Image model = sampled(blobsAt), reference = sampled([&](NmVec3d p) {
                                          if (isFalse(p)) p.y += 6.0;
                                          truth.multVecMatrix(p, p);
                                          return blobsAt(p);
                                        });
  const auto error = [&](const voxreg::Masks& masks) {
    AffineOptions options;
    options.degreesOfFreedom = 3;
    options.startRule = voxreg::StartRule::boxes;
    options.masks = masks;
    options.metric.metric = correlationRatio;
    const auto found = voxreg::registerAffine(reference, model, options);
    EXPECT_TRUE(found) << found.reason.message;
    return meanDistance(found.transform, voxreg::Transform::fromReferenceToModel(truth));
  };
  const auto mask = [&](const NmVec3d& shift) {
    return sampled([&](const NmVec3d& p) {
      return isFalse({p.x - shift.x, p.y - shift.y, p.z - shift.z}) ? 0.0 : 1.0;
    });
  };
  EXPECT_GT(error({}), 1.0);
  EXPECT_LT(error({.reference = mask({})}), 0.1);
  EXPECT_LT(error({.model = mask({3, -4, 2})}), 0.1);
}

TEST(ExactDerivatives, giveWayToASearchWithOptionsOfItsOwn) {
  const LogCapture log;
  const Image reference = referenceFor(matrixOf(3)), model = sampled(blobsAt);
  const auto counted = [&](const voxreg::SearchOptions& search) {
    AffineOptions options;
    options.degreesOfFreedom = 3;
    options.startRule = voxreg::StartRule::boxes;
    options.search = search;
    const auto found = voxreg::registerAffine(reference, model, options);
    EXPECT_TRUE(found) << found.reason.message;
    return std::pair(found.evaluations, found.gradients);
  };
  const voxreg::StepRange steps = {8.0f, 1.0f};
  EXPECT_EQ(counted({}), counted({.search = Search::exactDerivatives}));
  EXPECT_EQ(counted({.steps = steps}), counted({.search = Search::quasiNewton, .steps = steps}));
  EXPECT_NE(counted({.steps = steps}), counted({}));
}

TEST(ExactDerivatives, areRefusedWithWhatTheyDoNotKnow) {
  const Image image = sampled(blobsAt, {{12, 12, 12}});
  AffineOptions affine[5];
  for (int i = 0; i < 4; ++i) affine[i].search.search = Search::exactDerivatives;
  affine[0].search.steps = {8.0f, 1.0f};
  affine[1].search.gradientLevels = 1;
  affine[2].search.fitSteps = true;
  affine[3].search.restrictedMotion = true;
  affine[4].search.search = Search::quasiNewton;
  affine[4].masks.model = image;
  for (const AffineOptions& options : affine)
    EXPECT_EQ(voxreg::registerAffine(image, image, options).reason.kind,
              voxreg::Reason::Kind::badOptions);
  voxreg::NonAffineOptions bricks;
  bricks.search.search = Search::exactDerivatives;
  EXPECT_EQ(voxreg::registerNonAffine(image, image, bricks).reason.kind,
            voxreg::Reason::Kind::badOptions);
}

}  // namespace
