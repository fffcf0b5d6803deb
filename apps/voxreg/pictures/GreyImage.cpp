#include "pictures/GreyImage.h"

#include <png.h>

#include <cstdio>

#include "terminal/HostError.h"

namespace host {

namespace {

struct Glyph {
  char letter;
  unsigned int rows;  ///< five rows of three pixels, one octal digit per row, from the top
};

// The letters of the captions.
constexpr Glyph glyphs[] = {
    {'A', 025755}, {'B', 065656}, {'C', 034443}, {'D', 065556}, {'E', 074647},
    {'F', 074644}, {'G', 034553}, {'H', 055755}, {'I', 072227}, {'J', 011152},
    {'K', 055655}, {'L', 044447}, {'M', 057755}, {'N', 065555}, {'O', 025552},
    {'P', 065644}, {'R', 065655}, {'S', 034216}, {'T', 072222}, {'U', 055557},
};

}  // namespace

void GreyImage::paste(const GreyImage& part, int left, int top) {
  for (int y = 0; y < part.height(); ++y)
    for (int x = 0; x < part.width(); ++x) at(left + x, top + y) = part.at(x, y);
}

void GreyImage::drawGlyph(unsigned int rows, int left, int top) {
  constexpr int columns = 3;
  for (int y = 0; y < glyphHeight; ++y)
    for (int x = 0; x < 2 * columns; ++x) {
      const int bit = (glyphHeight / 2 - 1 - y / 2) * columns + (columns - 1 - x / 2);
      if ((rows >> bit & 1u) != 0) at(left + x, top + y) = 255;
    }
}

void GreyImage::write(const std::string& text, int left, int top) {
  for (const char letter : text) {
    for (const Glyph& glyph : glyphs)
      if (glyph.letter == letter) drawGlyph(glyph.rows, left, top);
    left += glyphWidth;
  }
}

void GreyImage::save(OutputFiles& outputs, const std::string& path) const {
  png_image png = {};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(width_);
  png.height = static_cast<png_uint_32>(height_);
  png.format = PNG_FORMAT_GRAY;
  std::FILE* const file = std::fopen(outputs.add(path).c_str(), "wb");
  if (file == nullptr) OutputFiles::fail(path);
  const bool written = png_image_write_to_stdio(&png, file, 0, pixels_.data(), 0, nullptr) != 0;
  if (std::fclose(file) != 0 || !written) OutputFiles::fail(path);
}

void requireWritablePicture(const std::string& path) {
  if (!path.ends_with(".png"))
    throw HostError("cannot write " + path + ": its name does not end in .png");
  OutputFiles::requireWritable(path);
}

}  // namespace host
