#pragma once

#include "pictures/GreyImage.h"
#include "pictures/slices.h"

namespace host {

/// A picture with a row of panels for each slice, and a caption above each column. Letters mark the
/// sides of the patient.
class PictureSheet {
 public:
  PictureSheet(const std::vector<Slice>& slices, const std::vector<std::string>& captions);

  /// Adds a panel to the current row.
  void panel(std::size_t column, const GreyImage& part);
  void nextRow();
  void save(OutputFiles& outputs, const std::string& path) const { image_.save(outputs, path); }

 private:
  int left(std::size_t column) const;

  std::vector<Slice> slices_;
  std::size_t row_ = 0;
  int columnWidth_;
  int top_;
  GreyImage image_{0, 0, 0};
};

/// A panel whose pixels are `grey` (0 to 255) of their positions.
template <class Grey>
GreyImage panelOf(const Slice& slice, const Grey& grey) {
  GreyImage image(slice.width, slice.height, 0);
  for (int y = 0; y < slice.height; ++y)
    for (int x = 0; x < slice.width; ++x)
      image.at(x, y) = static_cast<std::uint8_t>(grey(slice.place(x, y)));
  return image;
}

}  // namespace host
