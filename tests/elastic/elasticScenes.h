#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "elastic/RegElasticRegistration.h"
#include "resampling/RegResampler.h"
#include "tests/registration/registrationFixture.h"
#include "tests/support/volumes.h"

/// A run of the pipeline on two small volumes, and what it is made of: its levels and the grids and
/// steps of its registrations, one after the other.
namespace elasticScenes {

struct Scene {
  NmVec3l dims;
  NmVec3f voxelSize;
  int maxBricks;
  NmVec3l levels[4];         ///< res1, res2, res4 and res8; zero for one that is not made
  std::string searches;      ///< level, bricks, and largest and smallest step of each
  std::vector<int> refined;  ///< grids on res1 of which the best is kept
};

/// Each goes another way through the table of levels.
inline std::vector<Scene> scenes() {
  std::vector<Scene> all;
  const auto add = [&](const NmVec3l& dims, const NmVec3f& size, int maxBricks, const NmVec3l& res1,
                       const NmVec3l& res2, const NmVec3l& res4, const NmVec3l& res8,
                       const char* searches, const std::vector<int>& refined) {
    all.push_back({dims, size, maxBricks, {res1, res2, res4, res8}, searches, refined});
  };
  const NmVec3f thick(1.0f, 1.5f, 20.0f);
  const NmVec3l none;
  add({600, 12, 3}, thick, 24, {512, 10, 3}, {256, 5, 3}, {128, 2, 3}, {64, 1, 3},
      "8 4 10 3, 8 8 3 3, 4 8 5 1, 4 12 5 1, 2 12 5 1, 2 18 5 1", {18, 24});
  add({264, 16, 2}, thick, 16, none, {132, 8, 2}, {66, 4, 2}, {33, 2, 2},
      "8 4 10 3, 8 8 3 3, 4 8 5 1, 4 12 5 1, 2 12 5 1, 2 16 5 1", {});
  add({310, 16, 2}, thick, -7, none, {155, 8, 2}, {77, 4, 2}, {38, 2, 2},
      "8 4 10 3, 8 8 3 3, 4 8 5 1, 4 12 5 1, 2 12 5 1", {});
  add({130, 12, 5}, {1.0f, 1.5f, 0.8f}, 12, {130, 12, 5}, {65, 6, 3}, {32, 3, 2}, none,
      "4 4 10 3, 4 8 3 3, 2 8 5 1, 2 12 5 1, 1 12 5 1", {});
  add({64, 7, 4}, {1.0f, 1.0f, 1.0f}, 40, {64, 7, 4}, none, none, none, "1 12 5 1", {18, 27, 40});
  return all;
}

inline NmBox3f boxOf(const Scene& scene) {
  const auto last = [](long n) { return static_cast<float>(n > 1 ? n - 1 : 1); };
  return {-3.0f, -3.0f + last(scene.dims.x) * scene.voxelSize.x,
          5.0f,  5.0f + last(scene.dims.y) * scene.voxelSize.y,
          0.0f,  last(scene.dims.z) * scene.voxelSize.z};
}

/// Waves of different lengths; `shift` moves them along x by up to that many voxels.
inline NmHandle<VlData> waves(const Scene& scene, double shift) {
  const auto height = static_cast<double>(scene.dims.y);
  const NmHandle<VlData> volume = makeVolume(
      scene.dims,
      [=](double x, double y, double z) {
        const double moved = x + shift * std::sin(0.05 * x);
        return 500.0 + 200.0 * std::sin(0.11 * moved) + 100.0 * std::cos(0.37 * moved) +
               60.0 * std::sin(0.9 * (y + height * z));
      },
      NmPrimType::UnsignedShort);
  volume->setBoundingBox(boxOf(scene));
  return volume;
}

/// Settings of the pipeline that the scenes share.
struct Options {
  NmVec2f referenceRange{1, 0};
  NmVec2f modelRange{1, 0};
  unsigned int metricFlag = 1;
  bool useMasking = false;
  NmVec3f maskCenter{20, 5, 0};
  NmVec3f maskWeights{1.0f, 1.1f, 1.25f};
  float innerRadius = 10;
  float outerRadius = 25;
  const NmBox3i* roi = nullptr;
  int bricksAxis = 0;
};

inline RegElasticRegistration pipelineOf(const Scene& scene) {
  RegElasticRegistration pipeline;
  pipeline.reference = waves(scene, 0.0);
  pipeline.model = waves(scene, 3.0);
  return pipeline;
}

inline bool run(RegElasticRegistration& pipeline, const Scene& scene, const Options& o = {}) {
  return pipeline.doRegistration(o.referenceRange, o.modelRange, o.metricFlag, o.useMasking,
                                 {1, 100}, {2, -50}, o.maskCenter, o.maskWeights, o.innerRadius,
                                 o.outerRadius, o.roi, scene.maxBricks, o.bricksAxis);
}

/// The same run as a plain list of registrations over `box`, `dims` being the voxels of the region.
class NaiveRun {
 public:
  RegNonAffineTransform::NonAffineTransformDescriptor transform;

