#include "pictures/elasticPicture.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "files/subtraction.h"
#include "pictures/PictureSheet.h"
#include "terminal/HostError.h"

namespace host {

namespace {

constexpr int longestSide = 240;  // pixels

/// Values of a volume at positions in its frame; 0 outside.
class Sampler {
 public:
  explicit Sampler(const NiftiVolume& volume)
      : evaluator_(volume.image.volume()->createEvaluator(VlData::Trilinear)) {
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

/// Maps `dark` and below to 0, `bright` and above to 255.
int greyOf(float value, float dark, float bright) {
  const float share = bright > dark ? (value - dark) / (bright - dark) : 0.0f;
  return static_cast<int>(255.0f * (share > 0.0f ? std::min(share, 1.0f) : 0.0f));
}

void drawOutline(GreyImage& image, const Slice& slice, const voxreg::ChestMask& mask) {
  for (int y = 0; y + 1 < slice.height; ++y)
    for (int x = 0; x + 1 < slice.width; ++x) {
      const bool here = mask.holds(slice.place(x, y));
      if (here != mask.holds(slice.place(x + 1, y)) || here != mask.holds(slice.place(x, y + 1)))
        image.at(x, y) = 255;
    }
}

/// The centre of the block with the largest mean outside the mask; the volume's centre if there is
/// none. Blocks keep noise from counting as uptake.
NmVec3f strongestUptake(const NiftiVolume& subtraction,
                        const std::optional<voxreg::ChestMask>& mask) {
  constexpr float blockLength = 8.0f;  // millimetres
  const voxreg::BlockMeans blocks(*subtraction.image.volume(), blockLength);
  const NmVec3l& n = blocks.counts();
  NmVec3f best = middleOf(subtraction.image.frame().box);
  double largest = 0.0;
  for (long z = 0; z < n.z; ++z)
    for (long y = 0; y < n.y; ++y)
      for (long x = 0; x < n.x; ++x) {
        const double mean = blocks.mean({x, y, z});
        const NmVec3f middle = blocks.middle({x, y, z});
        if (!(mean > largest) || (mask && mask->holds(middle))) continue;
        largest = mean;
        best = middle;
      }
  return best;
}

}  // namespace

ElasticVolumes elasticVolumes(const NiftiVolume& reference, const NiftiVolume& model,
                              const voxreg::Transform& transform,
                              const voxreg::ResampleOptions& options) {
  const NiftiVolume registered = resampled(reference, model, transform, options);
  return {reference, model, registered, subtraction(registered, reference)};
}

void writeElasticPicture(OutputFiles& outputs, const std::string& path,
                         const ElasticVolumes& volumes,
                         const std::optional<voxreg::ChestMask>& mask) {
  const std::vector<float> range =
      voxreg::percentiles(*volumes.reference.image.volume(), {0.01, 0.99});
  const float dark = range[0];
  const float bright = range[1];
  const float half = 0.5f * (bright - dark);
  const Sampler reference(volumes.reference);
  const Sampler model(volumes.model);
  const Sampler registered(volumes.registered);
  const std::vector<Slice> slices =
      slicesThrough(strongestUptake(volumes.subtraction, mask), volumes.reference, longestSide);
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
