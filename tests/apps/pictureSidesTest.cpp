#include <png.h>

#include <cmath>

#include "pictures/PictureSheet.h"
#include "worldRamp.h"

namespace {

using host::NiftiVolume;
using host::Slice;

NiftiVolume volumeOf(const nifti_1_header& header) {
  const TestFolder folder("input");
  writeFile(folder.file("v.nii"), worldRamp::bytes(header));
  return host::readNifti(folder.file("v.nii"));
}

TEST(PictureSides, areThoseOfThePatientHoweverTheFileLies) {
  worldRamp::forEachOrientation([](const nifti_1_header& header, double) {
    const NiftiVolume volume = volumeOf(header);
    for (const Slice& slice : host::slicesThrough(NmVec3f(), volume, 40)) {
      // From the first to the last column; the world's x runs to the right, its y to the front.
      NmVec3d way(slice.right.x, slice.right.y, slice.right.z);
      volume.image.frame().toWorld.multDirMatrix(way, way);
      EXPECT_EQ(slice.sides, std::abs(way.x) > std::abs(way.y) ? (way.x > 0 ? "LR" : "RL")
                                                               : (way.y > 0 ? "PA" : "AP"));
    }
  });
}

TEST(PictureSides, stayUnmarkedWhereTheFileDoesNotTellThem) {
  nifti_1_header header = makeHeader(8, 8, 8, DT_FLOAT32, 32);
  header.sform_code = 0;
  EXPECT_EQ(host::sidesOf(volumeOf(header), 0), "");
  header.qform_code = 1;
  EXPECT_EQ(host::sidesOf(volumeOf(header), 0), "LR");
}

struct Picture {
  std::vector<unsigned char> pixels;
  int width;

  int whites(int left, int top, int columns, int rows) const {
    int count = 0;
    for (int y = top; y < top + rows; ++y)
      for (int x = left; x < left + columns; ++x)
        count += pixels[static_cast<std::size_t>(y * width + x)] == 255 ? 1 : 0;
    return count;
  }
};

Picture pictureIn(const std::string& path) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  EXPECT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0);
  image.format = PNG_FORMAT_GRAY;
  Picture picture = {std::vector<unsigned char>(PNG_IMAGE_SIZE(image)),
                     static_cast<int>(image.width)};
  EXPECT_NE(png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr), 0);
  return picture;
}

TEST(PictureSides, standInThePanels) {
  const TestFolder folder;
  const NiftiVolume volume = volumeOf(makeHeader(8, 8, 8, DT_FLOAT32, 32));
  const std::vector<Slice> slices = host::slicesThrough(NmVec3f(), volume, 80);
  host::PictureSheet sheet(slices, {"A"});
  for (const Slice& slice : slices) {
    sheet.panel(0, host::panelOf(slice, [](const NmVec3f&) { return 100; }));
    sheet.nextRow();
  }
  host::OutputFiles outputs;
  sheet.save(outputs, folder.file("p.png"));
  outputs.commit();
  const Picture picture = pictureIn(folder.file("p.png"));
  // Below a caption of 10 pixels and margins of 8, each panel has 81 x 81 pixels. A glyph paints
  // two by two pixels for each of its bits, of which L has 7, R 10, P 8 and A 10.
  const int bits[3][2] = {{7, 10}, {7, 10}, {8, 10}};
  for (int row = 0; row < 3; ++row)
    for (int side = 0; side < 2; ++side)
      EXPECT_EQ(picture.whites(8 + 40 * side, 26 + 89 * row, 40, 81), 4 * bits[row][side]);
}

}  // namespace