  NaiveRun(const RegElasticRegistration& pipeline, const Scene& scene, const Options& options,
           const NmBox3f& box, const NmVec3i& dims)
      : pipeline_(pipeline), scene_(scene), options_(options), dims_(dims) {
    transform.box = box;
    const Level input = {pipeline.reference, pipeline.model};
    for (int i = 0; i < 4; ++i) make(i, i < 2 ? input : levels_[i - 1]);
    std::istringstream searches(scene.searches);
    for (int level = 0, bricks = 0; searches >> level >> bricks;) {
      NmVec2f steps;
      searches >> steps.x >> steps.y;
      searches.ignore();  // a comma
      EXPECT_TRUE(search(level, bricks, steps));
    }
    refine();
  }

 private:
  struct Level {
    NmHandle<VlData> reference, model;
  };

  void make(int index, const Level& finer) {
    const NmVec3l& dims = scene_.levels[index];
    if (dims == NmVec3l()) return;
    Level& level = levels_[index];
    level = {resampled(finer.reference, dims), resampled(finer.model, dims)};
    if (!options_.useMasking) return;
    for (const auto& [volume, rescale] :
         {std::pair(level.reference, NmVec2f(1, 100)), {level.model, NmVec2f(2, -50)}})
      EXPECT_TRUE(pipeline_.applyMasking(volume, rescale, options_.maskCenter, options_.maskWeights,
                                         options_.innerRadius, options_.outerRadius,
                                         RegElasticRegistration::Image));
  }

  NmHandle<VlData> resampled(VlData* source, const NmVec3l& dims) {
    NmHandle<VlData> result;
    const NmVec3f lengths(static_cast<float>(dims.x), static_cast<float>(dims.y),
                          static_cast<float>(dims.z));
    EXPECT_TRUE(RegResampler().doResample(source, result, lengths, nullptr, {},
                                          RegResampler::Lanczos3, 0.0f, 1));
    return result;
  }

  static NmVec2f rangeOf(VlData* volume, const NmVec2f& range) {
    NmVec2f result = range;
    if (range.y < range.x) volume->range(result.x, result.y, true);
    return result;
  }

  bool search(int resolution, int bricks, const NmVec2f& steps, double* value = nullptr) {
    const Level& level = levels_[std::countr_zero(static_cast<unsigned>(resolution))];
    Volumes reference = listOf({level.reference});
    Volumes model = listOf({level.model});
    const NmVec2f r = rangeOf(level.reference, options_.referenceRange);
    const NmVec2f m = rangeOf(level.model, options_.modelRange);
    const NmVec3i n = pipeline_.getNumBricks(bricks, options_.bricksAxis, dims_, scene_.voxelSize);
    NmVec4i affineStages;
    NmVec3i grids(n.x * 10000 + n.y * 100 + n.z, 0, 0);
    const auto bins = [](const NmVec2f& range) {
      return static_cast<unsigned int>(RegVoxelRegistration::getNumBins(range.x, range.y, true));
    };
    RegVoxelRegistration registration(nullptr, true, reference, model, 3, r.x, r.y, m.x, m.y, 1,
                                      options_.metricFlag != 0 ? 3 : 0, bins(r), bins(m), {1, 1, 1},
                                      1, true, affineStages, grids, false, steps, 1, 0.0001f, 2,
                                      false, false);
    registration.nonAffineResult = transform;
    const bool ok = registration.compute(2);
    transform = registration.nonAffineResult;
    if (value != nullptr) *value = registration.finalMetric;
    return ok;
  }

  void refine() {
    double best = -1000.0;
    auto kept = transform;
    for (const int bricks : scene_.refined) {
      double value = 0.0;
      EXPECT_TRUE(search(1, bricks, {5, 1}, &value));
      if (value > best)
        kept = transform;
      else
        transform = kept;
      best = std::max(best, value);
    }
  }

  const RegElasticRegistration& pipeline_;
  const Scene& scene_;
  const Options& options_;
  NmVec3i dims_;
  Level levels_[4];
};

}  // namespace elasticScenes
