#include "benchmarks/headPair.h"

#include <cmath>
#include <filesystem>
#include <vector>

#include "files/niftiVolume.h"

namespace headPair {
namespace {

/// An ellipsoid with texture, brighter than the surrounding air.
NmHandle<VlData> ellipsoid(const NmVec3l& dims, NmPrimType type, float spacing, float brightest) {
  const NmHandle<VlMemoryData> volume = new VlMemoryData(nullptr);
  volume->init(dims, type, 1, true, true, true);
  const NmVec3f half(0.5f * spacing * static_cast<float>(dims.x - 1),
                     0.5f * spacing * static_cast<float>(dims.y - 1),
                     0.5f * spacing * static_cast<float>(dims.z - 1));
  volume->setBoundingBox({-half.x, half.x, -half.y, half.y, -half.z, half.z});
  const NmHandle<VlDataAccess> access = volume->lock(true);
  std::vector<float> row(static_cast<std::size_t>(dims.x));
  for (long z = 0; z < dims.z; ++z)
    for (long y = 0; y < dims.y; ++y) {
      for (long x = 0; x < dims.x; ++x) {
        const float p[3] = {spacing * static_cast<float>(x) - half.x,
                            spacing * static_cast<float>(y) - half.y,
                            spacing * static_cast<float>(z) - half.z};
        const float radius = std::hypot(p[0] / 75.0f, p[1] / 95.0f, p[2] / 80.0f);
        const float texture =
            std::sin(0.21f * p[0]) * std::sin(0.17f * p[1] + 0.3f) * std::cos(0.19f * p[2]);
        row[static_cast<std::size_t>(x)] =
            radius < 1.0f ? brightest * (0.6f + 0.35f * texture) : 0.0f;
      }
      access->putRow(-1, y, z, row.data());
    }
  return volume;
}

/// The two files, or two ellipsoids if they are missing.
template <class Ellipsoids>
HeadPair load(const char* name, const char* reference, const char* model, Ellipsoids ellipsoids) {
  const std::filesystem::path folder = VOXREG_SHARED_DATA;
  HeadPair pair;
  if (std::filesystem::exists(folder / reference)) {
    pair.name = name;
    pair.reference = host::readNifti(folder / reference).image.volume();
    pair.model = host::readNifti(folder / model).image.volume();
  } else {
    pair.name = "ellipsoids";
    ellipsoids(pair);
  }
  pair.reference->range(pair.referenceRange.x, pair.referenceRange.y, true);
  pair.model->range(pair.modelRange.x, pair.modelRange.y, true);
  return pair;
}

}  // namespace

double HeadPair::numReferenceVoxels() const {
  const NmVec3l dims = reference->dims();
  return static_cast<double>(dims.x) * static_cast<double>(dims.y) * static_cast<double>(dims.z);
}

const HeadPair& get() {
  static const HeadPair pair =
      load("chris_t1 in mni152_2009", "mni152_2009.nii.gz", "chris_t1.nii.gz", [](HeadPair& heads) {
        heads.reference = ellipsoid({193, 229, 193}, NmPrimType::Short, 1.0f, 8000.0f);
        heads.model = ellipsoid({188, 256, 190}, NmPrimType::UnsignedChar, 0.88f, 250.0f);
      });
  return pair;
}

const HeadPair& warped() {
  static const HeadPair pair = load(
      "warped pair", "pairs/reference.nii.gz", "pairs/warped_model.nii.gz", [](HeadPair& heads) {
        heads.reference = ellipsoid({97, 115, 97}, NmPrimType::UnsignedShort, 2.0f, 4000.0f);
        heads.model = ellipsoid({97, 115, 97}, NmPrimType::UnsignedShort, 2.0f, 3000.0f);
      });
  return pair;
}

HeadPair scaled(const HeadPair& pair, float factor) {
  HeadPair result = pair;
  for (auto volume : {&HeadPair::reference, &HeadPair::model}) {
    const NmVec3l dims = (pair.*volume)->dims();
    const NmVec3f newDims(std::floor(factor * static_cast<float>(dims.x)),
                          std::floor(factor * static_cast<float>(dims.y)),
                          std::floor(factor * static_cast<float>(dims.z)));
    NmHandle<VlData> copy;
    RegResampler().doResample(pair.*volume, copy, newDims, nullptr, NmVec3f(),
                              RegResampler::Triangle, 0.0f, 1);
    result.*volume = copy;
  }
  return result;
}

}  // namespace headPair
