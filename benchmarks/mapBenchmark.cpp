#include <benchmark/benchmark.h>
#include <voxreg.h>

#include <memory>
#include <random>
#include <vector>

// Mapping the rows of a volume by a PointMap, in nanoseconds per point: a matrix, bricks, lattices
// of 12 intervals per axis with axes along those of the volume, exchanged, and turned, and a field
// with a node per voxel.

namespace {

using voxreg::Image;
using voxreg::Transform;

constexpr int size = 160;
const NmBox3f box(0, size - 1, 0, size - 1, 0, size - 1);

Transform matrix() {
  return Transform::fromReferenceToModel({1.01, 0.02, 0, 0, 0, 0.99, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1});
}

Transform bricks() {
  voxreg::BrickGrid grid;
  RegNonAffineTransform({box, {}, {}}, {12, 12, 12}).getTransform(grid.grid);
  return Transform::fromBricks(grid);
}

Transform lattice(const NmMat4d& boxToWorld) {
  voxreg::LatticeMap map = {voxreg::ControlLattice(box, {12, 12, 12}), boxToWorld, {}};
  std::mt19937 random(1);
  std::uniform_real_distribution<double> moved(-1.0, 1.0);
  for (double& value : map.lattice.values) value = moved(random);
  return Transform::fromLattice(map);
}

Transform field() {
  const Image image = Image::allocate(NmPrimType::UnsignedChar, {size, size, size}, NmMat4d());
  return Transform::fromField(voxreg::approximateByField(lattice({}), image).map);
}

void mapRows(benchmark::State& state, const Transform& transform) {
  const Image image = Image::allocate(NmPrimType::UnsignedChar, {size, size, size}, NmMat4d());
  const voxreg::PointMap map(transform, image, image);
  std::vector<NmVec3d> points(size);
  std::vector<NmVec3d> found(size);
  constexpr int rows = 1000;
  for (auto _ : state)
    for (int row = 0; row < rows; ++row) {
      for (int x = 0; x < size; ++x)
        points[static_cast<std::size_t>(x)] = NmVec3d(x, row % size, row * 0.1);
      map(points.data(), size, found.data());
      benchmark::DoNotOptimize(found.data());
    }
  state.counters["per_point"] = benchmark::Counter(
      rows * size, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

[[maybe_unused]] const bool isRegistered = [] {
  const auto add = [](const char* name, const Transform& transform) {
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
      mapRows(state, transform);
    })->Unit(benchmark::kMillisecond);
  };
  add("map/matrix", matrix());
  add("map/bricks", bricks());
  add("map/lattice/along", lattice(NmMat4d()));
  add("map/lattice/exchanged", lattice({0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1}));
  add("map/lattice/turned", lattice({0.8, 0.6, 0, 0, -0.6, 0.8, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  add("map/field", field());
  return true;
}();

void smallestJacobian(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  const voxreg::LatticeMap map = {voxreg::ControlLattice(box, {n, n, n}), {}, {}};
  for (auto _ : state) benchmark::DoNotOptimize(map.smallestJacobian());
}
BENCHMARK(smallestJacobian)->Arg(8)->Arg(12)->Arg(32)->Unit(benchmark::kMillisecond);

}  // namespace
