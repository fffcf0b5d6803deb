#include <voxreg.h>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "variational/search/latticeSearch.h"
#include "variational/search/matrixSearch.h"

/// Prints a table of whole results, a name and a hash of all their bits in each line: what one
/// instruction set, compiler or version gives, another has to give as well.
namespace {

/// FNV-1a.
class Hash {
 public:
  template <class T>
  void add(const T* values, std::int64_t n) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(values);
    for (std::int64_t i = 0; i < n * static_cast<std::int64_t>(sizeof(T)); ++i)
      hash_ = (hash_ ^ bytes[i]) * 1099511628211u;
  }

  void print(const std::string& name) const {
    std::printf("%-44s %016" PRIx64 "\n", name.c_str(), hash_);
  }

 private:
  std::uint64_t hash_ = 14695981039346656037u;
};

constexpr int side = 22;

/// Blobs in a noisy body; the model's are warped, turned and brightened.
template <class T>
NmHandle<VlData> makeHead(bool isModel, NmPrimType type) {
  NmHandle<VlMemoryData> volume(new VlMemoryData(nullptr));
  const NmVec3l dims(side, side - 4, side - 7);
  if (!volume->init(dims, type, 1, false, false, false).isOk()) std::exit(1);
  volume->setBoundingBox(NmBox3f(-40.0f, 41.0f, -37.0f, 36.0f, -30.0f, 38.0f));
  std::mt19937 random(isModel ? 5 : 9);
  const NmHandle<VlDataAccess> access = volume->lock(true);
  T* out = static_cast<T*>(access->dataPtr(0));
  for (int z = 0; z < side - 7; ++z)
    for (int y = 0; y < side - 4; ++y)
      for (int x = 0; x < side; ++x) {
        double p[] = {1.6 * (x - 10.5), 1.6 * (y - 8.5), 1.6 * (z - 7.0)};
        if (isModel) {
          const double turned = 0.98 * p[0] + 0.17 * p[1] + 0.8;
          p[1] = 0.98 * p[1] - 0.17 * p[0] - 0.6;
          p[0] = turned + 0.02 * p[2] * p[2] / 14.0;
        }
        const double radius = std::hypot(p[0] / 15.0, p[1] / 13.0, p[2] / 12.0);
        double value = radius < 1.0 ? 90.0 : 4.0;
        for (int blob = 0; blob < 6; ++blob) {
          const double a = blob * 1.047;
          const double dx = p[0] - 8.0 * (a - 3.0) / 3.0;
          const double dy = p[1] - 5.0 * ((blob * 7) % 5 - 2) / 2.0;
          const double dz = p[2] - 4.0 * ((blob * 3) % 5 - 2) / 2.0;
          const double square = (dx * dx + dy * dy + dz * dz) / 9.0;
          if (square < 4.0) value += (20.0 + 10.0 * blob) * (1.0 - square / 4.0);
        }
        value += static_cast<double>(random() % 1024) / 256.0;
        *out++ = static_cast<T>(isModel ? 1.2 * value + 3.0 : value);
      }
  return volume;
}

struct Pair {
  std::string name;
  NmHandle<VlData> reference;
  NmHandle<VlData> model;
};

struct Search {
  unsigned int metric;
  unsigned int search;
  NmVec4i affineStages;
  NmVec3i grids;
};

void printRegistration(const std::string& name, const Pair& pair, const Search& search) {
  NmDArray<NmHandle<VlData>> reference;
  NmDArray<NmHandle<VlData>> model;
  reference.insert(0, 1, &pair.reference);
  model.insert(0, 1, &pair.model);
  NmVec4i affineStages = search.affineStages;
  NmVec3i grids = search.grids;
  const bool isAffine = grids.x == 0;
  RegVoxelRegistration registration(
      nullptr, true, reference, model, 3, 5.0f, 160.0f, 5.0f, 190.0f, 1, search.metric, 48, 40,
      isAffine ? NmVec3i(2, 2, 2) : NmVec3i(1, 1, 1), 1, true, affineStages, grids, false,
      NmVec2f(4.0f, 0.5f), 0, 1e-4f, search.search, false, false);
  if (!registration.compute(2)) std::exit(1);
  Hash hash;
  hash.add(&registration.finalMetric, 1);
  hash.add(&registration.matrix.m[0][0], 16);
  hash.add(registration.nonAffineResult.vertices.data, registration.nonAffineResult.vertices.size);
  hash.print(name);
}

void printVolume(const std::string& name, const NmHandle<VlData>& volume, std::int64_t voxelBytes) {
  if (volume == nullptr) std::exit(1);
  const NmVec3l n = volume->dims();
  Hash hash;
  const NmHandle<VlDataAccess> access = volume->lock(false);
  hash.add(static_cast<const char*>(access->dataPtr(0)), n.x * n.y * n.z * voxelBytes);
  hash.print(name);
}

