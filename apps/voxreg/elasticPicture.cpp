#include "elasticPicture.h"

#include <algorithm>
#include <cmath>

#include "HostError.h"
#include "PictureSheet.h"
#include "intensity.h"
#include "subtraction.h"

namespace host {

namespace {

constexpr int longestSide = 240;  // pixels

/// Values of a volume at places in its frame; 0 outside.
class Sampler {
 public:
  explicit Sampler(const NiftiVolume& volume)
      : evaluator_(volume.data->createEvaluator(VlData::Trilinear)) {
    if (evaluator_ == nullptr) throw HostError("a volume cannot be sampled", HostError::failedRun);
  }

  float operator()(const NmVec3f& place) const {
    float value = 0.0f;
    if (evaluator_->setLocation(place)) evaluator_->value(&value);
    return value;
  }

 private:
  NmHandle<VlEvaluator> evaluator_;
};

/// `dark` and what is below becomes 0, `bright` and what is above 255.
int greyOf(float value, float dark, float bright) {
  const float share = bright > dark ? (value - dark) / (bright - dark) : 0.0f;
  return static_cast<int>(255.0f * (share > 0.0f ? std::min(share, 1.0f) : 0.0f));
}

void drawOutline(GreyImage& image, const Slice& slice, const ChestMask& mask) {
  for (int y = 0; y + 1 < slice.height; ++y)
    for (int x = 0; x + 1 < slice.width; ++x) {
      const bool here = mask.holds(slice.place(x, y));
      if (here != mask.holds(slice.place(x + 1, y)) || here != mask.holds(slice.place(x, y + 1)))
        image.at(x, y) = 255;
    }
}

/// Means of blocks of voxels, so that noise does not count as uptake.
class BlockMeans {
 public:
  explicit BlockMeans(const NiftiVolume& volume) : box_(volume.frame.box) {
    constexpr float blockLength = 8.0f;  // millimetres
    const NmVec3f voxel = volume.data->voxelSpacing();
    for (int a = 0; a < 3; ++a) {
      voxels_[a] = std::max(1L, std::lround(blockLength / std::max(voxel[a], 0.01f)));
      blocks_[a] = (volume.frame.dims[a] + voxels_[a] - 1) / voxels_[a];
      length_[a] = static_cast<float>(voxels_[a]) * voxel[a];
    }
    means_.resize(static_cast<std::size_t>(blocks_[0] * blocks_[1] * blocks_[2]));
    std::vector<long> counts(means_.size());
    forEachRow(*volume.data, [&](long y, long z, const float* row) {
      for (long x = 0; x < volume.frame.dims.x; ++x) {
        const std::size_t block = indexOf(x / voxels_[0], y / voxels_[1], z / voxels_[2]);
        means_[block] += static_cast<double>(row[x]);
        ++counts[block];
      }
    });
    for (std::size_t i = 0; i < means_.size(); ++i) means_[i] /= static_cast<double>(counts[i]);
  }

  /// The middle of the block of the largest mean outside the mask; the volume's middle if there is
  /// none.
  NmVec3f largestOutside(const std::optional<ChestMask>& mask) const {
    NmVec3f best = middleOf(box_);
    double largest = 0.0;
    for (long z = 0; z < blocks_[2]; ++z)
      for (long y = 0; y < blocks_[1]; ++y)
        for (long x = 0; x < blocks_[0]; ++x) {
          const NmVec3f middle = middleOfBlock(x, y, z);
          if (!(means_[indexOf(x, y, z)] > largest) || (mask && mask->holds(middle))) continue;
          largest = means_[indexOf(x, y, z)];
          best = middle;
        }
    return best;
  }

 private:
  std::size_t indexOf(long x, long y, long z) const {
    return static_cast<std::size_t>(x + blocks_[0] * (y + blocks_[1] * z));
  }
  NmVec3f middleOfBlock(long x, long y, long z) const {
    const long place[3] = {x, y, z};
    NmVec3f middle;
    for (int a = 0; a < 3; ++a)
      middle[a] =
          std::min(box_.min(a) + (static_cast<float>(place[a]) + 0.5f) * length_[a], box_.max(a));
    return middle;
  }

  NmBox3f box_;
  long voxels_[3];
  long blocks_[3];
  float length_[3];
  std::vector<double> means_;
};

}  // namespace

ElasticVolumes elasticVolumes(const NiftiVolume& reference, const NiftiVolume& model,
                              const GridTransform& transform, const Sampling& sampling) {
  const NiftiVolume registered =
      resampled(reference, model, placeMap(transform, reference, model), sampling);
  return {reference, model, registered, subtraction(registered, reference)};
}

void writeElasticPicture(OutputFiles& outputs, const std::string& path,
                         const ElasticVolumes& volumes, const std::optional<ChestMask>& mask) {
  const float dark = percentile(*volumes.reference.data, 0.01);
  const float bright = percentile(*volumes.reference.data, 0.99);
  const float half = 0.5f * (bright - dark);
  const Sampler reference(volumes.reference);
  const Sampler model(volumes.model);
  const Sampler registered(volumes.registered);
  const std::vector<Slice> slices = slicesThrough(
      BlockMeans(volumes.subtraction).largestOutside(mask), volumes.reference, longestSide);
  PictureSheet sheet(slices, {"REFERENCE", "MODEL", "REGISTERED MODEL", "SUBTRACTION BEFORE",
                              "SUBTRACTION AFTER"});
  for (const Slice& slice : slices) {
    std::size_t column = 0;
    const auto addPanel = [&](const auto& grey) {
      GreyImage panel = panelOf(slice, grey);
      if (mask) drawOutline(panel, slice, *mask);
      sheet.panel(column++, panel);
    };
    for (const Sampler* volume : {&reference, &model, &registered})
      addPanel([&](const NmVec3f& place) { return greyOf((*volume)(place), dark, bright); });
    for (const Sampler* volume : {&model, &registered})
      addPanel([&](const NmVec3f& place) {
        return greyOf((*volume)(place)-reference(place), -half, half);
      });
    sheet.nextRow();
  }
  sheet.save(outputs, path);
}

}  // namespace host
