#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files/OutputFiles.h"

namespace host {

/// An 8-bit grey picture, rows from top to bottom.
class GreyImage {
 public:
  GreyImage(int width, int height, std::uint8_t grey)
      : width_(width),
        height_(height),
        pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), grey) {}

  int width() const { return width_; }
  int height() const { return height_; }
  std::uint8_t& at(int x, int y) { return pixels_[index(x, y)]; }
  std::uint8_t at(int x, int y) const { return pixels_[index(x, y)]; }

  /// Copies a picture that fits entirely into this one.
  void paste(const GreyImage& part, int left, int top);

  /// Writes capital letters and spaces in white, `glyphHeight` pixels tall.
  void write(const std::string& text, int left, int top);
  static constexpr int glyphHeight = 10;
  static constexpr int glyphWidth = 8;  ///< four pixels, each drawn two wide

  /// Writes a PNG file, or throws HostError.
  void save(OutputFiles& outputs, const std::string& path) const;

 private:
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
           static_cast<std::size_t>(x);
  }
  void drawGlyph(unsigned int rows, int left, int top);

  int width_;
  int height_;
  std::vector<std::uint8_t> pixels_;
};

/// Throws HostError unless `path` names a picture that can be written.
void requireWritablePicture(const std::string& path);

}  // namespace host
