#include "PictureSheet.h"

#include <algorithm>

namespace host {

namespace {

constexpr int margin = 8;  // pixels

}  // namespace

PictureSheet::PictureSheet(const std::vector<Slice>& slices,
                           const std::vector<std::string>& captions)
    : columnWidth_(0), top_(2 * margin + GreyImage::glyphHeight) {
  int height = top_;
  for (const Slice& slice : slices) {
    columnWidth_ = std::max(columnWidth_, slice.width + margin);
    height += slice.height + margin;
  }
  for (const std::string& caption : captions)
    columnWidth_ =
        std::max(columnWidth_, static_cast<int>(caption.size()) * GreyImage::glyphWidth + margin);
  constexpr std::uint8_t background = 40;
  image_ = GreyImage(left(captions.size()), height, background);
  for (std::size_t column = 0; column < captions.size(); ++column)
    image_.write(captions[column], left(column), margin);
}

int PictureSheet::left(std::size_t column) const {
  return margin + static_cast<int>(column) * columnWidth_;
}

void PictureSheet::nextRow(const Slice& slice) {
  top_ += slice.height + margin;
}

}  // namespace host
