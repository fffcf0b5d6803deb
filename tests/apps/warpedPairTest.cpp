#include <voxreg.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <valarray>
#include <vector>

#include "commands/displacementError.h"
#include "files/niftiVolume.h"
#include "tests/apps/sharedData.h"
#include "tests/support/LogCapture.h"

namespace {

using Grid = RegNonAffineTransform;

struct SilentProgress : NmProgressInterface, RegOptimizerCallback {
  void startWorking(int, const std::string&) override {}
  void stopWorking() override {}
  void setProgressValue(int) override {}
  bool wasInterrupted() override { return false; }
  NmProgressInterface* getProgressInterface() override { return this; }
};

/// Moves each vertex of an identity grid by the mean displacement of the points around it, a point
/// counting by its trilinear weight; vertices without points take the mean of their neighbours.
void fitToPoints(Grid& grid, const std::vector<host::PointPair>& points) {
  const int n[3] = {grid.numBricks.x + 1, grid.numBricks.y + 1, grid.numBricks.z + 1};
  const long stride[3] = {1, n[0], static_cast<long>(n[0]) * n[1]};
  const NmBox3f& box = grid.referenceBox;
  const double low[3] = {box.xmin, box.ymin, box.zmin};
  const double high[3] = {box.xmax, box.ymax, box.zmax};
  using Shift = std::valarray<double>;
  std::vector<Shift> moved(static_cast<std::size_t>(grid.vertexCount()), Shift(3));
  std::vector<double> weights(moved.size());
  for (const host::PointPair& point : points) {
    const NmVec3d p = point.reference;
    const Shift shift = {point.model.x - p.x, point.model.y - p.y, point.model.z - p.z};
    long first = 0;
    double fraction[3];
    for (int axis = 0; axis < 3; ++axis) {
      const double place = (p[axis] - low[axis]) / (high[axis] - low[axis]) * (n[axis] - 1);
      first += static_cast<long>(place) * stride[axis];
      fraction[axis] = place - std::floor(place);
    }
    for (int corner = 0; corner < 8; ++corner) {
      double weight = 1.0;
      long vertex = first;
      for (int axis = 0; axis < 3; ++axis) {
        const int upper = corner >> axis & 1;
        weight *= upper != 0 ? fraction[axis] : 1.0 - fraction[axis];
        vertex += upper * stride[axis];
      }
      const auto v = static_cast<std::size_t>(vertex);
      moved[v] += weight * shift;
      weights[v] += weight;
    }
  }
  for (std::size_t v = 0; v < moved.size(); ++v)
    if (weights[v] > 0.0) moved[v] /= weights[v];
  for (int pass = 0; pass < 200; ++pass)
    for (long v = 0; v < grid.vertexCount(); ++v) {
      if (weights[static_cast<std::size_t>(v)] > 0.0) continue;
      Shift sum(3);
      double count = 0.0;
      for (int axis = 0; axis < 3; ++axis) {
        const long place = v / stride[axis] % n[axis];
        for (const long step : {-1L, 1L}) {
          if (place + step < 0 || place + step >= n[axis]) continue;
          sum += moved[static_cast<std::size_t>(v + step * stride[axis])];
          count += 1.0;
        }
      }
      moved[static_cast<std::size_t>(v)] = sum / count;
    }
  for (std::size_t v = 0; v < moved.size(); ++v)
    for (int c = 0; c < 3; ++c)
      grid.params[static_cast<long>(3 * v) + c] += moved[v][static_cast<std::size_t>(c)];
}

/// The warped pair at 2 mm, a metric on it and a grid that starts as the identity.
struct WarpedPair {
  WarpedPair(const std::string& metric, const NmVec3i& bricks)
      : reference(host::readNifti(sharedData("pairs/reference.nii.gz")).image.volume()),
        model(host::readNifti(sharedData("pairs/warped_model.nii.gz")).image.volume()) {
    references.insert(0, 1, &reference);
    models.insert(0, 1, &model);
    Grid::NonAffineTransformDescriptor start;
    reference->boundingBox(start.box);
    grid = std::make_unique<Grid>(start, bricks);
    functional = std::make_unique<RegFunctional>(references, models, -1, true, grid.get(),
                                                 makeMetric(metric), &callback, 3, 1);
  }

  RegMetric* makeMetric(const std::string& name) const {
    NmVec2f r, m;
    reference->range(r.x, r.y, true);
    model->range(m.x, m.y, true);
    if (name == "cr") return new RegCorrelationRatio(r.x, r.y, m.x, m.y, 0.0, false);
    const NmPrimType types[2] = {reference->primType(), model->primType()};
    if (name == "nmi")
      return new RegNormMutualInformation(types[0], types[1], r.x, r.y, m.x, m.y, 64, 64, 0.0,
                                          false);
    return new RegSimpleMutualInformation(types[0], types[1], r.x, r.y, m.x, m.y, 64, 64, 0.0,
                                          false);
  }

  LogCapture log;
  SilentProgress callback;
  NmHandle<VlData> reference;
  NmHandle<VlData> model;
  NmDArray<NmHandle<VlData>> references;
  NmDArray<NmHandle<VlData>> models;
  std::unique_ptr<Grid> grid;
  std::unique_ptr<RegFunctional> functional;
};

class WarpedPairTest : public testing::TestWithParam<const char*> {};

TEST_P(WarpedPairTest, TheTrueWarpBeatsTheIdentity) {
  VOXREG_SKIP_WITHOUT_SHARED_DATA();
  const WarpedPair pair(GetParam(), NmVec3i(12, 14, 12));
  const double identity = pair.functional->evaluate();
  fitToPoints(*pair.grid, host::readPointPairs(sharedData("pairs/warped_truth.txt")));
  EXPECT_GT(pair.functional->evaluate(), identity);
}

TEST_P(WarpedPairTest, StepsAlongTheGradientRaiseTheValue) {
  VOXREG_SKIP_WITHOUT_SHARED_DATA();
  const WarpedPair pair(GetParam(), NmVec3i(12, 14, 12));
  NmDVector<double> gradient;
  gradient.resize(pair.grid->getVariableParamVectorDim());
  double value = pair.functional->evaluate();
  for (int step = 0; step < 2; ++step) {
    pair.functional->evaluateGradient(gradient, 1.0f, 0, nullptr);
    double largest = 0.0;
    for (long i = 0; i < gradient.size; ++i) largest = std::max(largest, std::abs(gradient[i]));
    ASSERT_GT(largest, 0.0);
    constexpr double millimetres = 0.5;  // that the fastest vertex moves
    for (long i = 0; i < gradient.size; ++i)
      pair.grid->params[i] += millimetres / largest * gradient[i];
    const double next = pair.functional->evaluate();
    EXPECT_GT(next, value) << "step " << step;
    value = next;
  }
}

INSTANTIATE_TEST_SUITE_P(Metrics, WarpedPairTest, testing::Values("cr", "nmi", "mi"),
                         [](const auto& tested) { return std::string(tested.param); });

}  // namespace
