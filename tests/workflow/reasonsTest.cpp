#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "tests/support/LogCapture.h"
#include "tests/workflow/balls.h"

namespace {

using voxreg::AffineOptions;
using voxreg::DeformableOptions;
using voxreg::ElasticOptions;
using voxreg::Image;
using voxreg::NonAffineOptions;
using Kind = voxreg::Reason::Kind;

const NmMat4d grid = placed(NmMat4d(3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1));

class Reasons : public testing::Test {
 protected:
  Image shifted(double millimetres) const {
    NmMat4d matrix = grid;
    matrix.m[3][0] += millimetres;
    return Image::wrap(voxels_.data(), ballDims, matrix);
  }

  LogCapture log;
  const std::vector<float> voxels_ = balls(grid, NmMat4d());
  const std::vector<float> blank_ = std::vector<float>(voxels_.size(), 5.0f);
  const std::vector<float> zeros_ = std::vector<float>(voxels_.size(), 0.0f);
  const std::vector<float> gaps_ = std::vector<float>(voxels_.size(), NAN);
  const Image image = Image::wrap(voxels_.data(), ballDims, grid);
  const Image uniform = Image::wrap(blank_.data(), ballDims, grid);
  const Image zero = Image::wrap(zeros_.data(), ballDims, grid);
  const Image missing = Image::wrap(gaps_.data(), ballDims, grid);
  const Image few = Image::wrap(voxels_.data(), NmVec3l(3, 3, 3), grid);
  const Image slice = Image::wrap(voxels_.data(), NmVec3l(24, 26, 1), grid);
};

TEST_F(Reasons, areToldOfImages) {
  struct Case {
    voxreg::Registration found;
    Kind kind;
  };
  AffineOptions stay;
  stay.startRule = voxreg::StartRule::header;
  DeformableOptions at;
  at.start = voxreg::Transform();
  const auto masked = [](const Image& mask) {
    DeformableOptions options;
    options.masks.model = mask;
    return options;
  };
  const Case cases[] = {
      {voxreg::registerAffine(Image(), image), Kind::badImage},
      {voxreg::registerNonAffine(image, Image()), Kind::badImage},
      {voxreg::registerElastic(Image(), Image()), Kind::badImage},
      {voxreg::registerAffine(image, slice), Kind::badImage},
      {voxreg::registerElastic(slice, slice), Kind::badImage},
      {voxreg::registerElastic(few, few), Kind::badImage},
      {voxreg::registerElastic(image, shifted(30)), Kind::badImage},
      {voxreg::registerAffine(image, uniform), Kind::noInformation},
      {voxreg::registerNonAffine(uniform, image), Kind::noInformation},
      {voxreg::registerElastic(uniform, image), Kind::noInformation},
      {voxreg::registerAffine(image, shifted(5000), stay), Kind::noOverlap},
      {voxreg::registerDeformable(Image(), image), Kind::badImage},
      {voxreg::registerDeformable(image, Image()), Kind::badImage},
      {voxreg::registerDeformable(slice, image), Kind::badImage},
      {voxreg::registerDeformable(image, image, masked(few)), Kind::badImage},
      {voxreg::registerDeformable(image, image, masked(shifted(1))), Kind::badImage},
      {voxreg::registerDeformable(image, image, masked(zero)), Kind::noInformation},
      {voxreg::registerDeformable(image, uniform), Kind::noInformation},
      {voxreg::registerDeformable(uniform, image), Kind::noInformation},
      {voxreg::registerDeformable(image, missing), Kind::noInformation},
      {voxreg::registerDeformable(image, shifted(5000), at), Kind::noOverlap}};
  for (const Case& tried : cases) {
    EXPECT_FALSE(tried.found);
    EXPECT_EQ(tried.found.reason.kind, tried.kind) << tried.found.reason.message;
    EXPECT_FALSE(tried.found.reason.message.empty());
  }
}

TEST_F(Reasons, areToldOfOptionsThatNoRunCanTake) {
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  NmMat4d unreal;
  unreal.m[3][0] = static_cast<double>(nan);
  const auto range = [](float low, float high) { return voxreg::IntensityRange{low, high}; };
  const auto steps = [](float first, float last) { return voxreg::StepRange{first, last}; };
  const std::function<void(AffineOptions&)> affine[] = {
      [](auto& o) { o.degreesOfFreedom = 5; },
      [](auto& o) {
        o.stages.assign({3, 9});
      },
      [](auto& o) { o.start = voxreg::Transform::fromBricks({}); },
      [&](auto& o) { o.metric.referenceRange = range(nan, 1.0f); },
      [&](auto& o) { o.metric.modelRange = range(2.0f, 1.0f); },
      [](auto& o) { o.metric.bins = -1; },
      [&](auto& o) { o.search.steps = steps(1.0f, 2.0f); },
      [&](auto& o) { o.search.steps = steps(1.0f, 0.0f); },
      [](auto& o) { o.search.gradientTolerance = 0.0f; },
      [](auto& o) { o.search.gradientLevels = 17; },
      [](auto& o) { o.levels.levels = 11; },
      [](auto& o) { o.levels.coarsest = NmVec3i(0, 1, 1); }};
  for (const auto& spoil : affine) {
    AffineOptions options;
    spoil(options);
    EXPECT_EQ(voxreg::registerAffine(image, image, options).reason.kind, Kind::badOptions);
  }
  for (const auto& [bricks, stage] : {std::pair(NmVec3i(33, 1, 1), 1), {NmVec3i(2, 2, 2), 0}}) {
    NonAffineOptions options;
    options.bricks = bricks;
    options.stages = {stage};
    EXPECT_EQ(voxreg::registerNonAffine(image, image, options).reason.kind, Kind::badOptions);
  }
  constexpr float infinity = std::numeric_limits<float>::infinity();
  const std::function<void(DeformableOptions&)> deformable[] = {
      [](auto& o) { o.spacing = 0.0; },
      [](auto& o) { o.spacing = -1.0; },
      [&](auto& o) { o.spacing = infinity; },
      [&](auto& o) { o.spacing = nan; },
      [](auto& o) { o.stiffness = -0.1; },
      [&](auto& o) { o.stiffness = nan; },
      [&](auto& o) { o.stiffness = infinity; },
      [](auto& o) { o.leastJacobian = -0.1; },
      [](auto& o) { o.leastJacobian = 1.0; },
      [&](auto& o) { o.leastJacobian = nan; },
      [](auto& o) { o.tolerance = 0.0f; },
      [&](auto& o) { o.tolerance = nan; },
      [](auto& o) { o.metric.bins = 4097; },
      [&](auto& o) { o.metric.modelRange = range(2.0f, 1.0f); },
      [&](auto& o) { o.start = voxreg::Transform::fromReferenceToModel(unreal); },
      [](auto& o) { o.start = voxreg::Transform::fromBricks({}); },
      [](auto& o) { o.start = voxreg::Transform::fromLattice({}); },
      [](auto& o) { o.start = voxreg::Transform::fromField({}); }};
  for (const auto& spoil : deformable) {
    DeformableOptions options;
    spoil(options);
    const voxreg::Registration found = voxreg::registerDeformable(image, image, options);
    EXPECT_EQ(found.reason.kind, Kind::badOptions) << &spoil - deformable;
  }
  const std::function<void(ElasticOptions&)> elastic[] = {
      [](auto& o) {
        o.engine = voxreg::ElasticEngine::bricks;
        o.maxBricks = 41;
      },
      [](auto& o) {
        o.engine = voxreg::ElasticEngine::bricks;
        o.spacing = 20.0;
      },
      [](auto& o) {
        o.engine = voxreg::ElasticEngine::variational;
        o.maxBricks = 12;
      },
      [](auto& o) {
        o.engine = voxreg::ElasticEngine::variational;
        o.spacing = 0.0;
      },
      [](auto& o) {
        o.engine = voxreg::ElasticEngine::variational;
        o.stiffness = -1.0;
      },
      [](auto& o) { o.metric = voxreg::Metric::mutualInformation; },
      [&](auto& o) { o.levels = range(nan, 1.0f); },
      [](auto& o) { o.region = NmBox3i(0, 24, 0, 3, 0, 3); }};
  for (const auto& spoil : elastic) {
    ElasticOptions options;
    spoil(options);
    EXPECT_EQ(voxreg::registerElastic(image, image, options).reason.kind, Kind::badOptions);
  }
}

TEST_F(Reasons, areNoneWhereTheHostStopsTheSearch) {
  double last = 0.0;
  int calls = 0;
  AffineOptions options;
  options.progress = [&](const voxreg::Progress& progress) {
    EXPECT_GE(progress.share, last);
    EXPECT_LE(progress.share, 1.0);
    EXPECT_FALSE(progress.stage.empty());
    last = progress.share;
    return ++calls < 40;
  };
  const voxreg::Registration found = voxreg::registerAffine(image, shifted(4), options);
  EXPECT_TRUE(found);
  EXPECT_TRUE(found.interrupted);
  EXPECT_EQ(calls, 40) << "nobody is asked again";

  options.progress = [](const voxreg::Progress&) { return false; };
  const voxreg::Registration none = voxreg::registerAffine(image, shifted(4), options);
  EXPECT_TRUE(none && none.interrupted);
  EXPECT_EQ(none.evaluations, 0);
  EXPECT_FALSE(none.metricAfter);
}

}  // namespace
