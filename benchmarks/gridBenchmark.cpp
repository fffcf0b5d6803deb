#include <algorithm>
#include <random>

#include "benchmarks/evaluation.h"

// The objective function under a grid of bricks whose vertices are displaced at random by up to a
// millimetre. evaluateNonAffine: one evaluation of the whole volume with 12 bricks per axis;
// evaluateUnmoved: the same under the identity as an affine map; nanoseconds per voxel of the
// reference. gradient: one gradient for several numbers of bricks per axis; `walked` counts the
// voxels of all its walks, `ratio` compares its time with whole evaluations over the same number of
// voxels.

namespace {

using headPair::HeadPair;

std::unique_ptr<RegNonAffineTransform> displacedGrid(const HeadPair& pair, int bricks) {
  NmBox3f box;
  pair.reference->boundingBox(box);
  auto grid = std::make_unique<RegNonAffineTransform>(
      RegNonAffineTransform::NonAffineTransformDescriptor{box, {}, {}},
      NmVec3i(bricks, bricks, bricks));
  std::mt19937 random(1);
  std::uniform_real_distribution<double> move(-1.0, 1.0);
  for (long i = 0; i < grid->params.size; ++i) grid->params[i] += move(random);
  return grid;
}

void evaluateAll(benchmark::State& state, const HeadPair& pair, RegFunctional& functional) {
  for (auto _ : state) benchmark::DoNotOptimize(functional.evaluate());
  evaluation::reportPerVoxel(state, pair, pair.numReferenceVoxels());
}

void evaluateNonAffine(benchmark::State& state, const HeadPair& pair, const std::string& family) {
  const auto grid = displacedGrid(pair, 12);
  evaluateAll(state, pair, *evaluation::makeFunctional(pair, family, *grid));
}

void evaluateUnmoved(benchmark::State& state, const HeadPair& pair, const std::string& family) {
  const auto transform = evaluation::turned(pair, 0.0);
  evaluateAll(state, pair, *evaluation::makeFunctional(pair, family, *transform));
}

/// Voxels of the boxes that a gradient walks, and of the whole volume.
double walkedVoxels(const HeadPair& pair, RegNonAffineTransform& grid) {
  double walked = pair.numReferenceVoxels();
  for (int vertex = 0; vertex < grid.vertexCount(); ++vertex) {
    const NmBox3i box = grid.getROIofVertex(pair.reference, vertex);
    walked +=
        7.0 * (box.xmax - box.xmin + 1) * (box.ymax - box.ymin + 1) * (box.zmax - box.zmin + 1);
  }
  return walked;
}

void gradient(benchmark::State& state, const std::string& family, int bricks) {
  const HeadPair& pair = headPair::warped();
  const auto grid = displacedGrid(pair, bricks);
  const auto functional = evaluation::makeFunctional(pair, family, *grid);
  NmDVector<double> components;
  components.resize(grid->getVariableParamVectorDim());
  double least = 1.0e9;
  for (auto _ : state)
    least = std::min(least, evaluation::fastest(1, [&] {
                       functional->evaluateGradient(components, 1.0f, 1, nullptr);
                     }));
  const double walked = walkedVoxels(pair, *grid);
  const double whole = evaluation::fastest(20, [&] { functional->evaluate(); });
  evaluation::reportPerVoxel(state, pair, walked);
  state.counters["walked"] = walked;
  state.counters["ratio"] = least / (walked * whole / pair.numReferenceVoxels());
}

[[maybe_unused]] const bool isRegistered = [] {
  for (const std::string family : evaluation::families)
    for (const auto& [name, pair] :
         {std::pair("warped", &headPair::warped), std::pair("heads", &headPair::get)}) {
      const std::string end = "/" + family + "/" + name;
      evaluation::add("evaluateNonAffine" + end, [=, pair = pair](benchmark::State& state) {
        evaluateNonAffine(state, pair(), family);
      });
      evaluation::add("evaluateUnmoved" + end, [=, pair = pair](benchmark::State& state) {
        evaluateUnmoved(state, pair(), family);
      });
    }
  for (const std::string family : {"correlation", "information"})
    for (const int bricks : {4, 8, 12, 16})
      evaluation::add("gradient/" + family + "/" + std::to_string(bricks),
                      [=](benchmark::State& state) { gradient(state, family, bricks); });
  return true;
}();

}  // namespace
