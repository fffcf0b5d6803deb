#include "transforms/RegAffineTransform.h"

#include <cmath>
#include <limits>

#include "tests/support/expectNear.h"
#include "tests/support/volumes.h"

namespace {

constexpr double pi = 3.141592653589793;

NmHandle<VlMemoryData> volumeIn(const NmBox3f& box) {
  NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  EXPECT_TRUE(volume->setBoundingBox(box).isOk());
  return volume;
}

class RegAffineTransformTest : public testing::Test {
 protected:
  /// A point through `transform`, world to world.
  static NmVec3d mapped(const RegAffineTransform& transform, const NmVec3d& point) {
    NmVec3d image;
    transform.absoluteMatrix.multVecMatrix(point, image);
    return image;
  }

  NmHandle<VlMemoryData> model = volumeIn(NmBox3f(-4, 4, 1, 7, 2, 12));
  Volumes references = listOf({volumeIn(NmBox3f(10, 30, 20, 50, -5, 5))});
  NmMat4f start{{{1.25f, 0.25f, 0, 0}, {-0.5f, 1, 0, 0}, {0, 0.125f, 1, 0}, {4, 3, 2, 1}}};
};

TEST_F(RegAffineTransformTest, ParametersReproduceTheStartMatrixAboutAnyCenter) {
  RegAffineTransform t(references, model, start, 12);
  NmMat4d wide;
  wide.setValue(start);
  expectNear(t.absoluteMatrix, wide, 0.0);
  const NmMat4d relative = t.relativeMatrix;
  t.apply();
  expectNear(t.relativeMatrix, relative, 1e-5);
  expectNear(t.absoluteMatrix, wide, 1e-4);
  const NmMat4d before = t.relativeMatrix;
  const double center[3] = {100, -20, 0.1};
  t.changeCenter(center);
  t.changeCenter(nullptr);
  for (int j = 0; j < 3; ++j) EXPECT_EQ(t.params[12 + j], center[j]);
  t.apply();
  expectNear(t.relativeMatrix, before, 1e-12);
}

// Half the model's size from its corner is its middle, (0, 4, 7), which goes to itself plus the
// shift.
TEST_F(RegAffineTransformTest, TurnsAboutTheMiddleOfTheModel) {
  RegAffineTransform t(references, model, NmMat4f(), 12);
  t.params[5] = 30;
  t.params[6] = 2;
  t.params[0] += 3;
  t.apply();
  expectNear(mapped(t, NmVec3d(0, 4, 7)), NmVec3d(3, 4, 7), 1e-12);
  expectNear(mapped(t, NmVec3d(1, 4, 7)), NmVec3d(3 + 2 * std::cos(pi / 6), 3, 7), 1e-12);
}

TEST_F(RegAffineTransformTest, StepsMoveTheBoxByAFewUnits) {
  RegAffineTransform t(references, model, start, 12);
  NmVec3d size(3, 4, 12);
  const double squares[] = {160, 153, 25};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(t.getParamStep(i, &size), 1.0);
    EXPECT_DOUBLE_EQ(t.getParamStep(3 + i, &size), 1080.0 / (std::sqrt(squares[i]) * pi));
    EXPECT_DOUBLE_EQ(t.getParamStep(6 + 2 * i, &size), 4.0 / 12.0);
  }
  EXPECT_EQ(t.getParamStep(11, &size), t.getParamStep(6, &size));
  EXPECT_EQ(t.getParamStep(12, &size), 0.0);
  NmVec3d flat;
  EXPECT_EQ(t.getParamStep(6, &flat), std::numeric_limits<double>::infinity());
  t.setDegreesOfFreedomDirect(15);
  EXPECT_EQ(t.getParamStep(12, nullptr), 1.0);
  t.setDegreesOfFreedomDirect(1000);
  EXPECT_EQ(t.getVariableParamVectorDim(), 15);
  t.setDegreesOfFreedomDirect(-1);
  EXPECT_EQ(t.getVariableParamVectorDim(), 0);
}

TEST_F(RegAffineTransformTest, OnlySevenDegreesOfFreedomLevelTheScales) {
  RegAffineTransform t(references, model, start, 12);
  t.params[6] = 1.5;
  t.params[7] = 0.75;
  const NmMat4d before = t.relativeMatrix;
  t.setDegreesOfFreedom(6);
  t.setDegreesOfFreedomDirect(7);
  EXPECT_EQ(t.params[7], 0.75);
  expectNear(t.relativeMatrix, before, 0.0);
  const RegAffineTransform* const inverse = t.getInverse();
  t.setDegreesOfFreedom(7);
  EXPECT_EQ(t.params[7], 1.5);
  EXPECT_EQ(t.params[8], 1.5);
  EXPECT_NE(t.relativeMatrix.m[0][0], before.m[0][0]);
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
  expectNear(mapped(*inverse, mapped(t, NmVec3d(1, 2, 3))), NmVec3d(1, 2, 3), 1e-12);
}

TEST_F(RegAffineTransformTest, CopiesHaveNoInverseAndHoldTheVolumes) {
  RegAffineTransform t(references, model, start, 9);
  t.getInverse();
  const long handles = references[0]->refCount();
  {
    RegAffineTransform copy(t);
    EXPECT_EQ(references[0]->refCount(), handles + 1);
    for (int assigned = 0; assigned < 2; ++assigned) {
      EXPECT_EQ(copy.inverseTransform, nullptr);
      EXPECT_EQ(copy.degreesOfFreedom, 9);
      EXPECT_EQ(copy.params[12], t.params[12]);
      copy.getInverse();
      copy = t;
    }
  }
  EXPECT_EQ(references[0]->refCount(), handles);
}

TEST(RegAffineTransform, WithoutVolumesItHoldsParameters) {
  RegAffineTransform t;
  EXPECT_EQ(t.getVariableParamVectorDim(), 12);
  t.params[0] = 3;
  t.composeMatrix();
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
