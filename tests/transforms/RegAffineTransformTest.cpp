#include "transforms/RegAffineTransform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/VlMemoryData.h"

namespace {

constexpr double pi = 3.141592653589793;

void expectNear(const NmMat4d& a, const NmMat4d& b, double tolerance) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(a.m[i][j], b.m[i][j], tolerance) << i << ", " << j;
}

NmHandle<VlMemoryData> volumeIn(const NmBox3f& box) {
  NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  EXPECT_TRUE(volume->setBoundingBox(box).isOk());
  return volume;
}

class RegAffineTransformTest : public testing::Test {
 protected:
  RegAffineTransformTest() {
    references.resize(1);
    references[0] = volumeIn(NmBox3f(10, 30, 20, 50, -5, 5));
    for (int j = 0; j < 3; ++j) start.m[3][j] = static_cast<float>(4 - j);
    start.m[0][0] = 1.25f;
    start.m[0][1] = 0.25f;
    start.m[1][0] = -0.5f;
    start.m[2][1] = 0.125f;
  }

  /// A point through `transform`, world to world.
  static NmVec3d mapped(const RegAffineTransform& transform, const NmVec3d& point) {
    NmVec3d image;
    transform.absoluteMatrix.multVecMatrix(point, image);
    return image;
  }

  NmHandle<VlMemoryData> model = volumeIn(NmBox3f(-4, 4, 1, 7, 2, 12));
  NmDArray<NmHandle<VlData>> references;
  NmMat4f start;
};

TEST_F(RegAffineTransformTest, IdentityBetweenEqualOriginsHasItsCenterInTheModel) {
  references[0] = volumeIn(NmBox3f(-4, 40, 1, 70, 2, 120));
  RegAffineTransform t(references, model, NmMat4f(), 12);
  ASSERT_EQ(t.params.size, 15);
  const double expected[15] = {0, 0, 0, 0, 0, 0, 1, 1, 1, 0, 0, 0, 4, 3, 5};
  for (int i = 0; i < 15; ++i) EXPECT_EQ(t.params[i], expected[i]) << "parameter " << i;
}

TEST_F(RegAffineTransformTest, ParametersReproduceTheStartMatrix) {
  RegAffineTransform t(references, model, start, 12);
  NmMat4d wide;
  wide.setValue(start);
  expectNear(t.absoluteMatrix, wide, 0.0);
  const NmMat4d relative = t.relativeMatrix;
  t.apply();
  expectNear(t.relativeMatrix, relative, 1e-5);
  expectNear(t.absoluteMatrix, wide, 1e-4);
}

// Half the model's size from its corner is its middle, (0, 4, 7), which goes to itself plus the
// shift.
TEST_F(RegAffineTransformTest, TurnsAboutTheMiddleOfTheModel) {
  RegAffineTransform t(references, model, NmMat4f(), 12);
  t.params[5] = 30;
  t.params[6] = 2;
  t.params[0] += 3;
  t.apply();
  const NmVec3d image = mapped(t, NmVec3d(0, 4, 7));
  EXPECT_NEAR(image.x, 3.0, 1e-12);
  EXPECT_NEAR(image.y, 4.0, 1e-12);
  EXPECT_NEAR(image.z, 7.0, 1e-12);
  const NmVec3d beside = mapped(t, NmVec3d(1, 4, 7));
  EXPECT_NEAR(beside.x - image.x, 2 * std::cos(pi / 6), 1e-12);
  EXPECT_NEAR(beside.y - image.y, -1.0, 1e-12);
}

TEST_F(RegAffineTransformTest, ChangeCenterKeepsTheMap) {
  RegAffineTransform t(references, model, start, 12);
  t.apply();
  const NmMat4d before = t.relativeMatrix;
  const double center[3] = {100, -20, 0.1};
  t.changeCenter(center);
  EXPECT_EQ(t.params[12], 100.0);
  EXPECT_EQ(t.params[14], 0.1);
  t.apply();
  expectNear(t.relativeMatrix, before, 1e-12);
}

