#include "pictures/picture.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "pictures/PictureSheet.h"
#include "terminal/HostError.h"

namespace host {

namespace {

constexpr int longestSide = 240;  // pixels
constexpr int checkerSide = 30;

/// A volume as the picture shows it: grey values at positions in the reference's frame.
class View {
 public:
  explicit View(const NiftiVolume& volume)
      : sampler_(volume.image.volume()->createEvaluator(VlData::Trilinear)) {
    if (sampler_ == nullptr) throw HostError("a volume cannot be sampled", HostError::failedRun);
    const std::vector<float> range = voxreg::percentiles(*volume.image.volume(), {0.01, 0.99});
    dark_ = range[0];
    bright_ = range[1];
  }

  void setMap(const voxreg::PointMap& map) { map_ = map; }

  /// From 0 to 255; 0 outside the volume.
  int grey(const NmVec3f& place) const {
    float value = dark_;
    if (sampler_->setLocation(map_(place))) sampler_->value(&value);
    const float share = bright_ > dark_ ? (value - dark_) / (bright_ - dark_) : 0.0f;
    return static_cast<int>(255.0f * (share > 0.0f ? std::min(share, 1.0f) : 0.0f));
  }

 private:
  NmHandle<VlEvaluator> sampler_;
  voxreg::PointMap map_;
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

/// True if a line of the model, one every `gap` millimetres, passes between a pixel and its
/// neighbour to the right or below.
bool crossesLine(const voxreg::PointMap& map, const Slice& slice, int x, int y, float gap) {
  const NmVec3f here = map(slice.place(x, y));
  for (const NmVec3f& there : {map(slice.place(x + 1, y)), map(slice.place(x, y + 1))})
    for (int a = 0; a < 3; ++a) {
      const bool liesInSlice = slice.right[a] != 0.0f || slice.down[a] != 0.0f;
      if (liesInSlice && std::floor(here[a] / gap) != std::floor(there[a] / gap)) return true;
    }
  return false;
}

GreyImage deformedGrid(const Slice& slice, const voxreg::PointMap& map) {
  constexpr float pixelsBetweenLines = 12.0f;
  const float gap = pixelsBetweenLines * slice.pixel();
  GreyImage image(slice.width, slice.height, 0);
  for (int y = 0; y < slice.height; ++y)
    for (int x = 0; x < slice.width; ++x)
      image.at(x, y) = crossesLine(map, slice, x, y, gap) ? 255 : 0;
  return image;
}

/// By differences over a pixel.
double jacobianAt(const voxreg::PointMap& map, const NmVec3f& place, float pixel) {
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

GreyImage jacobianMap(const Slice& slice, const voxreg::PointMap& map) {
  return panelOf(slice, [&](const NmVec3f& place) {
    return std::clamp(128.0 * jacobianAt(map, place, slice.pixel()), 0.0, 255.0);
  });
}

}  // namespace

void writePicture(OutputFiles& outputs, const std::string& path, const NiftiVolume& reference,
                  const NiftiVolume& model, const BeforeAndAfter& transforms, MapPanels panels) {
  std::vector<std::string> captions = {"CHECKERBOARD BEFORE", "CHECKERBOARD AFTER",
                                       "DIFFERENCE BEFORE", "DIFFERENCE AFTER"};
  const bool showsMap = panels == MapPanels::shown;
  if (showsMap) captions.insert(captions.end(), {"DEFORMED GRID", "JACOBIAN"});
  const voxreg::PointMap before(transforms.before, reference.image, model.image);
  const voxreg::PointMap after(transforms.after, reference.image, model.image);
  const View referenceView(reference);
  View modelView(model);
  const std::vector<Slice> slices =
      slicesThrough(middleOf(reference.image.frame().box), reference, longestSide);
  PictureSheet sheet(slices, captions);
  for (const Slice& slice : slices) {
    std::size_t column = 0;
    for (const voxreg::PointMap& map : {before, after}) {
      modelView.setMap(map);
      sheet.panel(column, checkerboard(slice, referenceView, modelView));
      sheet.panel(column + 2, difference(slice, referenceView, modelView));
      ++column;
    }
    if (showsMap) {
      sheet.panel(4, deformedGrid(slice, after));
      sheet.panel(5, jacobianMap(slice, after));
    }
    sheet.nextRow();
  }
  sheet.save(outputs, path);
}

}  // namespace host
