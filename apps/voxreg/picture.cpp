#include "picture.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "GreyImage.h"
#include "HostError.h"
#include "intensity.h"

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

  float pixel() const { return std::max({right[0], right[1], right[2]}); }

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

NmVec3f samePlace(const NmVec3f& place) {
  return place;
}

/// A volume as the picture sees it: grey values of places in the reference's frame.
class View {
 public:
  explicit View(const NiftiVolume& volume)
      : sampler_(volume.data->createEvaluator(VlData::Trilinear)), map_(samePlace) {
    if (sampler_ == nullptr) throw HostError("a volume cannot be sampled", HostError::failedRun);
    dark_ = percentile(*volume.data, 0.01);
    bright_ = percentile(*volume.data, 0.99);
  }

  void setMap(const PlaceMap& map) { map_ = map; }

  /// From 0 to 255; 0 outside the volume.
  int grey(const NmVec3f& place) const {
    float value = dark_;
    if (sampler_->setLocation(map_(place))) sampler_->value(&value);
    const float share = bright_ > dark_ ? (value - dark_) / (bright_ - dark_) : 0.0f;
    return static_cast<int>(255.0f * (share > 0.0f ? std::min(share, 1.0f) : 0.0f));
  }

 private:
  NmHandle<VlEvaluator> sampler_;
  PlaceMap map_;
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

/// True where a line of the model, one every `gap` millimetres, runs between a pixel and one of its
/// neighbours to the right and below.
bool crossesLine(const PlaceMap& map, const Slice& slice, int x, int y, float gap) {
  const NmVec3f here = map(slice.place(x, y));
  for (const NmVec3f& there : {map(slice.place(x + 1, y)), map(slice.place(x, y + 1))})
    for (int a = 0; a < 3; ++a) {
      const bool liesInSlice = slice.right[a] != 0.0f || slice.down[a] != 0.0f;
      if (liesInSlice && std::floor(here[a] / gap) != std::floor(there[a] / gap)) return true;
    }
  return false;
}

GreyImage deformedGrid(const Slice& slice, const PlaceMap& map) {
  constexpr float pixelsBetweenLines = 12.0f;
  const float gap = pixelsBetweenLines * slice.pixel();
  GreyImage image(slice.width, slice.height, 0);
  for (int y = 0; y < slice.height; ++y)
    for (int x = 0; x < slice.width; ++x)
      image.at(x, y) = crossesLine(map, slice, x, y, gap) ? 255 : 0;
  return image;
}

/// By differences over a pixel.
double jacobianAt(const PlaceMap& map, const NmVec3f& place, float pixel) {
  NmMat4d jacobian;
  for (int axis = 0; axis < 3; ++axis) {
    NmVec3f low = place;
    NmVec3f high = place;
    low[axis] -= 0.5f * pixel;
    high[axis] += 0.5f * pixel;
    const NmVec3f from = map(low);
    const NmVec3f to = map(high);
    for (int c = 0; c < 3; ++c)
      jacobian.m[axis][c] = static_cast<double>(to[c] - from[c]) / static_cast<double>(pixel);
  }
  return jacobian.det3();
}

GreyImage jacobianMap(const Slice& slice, const PlaceMap& map) {
  GreyImage image(slice.width, slice.height, 0);
  for (int y = 0; y < slice.height; ++y)
    for (int x = 0; x < slice.width; ++x) {
      const double determinant = jacobianAt(map, slice.place(x, y), slice.pixel());
      image.at(x, y) = static_cast<std::uint8_t>(std::clamp(128.0 * determinant, 0.0, 255.0));
    }
  return image;
}

/// A row of panels for each slice, with their captions above.
class Layout {
 public:
  Layout(const std::vector<Slice>& slices, int columns)
      : top_(2 * margin + GreyImage::glyphHeight) {
    int height = top_;
    for (const Slice& slice : slices) {
      columnWidth_ = std::max(columnWidth_, slice.width + margin);
      height += slice.height + margin;
    }
    columnWidth_ = std::max(columnWidth_, longestCaption);
    image_ = GreyImage(margin + columns * columnWidth_, height, 40);
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
                  const BeforeAndAfter& maps, MapPanels panels) {
  const char* const captions[] = {"CHECKERBOARD BEFORE", "CHECKERBOARD AFTER", "DIFFERENCE BEFORE",
                                  "DIFFERENCE AFTER",    "DEFORMED GRID",      "JACOBIAN"};
  const bool showsMap = panels == MapPanels::shown;
  const int columns = showsMap ? 6 : 4;
  const View referenceView(reference);
  View modelView(model);
  const std::vector<Slice> slices = middleSlices(reference.frame);
  Layout layout(slices, columns);
  for (int column = 0; column < columns; ++column) layout.caption(column, captions[column]);
  for (const Slice& slice : slices) {
    int column = 0;
    for (const PlaceMap& map : {maps.before, maps.after}) {
      modelView.setMap(map);
      layout.panel(column, checkerboard(slice, referenceView, modelView));
      layout.panel(column + 2, difference(slice, referenceView, modelView));
      ++column;
    }
    if (showsMap) {
      layout.panel(4, deformedGrid(slice, maps.after));
      layout.panel(5, jacobianMap(slice, maps.after));
    }
    layout.nextRow(slice);
  }
  layout.image().save(path);
}

}  // namespace host