TEST_F(RegAffineTransformTest, StepsMoveTheBoxByAFewUnits) {
  RegAffineTransform t(references, model, start, 12);
  NmVec3d size(3, 4, 12);
  EXPECT_EQ(t.getParamStep(2, &size), 1.0);
  EXPECT_DOUBLE_EQ(t.getParamStep(3, &size), 1080.0 / (std::sqrt(160.0) * pi));
  EXPECT_DOUBLE_EQ(t.getParamStep(4, &size), 1080.0 / (std::sqrt(153.0) * pi));
  EXPECT_DOUBLE_EQ(t.getParamStep(5, &size), 1080.0 / (5.0 * pi));
  EXPECT_DOUBLE_EQ(t.getParamStep(11, &size), 4.0 / 12.0);
  EXPECT_EQ(t.getParamStep(12, &size), 0.0);
  NmVec3d flat;
  EXPECT_EQ(t.getParamStep(6, &flat), std::numeric_limits<double>::infinity());
  t.setDegreesOfFreedomDirect(3);
  EXPECT_EQ(t.getParamStep(3, &size), 0.0);
  t.setDegreesOfFreedomDirect(15);
  EXPECT_EQ(t.getParamStep(12, nullptr), 1.0);
  t.setDegreesOfFreedomDirect(1000);
  EXPECT_EQ(t.getVariableParamVectorDim(), 15);
}

TEST_F(RegAffineTransformTest, OnlySevenDegreesOfFreedomLevelTheScales) {
  RegAffineTransform t(references, model, start, 12);
  t.params[6] = 1.5;
  t.params[7] = 0.75;
  const double before = t.relativeMatrix.m[0][0];
  t.setDegreesOfFreedom(6);
  t.setDegreesOfFreedomDirect(7);
  EXPECT_EQ(t.params[7], 0.75);
  EXPECT_EQ(t.relativeMatrix.m[0][0], before);
  const RegAffineTransform* const inverse = t.getInverse();
  t.setDegreesOfFreedom(7);
  EXPECT_EQ(t.params[7], 1.5);
  EXPECT_EQ(t.params[8], 1.5);
  EXPECT_NE(t.relativeMatrix.m[0][0], before);
  expectNear(inverse->relativeMatrix, t.relativeMatrix.inverse(), 0.0);
}

// Scales 2, 1, 1: makeInverse levels those of the inverse to 1/2, the refresh takes 1/2, 1, 1.
TEST_F(RegAffineTransformTest, TheInverseIsRefreshedAndLevelledOnlyWhenMade) {
  RegAffineTransform t(references, model, NmMat4f(), 7);
  t.params[6] = 2;
  t.apply();
  RegAffineTransform* const inverse = t.getInverse();
  EXPECT_NEAR(inverse->params[7], 0.5, 1e-12);
  expectNear(inverse->absoluteMatrix, t.absoluteMatrix.inverse(), 0.0);
  t.params[0] += 5;
  t.setDegreesOfFreedomDirect(9);
  t.apply();
  EXPECT_EQ(t.getInverse(), inverse);
  EXPECT_NEAR(inverse->params[7], 1.0, 1e-12);
  EXPECT_EQ(inverse->degreesOfFreedom, 9);
  expectNear(inverse->absoluteMatrix, t.absoluteMatrix.inverse(), 0.0);
  NmVec3d p = mapped(t, NmVec3d(1, 2, 3));
  p = mapped(*inverse, p);
  EXPECT_NEAR(p.x, 1.0, 1e-12);
  EXPECT_NEAR(p.z, 3.0, 1e-12);
}

TEST_F(RegAffineTransformTest, CopiesHaveNoInverseAndHoldTheVolumes) {
  RegAffineTransform t(references, model, start, 9);
  t.getInverse();
  const long handles = references[0]->refCount();
  {
    RegAffineTransform copy(t);
    EXPECT_EQ(copy.inverseTransform, nullptr);
    EXPECT_EQ(copy.degreesOfFreedom, 9);
    EXPECT_EQ(copy.params[12], t.params[12]);
    EXPECT_EQ(references[0]->refCount(), handles + 1);
    copy.getInverse();
    copy = t;
    EXPECT_EQ(copy.inverseTransform, nullptr);
    copy = *&copy;
    EXPECT_EQ(copy.params.size, 15);
  }
  EXPECT_EQ(references[0]->refCount(), handles);
}

TEST(RegAffineTransform, WithoutVolumesItHoldsParameters) {
  RegAffineTransform t;
  EXPECT_EQ(t.getVariableParamVectorDim(), 12);
  EXPECT_EQ(t.model, nullptr);
  t.params[0] = 3;
  t.composeMatrix();
  EXPECT_EQ(t.absoluteMatrix.m[3][0], 3.0);
  EXPECT_EQ(t.getInverse()->absoluteMatrix.m[3][0], -3.0);
  t.params.resize(4);
  t.apply();
  t.setDegreesOfFreedom(7);
  EXPECT_EQ(t.params[8], 1.0);
  t.makeIdentityTransform();
  EXPECT_EQ(t.params[0], 0.0);
  EXPECT_EQ(t.absoluteMatrix.m[3][0], 3.0);
}

}  // namespace