void printRegistrations(const std::vector<Pair>& pairs) {
  constexpr const char* metrics[] = {"nmi", "mi", "msd", "cr"};
  constexpr const char* searches[] = {"aggressive", "best neighbour", "quasi-Newton", "conjugate",
                                      "best direction"};
  const NmVec4i rigidAndAffine(0, 1, 0, 1);
  for (unsigned int metric = 0; metric < 4; ++metric)
    for (unsigned int search = 0; search < 5; ++search) {
      const Pair& pair = pairs[(metric + search) % pairs.size()];
      printRegistration(
          "affine " + pair.name + " " + metrics[metric] + " " + searches[search], pair,
          {metric, search, search == 1 ? NmVec4i(1, 0, 0, 0) : rigidAndAffine, NmVec3i()});
    }
  for (unsigned int metric = 0; metric < 4; ++metric)
    for (const unsigned int search : {2u, 3u}) {
      const Pair& pair = pairs[metric % pairs.size()];
      printRegistration("bricks " + pair.name + " " + metrics[metric] + " " + searches[search],
                        pair, {metric, search, NmVec4i(), NmVec3i(20202, 30302, 0)});
    }
}

voxreg::detail::SearchVolume searched(const NmHandle<VlData>& volume, int type,
                                      const VlDataAccess& access) {
  return {access.dataPtr(0), type, voxreg::detail::VolumeFrame(*volume)};
}

/// By exact derivatives: a matrix, and a lattice on top of it.
void printVariational(const Pair& pair, int referenceType, int modelType) {
  using namespace voxreg::detail;
  constexpr const char* metrics[] = {"nmi", "mi", "msd", "cr"};
  const NmHandle<VlDataAccess> referenceAccess = pair.reference->lock(false);
  const NmHandle<VlDataAccess> modelAccess = pair.model->lock(false);
  const SearchVolume reference = searched(pair.reference, referenceType, *referenceAccess);
  const SearchVolume model = searched(pair.model, modelType, *modelAccess);
  for (int metric = 0; metric < 4; ++metric) {
    SearchSummary summary;
    MatrixSearch matrices = {
        reference, model, NmMat4d(), {{{2, 2, 1}, {2, 2, 1}}, {{1, 1, 1}, {1, 1, 1}}}};
    matrices.comparison.metric = static_cast<RegMetricKind>(metric);
    const NmMat4d matrix = matrices.run(summary);
    Hash hash;
    hash.add(&matrix.m[0][0], 16);
    hash.print("matrix " + pair.name + " " + metrics[metric]);
    LatticeSearch lattices = {reference, model, matrix};
    lattices.comparison = matrices.comparison;
    lattices.spacing = 12.0;
    const voxreg::ControlLattice lattice = lattices.run(summary);
    Hash hashOfLattice;
    hashOfLattice.add(lattice.values.data(), static_cast<std::int64_t>(lattice.values.size()));
    hashOfLattice.print("lattice " + pair.name + " " + metrics[metric]);
  }
}

/// By filters, and through a grid of bricks.
void printResampled(const Pair& pair) {
  constexpr std::int64_t voxelBytes = 2;
  for (const auto filter : {RegResampler::Lanczos3, RegResampler::BSpline}) {
    NmHandle<VlData> target;
    if (!RegResampler().doResample(pair.model.get(), target, NmVec3f(23.0f, 29.0f, 17.0f), nullptr,
                                   NmVec3f(), filter, 0.0f, 1))
      std::exit(1);
    printVolume("zoomed by filter " + std::to_string(filter), target, voxelBytes);
    NmVec3i gridDims(3, 3, 3);
    NmDArray<NmVec3f> nodes;
    for (int node = 0; node < 27; ++node) {
      const auto at = [&](int i) { return static_cast<float>(30 * i - 30); };
      const NmVec3f place(at(node % 3) + 1.25f, at(node / 3 % 3) - 0.75f * static_cast<float>(node),
                          at(node / 9) + 2.5f);
      nodes.insert(nodes.size, 1, &place);
    }
    const NmHandle<VlMemoryData> moved = RegBrickedResampler().doResampling(
        pair.reference, pair.model, NmBox3f(-30.0f, 30.0f, -30.0f, 30.0f, -30.0f, 30.0f), nodes,
        gridDims, filter, 1, false, true, false, nullptr);
    printVolume("moved by filter " + std::to_string(filter), moved, voxelBytes);
  }
}

}  // namespace

int main() {
  getTheLogInstance().setSink([](bool, const std::string&) {});
  const std::vector<Pair> pairs = {
      {"short/byte", makeHead<short>(false, NmPrimType::Short),
       makeHead<unsigned char>(true, NmPrimType::UnsignedChar)},
      {"word/word", makeHead<unsigned short>(false, NmPrimType::UnsignedShort),
       makeHead<unsigned short>(true, NmPrimType::UnsignedShort)},
      {"float/double", makeHead<float>(false, NmPrimType::Float),
       makeHead<double>(true, NmPrimType::Double)}};
  printRegistrations(pairs);
  printVariational(pairs[0], 1, 0);
  printVariational(pairs[2], 4, 5);
  printResampled(pairs[1]);
  return 0;
}
