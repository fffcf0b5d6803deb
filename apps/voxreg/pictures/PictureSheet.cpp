#include "pictures/PictureSheet.h"

#include <algorithm>

namespace host {

namespace {

constexpr int margin = 8;  // pixels

/// A letter on a black background, centred on a panel's side, if there is room for it.
void drawMarks(GreyImage& panel, const std::string& sides) {
  constexpr int gap = 2;
  constexpr int width = GreyImage::glyphWidth + gap;
  constexpr int height = GreyImage::glyphHeight + 2 * gap;
  if (sides.empty() || panel.width() < 4 * width || panel.height() < height) return;
  const int top = (panel.height() - height) / 2;
  const int lefts[] = {0, panel.width() - width};
  for (std::size_t i = 0; i < sides.size(); ++i) {
    panel.paste(GreyImage(width, height, 0), lefts[i], top);
    panel.write(sides.substr(i, 1), lefts[i] + gap, top + gap);
  }
}

}  // namespace

PictureSheet::PictureSheet(const std::vector<Slice>& slices,
                           const std::vector<std::string>& captions)
    : slices_(slices), columnWidth_(0), top_(2 * margin + GreyImage::glyphHeight) {
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

void PictureSheet::panel(std::size_t column, const GreyImage& part) {
  GreyImage marked = part;
  drawMarks(marked, slices_[row_].sides);
  image_.paste(marked, left(column), top_);
}

void PictureSheet::nextRow() {
  top_ += slices_[row_++].height + margin;
}

}  // namespace host
