#include <cstdio>

#include "functional/RegFunctional.h"
#include "tests/registration/registrationFixture.h"
#include "transforms/RegAffineTransform.h"

namespace {

// A vector that is too short is filled up with the identity's values.
TEST(ComposeMatrix, IsUndoneByDecomposeMatrix) {
  const double values[15] = {3, -2, 1, 10, -20, 30, 1.5, 0.75, 1, 0, 0, 0, 0, 0, 0};
  for (const long given : {15L, 8L, 2L}) {
    NmDVector<double> params, found;
    params.insert(0, given, values);
    NmMat4f m;
    RegVoxelRegistration::composeMatrix(params, m);
    ASSERT_EQ(params.size, 15);
    RegVoxelRegistration::decomposeMatrix(m, found);
    ASSERT_EQ(found.size, 15);
    for (long i = 0; i < 15; ++i) {
      const double identity = i >= 6 && i <= 8 ? 1.0 : 0.0;
      EXPECT_NEAR(found[i], i < given ? values[i] : identity, 1e-4) << i;
    }
  }
}

// A quarter turn about the origin takes the model's centre (4, 4, 4) to (-4, 4, 4).
TEST(LogCurrentAffineTransform, ReportsTheMotionOfTheModelsCentre) {
  const auto registration = Settings().build();
  LogCapture log;
  registration->logCurrentAffineTransform();
  registration->createTransform();
  registration->logCurrentAffineTransform();
  EXPECT_TRUE(log.lines.empty());
  registration->matrix = {{{0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 2.5f, 1}}};
  registration->createTransform();
  registration->logCurrentAffineTransform();
  ASSERT_EQ(log.lines.size(), 1u);
  float v[6];
  ASSERT_EQ(
      std::sscanf(log.lines[0].c_str(), "current trafo: translation %f %f %f   rotation %f %f %f",
                  v, v + 1, v + 2, v + 3, v + 4, v + 5),
      6);
  // The third angle turns in the left-handed sense.
  const float expected[] = {-8.0f, 0.0f, 2.5f, 0.0f, 0.0f, -90.0f};
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(v[i], expected[i], 2e-3) << i;
}

TEST(CreateTransform, ReachesTheFunctionalsAndNeedsVolumes) {
  const auto registration = Settings().build();
  ASSERT_NE(registration->initRegistration(), 0);
  const auto* affine = dynamic_cast<RegAffineTransform*>(registration->transform);
  registration->model = Volumes();  // the transform's model stays
  ASSERT_NE(affine, nullptr);
  EXPECT_EQ(affine->model->dims(), NmVec3l(9, 9, 9));
  registration->doneRegistration();
  EXPECT_EQ(affine->model->refCount(), 1);
  registration->model = listOf({makeBall(3.0)});
  ASSERT_NE(registration->initRegistration(), 0);
  registration->createTransform(true, NmVec3i(2, 2, 2));
  EXPECT_EQ(registration->functionals->data[0]->transform, registration->transform);
  registration->model = Volumes();
  LogCapture log;
  registration->createTransform();
  EXPECT_EQ(registration->transform, nullptr);
  EXPECT_EQ(registration->functionals->data[0]->transform, nullptr);
  EXPECT_EQ(log.errors.size(), 1u);
}

TEST(CreateTransform, ContinuesANonAffineResult) {
  const auto registration = Settings().build();
  auto& start = registration->nonAffineResult;
  start.box = NmBox3f(0, 2, 0, 2, 0, 2);
  start.numBricks = NmVec3i(1, 1, 1);
  start.vertices.resize(24);
  for (int i = 0; i < 24; ++i) start.vertices[i] = (i / 3 >> i % 3 & 1) * 2.0 + 0.25;
  registration->createTransform(true, NmVec3i(2, 1, 1));
  ASSERT_EQ(registration->transform->params.size, 36);
  EXPECT_EQ(registration->transform->params[0], 0.25);
  EXPECT_EQ(registration->transform->params[3], 1.25);
}

}  // namespace
