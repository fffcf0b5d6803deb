#include "picture.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "GreyImage.h"
#include "HostError.h"
#include "intensity.h"
#include "resampled.h"

namespace host {

namespace {

constexpr int longestSide = 240;  // pixels
constexpr int checkerSide = 30;
constexpr int margin = 8;

/// A middle slice of the reference as a raster of square pixels: the first pixel's place in the
/// reference's frame and the steps to its neighbours. Rows run from the top of the axis downwards.
struct Slice {
  int width;
  int height;
  NmVec3f corner;
  NmVec3f right;
  NmVec3f down;

  NmVec3f place(int x, int y) const {
    NmVec3f point;
    for (int a = 0; a < 3; ++a)
      point[a] = corner[a] + static_cast<float>(x) * right[a] + static_cast<float>(y) * down[a];
    return point;
  }
};

Slice middleSlice(const NmBox3f& box, int normal, float pixel) {
  const int across = normal == 0 ? 1 : 0;
  const int up = normal == 2 ? 1 : 2;
  const auto pixels = [&](int axis) { return static_cast<int>(box.extent(axis) / pixel) + 1; };
  Slice slice = {pixels(across), pixels(up), {}, {}, {}};
  slice.corner[normal] = 0.5f * (box.min(normal) + box.max(normal));
  slice.corner[across] = box.min(across);
  slice.corner[up] = box.max(up);
  slice.right[across] = pixel;
  slice.down[up] = -pixel;
  return slice;
}

std::vector<Slice> middleSlices(const VolumeFrame& frame) {
  float longest = 0.0f;
  int flat = 3;
  for (int a = 0; a < 3; ++a) {
    longest = std::max(longest, frame.box.extent(a));
    if (frame.dims[a] == 1) flat = a;
  }
  std::vector<Slice> slices;
  for (const int normal : {2, 1, 0})
    if (flat == 3 || flat == normal)
      slices.push_back(middleSlice(frame.box, normal, longest / longestSide));
  return slices;
}

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
  GreyImage image(slice.width, slice.height, 0);
  for (int y = 0; y < slice.height; ++y)
    for (int x = 0; x < slice.width; ++x) {
      const NmVec3f place = slice.place(x, y);
      image.at(x, y) =
          static_cast<std::uint8_t>((255 + reference.grey(place) - model.grey(place)) / 2);
    }
  return image;
}

/// Four panels for each slice, with their captions above.
class Layout {
 public:
  explicit Layout(const std::vector<Slice>& slices) : top_(2 * margin + GreyImage::glyphHeight) {
    int height = top_;
    for (const Slice& slice : slices) {
      columnWidth_ = std::max(columnWidth_, slice.width + margin);
      height += slice.height + margin;
    }
    columnWidth_ = std::max(columnWidth_, longestCaption);
    image_ = GreyImage(margin + 4 * columnWidth_, height, 40);
  }

  void caption(int column, const std::string& text) { image_.write(text, left(column), margin); }
  void panel(int column, const GreyImage& part) { image_.paste(part, left(column), top_); }
  void nextRow(const Slice& slice) { top_ += slice.height + margin; }
  const GreyImage& image() const { return image_; }

 private:
  static constexpr int longestCaption = 168;
  int left(int column) const { return margin + column * columnWidth_; }

  int columnWidth_ = 0;
  int top_;
  GreyImage image_{0, 0, 0};
};

}  // namespace

void writePicture(const std::string& path, const NiftiVolume& reference, const NiftiVolume& model,
                  const BeforeAndAfter& matrices) {
  const View referenceView(reference, NmMat4d());
  View modelView(model, NmMat4d());
  const std::vector<Slice> slices = middleSlices(reference.frame);
  Layout layout(slices);
  layout.caption(0, "CHECKERBOARD BEFORE");
  layout.caption(1, "CHECKERBOARD AFTER");
  layout.caption(2, "DIFFERENCE BEFORE");
  layout.caption(3, "DIFFERENCE AFTER");
  for (const Slice& slice : slices) {
    int column = 0;
    for (const NmMat4d& matrix : {matrices.before, matrices.after}) {
      modelView.setMatrix(worldToFrames(matrix, reference, model).inverse());
      layout.panel(column, checkerboard(slice, referenceView, modelView));
      layout.panel(column + 2, difference(slice, referenceView, modelView));
      ++column;
    }
    layout.nextRow(slice);
  }
  layout.image().save(path);
}

}  // namespace host
