#include "picture.h"

#include <algorithm>

#include "HostError.h"
#include "PictureSheet.h"
#include "intensity.h"
#include "resampled.h"

namespace host {

namespace {

constexpr int longestSide = 240;  // pixels
constexpr int checkerSide = 30;

/// A volume as the picture sees it: grey values of places in the reference's frame.
class View {
 public:
  View(const NiftiVolume& volume, const NmMat4d& fromReference)
      : sampler_(volume.data->createEvaluator(VlData::Trilinear)), fromReference_(fromReference) {
    if (sampler_ == nullptr) throw HostError("a volume cannot be sampled", HostError::failedRun);
    dark_ = percentile(*volume.data, 0.01);
    bright_ = percentile(*volume.data, 0.99);
  }

  void setMatrix(const NmMat4d& fromReference) { fromReference_ = fromReference; }

  /// From 0 to 255; 0 outside the volume.
  int grey(NmVec3f place) const {
    fromReference_.multVecMatrix(place, place);
    float value = dark_;
    if (sampler_->setLocation(place)) sampler_->value(&value);
    const float share = bright_ > dark_ ? (value - dark_) / (bright_ - dark_) : 0.0f;
    return static_cast<int>(255.0f * (share > 0.0f ? std::min(share, 1.0f) : 0.0f));
  }

 private:
  NmHandle<VlEvaluator> sampler_;
  NmMat4d fromReference_;
  float dark_ = 0.0f;
  float bright_ = 0.0f;
};

GreyImage checkerboard(const Slice& slice, const View& reference, const View& model) {
  GreyImage image(slice.width, slice.height, 0);
  for (int y = 0; y < slice.height; ++y)
    for (int x = 0; x < slice.width; ++x) {
      const bool even = (x / checkerSide + y / checkerSide) % 2 == 0;
      image.at(x, y) =
          static_cast<std::uint8_t>((even ? reference : model).grey(slice.place(x, y)));
    }
  return image;
}

GreyImage difference(const Slice& slice, const View& reference, const View& model) {
  return panelOf(slice, [&](const NmVec3f& place) {
    return (255 + reference.grey(place) - model.grey(place)) / 2;
  });
}

}  // namespace

void writePicture(const std::string& path, const NiftiVolume& reference, const NiftiVolume& model,
                  const BeforeAndAfter& matrices) {
  const View referenceView(reference, NmMat4d());
  View modelView(model, NmMat4d());
  const std::vector<Slice> slices =
      slicesThrough(middleOf(reference.frame.box), reference.frame, longestSide);
  PictureSheet sheet(slices, {"CHECKERBOARD BEFORE", "CHECKERBOARD AFTER", "DIFFERENCE BEFORE",
                              "DIFFERENCE AFTER"});
  for (const Slice& slice : slices) {
    std::size_t column = 0;
    for (const NmMat4d& matrix : {matrices.before, matrices.after}) {
      modelView.setMatrix(worldToFrames(matrix, reference, model).inverse());
      sheet.panel(column, checkerboard(slice, referenceView, modelView));
      sheet.panel(column + 2, difference(slice, referenceView, modelView));
      ++column;
    }
    sheet.nextRow(slice);
  }
  sheet.save(path);
}

}  // namespace host
