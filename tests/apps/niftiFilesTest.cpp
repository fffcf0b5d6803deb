#include <nifti2_io.h>

#include <cmath>
#include <limits>

#include "complaintOf.h"
#include "saved.h"
#include "testFiles.h"
#include "tests/support/volumeValues.h"

namespace {

using host::NiftiVolume;

/// A NIfTI-2 header, made without the code under test.
nifti_2_header makeHeader2(std::int64_t nx, std::int64_t ny, std::int64_t nz) {
  nifti_2_header header = {};
  header.sizeof_hdr = 540;
  std::memcpy(header.magic, "n+2\0\r\n\032\n", sizeof header.magic);
  const std::int64_t dims[8] = {3, nx, ny, nz, 1, 1, 1, 1};
  std::memcpy(static_cast<void*>(header.dim), dims, sizeof dims);
  header.datatype = DT_INT16;
  header.bitpix = 16;
  header.vox_offset = 544;
  header.sform_code = 1;
  header.srow_x[0] = header.srow_y[1] = header.srow_z[2] = 1.0;
  return header;
}

const std::vector<short> six = {1, 2, 3, 4, 5, 6};

void expectSix(const std::string& path) {
  SCOPED_TRACE(path);
  ASSERT_EQ(complaintOf(path), "");
  const NiftiVolume volume = host::readNifti(path);
  EXPECT_EQ(volume.image.dims(), NmVec3l(3, 2, 1));
  EXPECT_EQ(valuesOf(*volume.image.volume()), (std::vector<float>{1, 2, 3, 4, 5, 6}));
}

TEST(NiftiFiles, bothVersionsAreReadInBothByteOrders) {
  const TestFolder folder;
  nifti_1_header first = makeHeader(2, 1, 1, DT_INT16, 16);
  nifti_2_header second = makeHeader2(2, 1, 1);
  swap_nifti_header(&first, 1);
  swap_nifti_header(&second, 2);
  writeFile(folder.file("1.nii"), bytesOf(first, std::vector<short>{0x0102, 0x0304}));
  writeFile(folder.file("2.nii"), bytesOf(second, std::vector<short>{0x0102, 0x0304}));
  for (const char* const name : {"1.nii", "2.nii"})
    EXPECT_EQ(valuesOf(*host::readNifti(folder.file(name)).image.volume()),
              (std::vector<float>{0x0201, 0x0403}));
  writeFile(folder.file("plain.nii"), bytesOf(makeHeader2(3, 2, 1), six));
  expectSix(folder.file("plain.nii"));
}

TEST(NiftiFiles, whatComesFromVersion2IsWrittenSoToTheLastDigit) {
  const TestFolder folder;
  nifti_2_header header = makeHeader2(3, 2, 1);
  header.srow_x[3] = 1.0 / 3.0;
  header.scl_slope = 0.1;
  writeFile(folder.file("in.nii"), bytesOf(header, six));
  const NiftiVolume volume = host::readNifti(folder.file("in.nii"));
  EXPECT_FLOAT_EQ(valuesOf(*volume.image.volume())[5], 0.6f);
  saved(host::writeNifti, folder.file("out.nii"), volume);
  const std::string written = contentOf(folder.file("out.nii"));
  nifti_2_header found = {};
  ASSERT_EQ(written.size(), sizeof found + 4 + 6 * sizeof(float));
  std::memcpy(static_cast<void*>(&found), written.data(), sizeof found);
  EXPECT_EQ(std::memcmp(found.magic, header.magic, sizeof found.magic), 0);
  EXPECT_EQ(found.vox_offset + 0, 544);
  EXPECT_EQ(found.srow_x[3] + 0, 1.0 / 3.0);

  // No header of version 1 has room for so many.
  const NmBox3f line(0, 40000, 0, 1, 0, 1);
  saved(host::writeNifti, folder.file("long.nii.gz"),
        host::newVolume(NmVec3l(40001, 1, 1), line, NmPrimType::UnsignedChar));
  EXPECT_EQ(host::readNifti(folder.file("long.nii.gz")).image.dims(), NmVec3l(40001, 1, 1));
}

TEST(NiftiFiles, furtherAxesOfOneVoxelAreNoneAndUnusedOnesDoNotCount) {
  const TestFolder folder;
  for (short dimensions = 2; dimensions <= 7; ++dimensions) {
    nifti_1_header header = makeHeader(3, 2, 1, DT_INT16, 16);
    header.dim[0] = dimensions;
    for (int a = dimensions + 1; a <= 7; ++a) header.dim[a] = -5;
    writeFile(folder.file("in.nii"), bytesOf(header, six));
    expectSix(folder.file("in.nii"));
    saved(host::writeNifti, folder.file("out.nii"), host::readNifti(folder.file("in.nii")));
    short written[8];
    std::memcpy(written, contentOf(folder.file("out.nii")).data() + 40, sizeof written);
    EXPECT_LE(written[0], 3);
  }
  nifti_1_header header = makeHeader(3, 2, 1, DT_INT16, 16);
  header.dim[0] = 5;
  header.dim[4] = 3;
  header.dim[5] = 10;
  writeFile(folder.file("in.nii"), bytesOf(header, std::vector<short>(180)));
  EXPECT_NE(complaintOf(folder.file("in.nii")).find("holds 30 volumes"), std::string::npos);
}

TEST(NiftiFiles, pairsAreReadByEitherName) {
  nifti_1_header header = makeHeader(3, 2, 1, DT_INT16, 16);
  std::memcpy(header.magic, "ni1", 4);
  header.vox_offset = 4;
  const std::string headerBytes(reinterpret_cast<const char*>(&header), sizeof header);
  const std::string voxels = bytesOf(header, six).substr(348);
  for (const std::string headerEnd : {".hdr", ".hdr.gz"})
    for (const std::string imageEnd : {".img", ".img.gz"}) {
      const TestFolder folder;
      const auto write = [&](const std::string& end, const std::string& bytes) {
        (end.ends_with(".gz") ? writeCompressed : writeFile)(folder.file("a.b" + end), bytes);
      };
      write(headerEnd, headerBytes);
      EXPECT_NE(complaintOf(folder.file("a.b" + headerEnd)).find("lacks its .img"),
                std::string::npos);
      write(imageEnd, voxels);
      expectSix(folder.file("a.b" + headerEnd));
      expectSix(folder.file("a.b" + imageEnd));
      std::filesystem::remove(folder.file("a.b" + headerEnd));
      EXPECT_NE(complaintOf(folder.file("a.b" + imageEnd)).find("lacks its .hdr"),
                std::string::npos);
    }
}

class DamagedFiles : public testing::Test {
 protected:
  void expect(const std::string& name, const std::string& bytes, const std::string& complaint) {
    writeFile(folder.file(name), bytes);
    EXPECT_NE(complaintOf(folder.file(name)).find(complaint), std::string::npos)
        << complaintOf(folder.file(name)) << " instead of " << complaint;
  }

  const TestFolder folder;
};

TEST_F(DamagedFiles, areCalledWhatTheyAre) {
  const nifti_1_header header = makeHeader(20, 20, 20, DT_INT16, 16);
  std::vector<short> voxels(8000);
  for (std::size_t i = 0; i < voxels.size(); ++i) voxels[i] = static_cast<short>(i * i);
  const std::string bytes = bytesOf(header, voxels);
  for (const std::size_t length : {std::size_t{348}, std::size_t{5000}, bytes.size() - 1})
    expect("cut.nii", bytes.substr(0, length), "is cut short");
  for (const std::size_t length : {1u, 4u, 100u, 347u})
    expect("cut.nii", bytes.substr(0, length), "not a NIfTI file");
  expect("empty.nii", "", "is empty");
  expect("text.nii", std::string(1000, 'x'), "not a NIfTI file");

  writeCompressed(folder.file("whole.nii.gz"), bytes);
  EXPECT_EQ(complaintOf(folder.file("whole.nii.gz")), "");
  const std::string zipped = contentOf(folder.file("whole.nii.gz"));
  for (const std::size_t length : {zipped.size() / 2, zipped.size() - 9, zipped.size() - 1})
    expect("cut.nii.gz", zipped.substr(0, length), "damaged gzip file: it is cut short");
  std::string damaged = zipped;
  damaged[zipped.size() - 6] ^= 1;
  expect("sum.nii.gz", damaged, "damaged gzip file: its checksum is wrong");
  damaged = zipped;
  damaged.replace(100, 100, 100, '\xff');
  expect("noise.nii.gz", damaged, "damaged gzip file");
  expect("text.nii.gz", std::string(1000, 'x'), "not a gzip file");
  EXPECT_NE(complaintOf(folder.file("")).find("is a folder"), std::string::npos);
  EXPECT_NE(complaintOf("/dev/null").find("not a regular file"), std::string::npos);
  EXPECT_NE(complaintOf(folder.file("none.nii")).find("does not exist"), std::string::npos);
}

TEST_F(DamagedFiles, saySoWhereTheHeaderIsNoGood) {
  const auto expectOf = [&](const auto& change, const std::string& complaint) {
    nifti_1_header header = makeHeader(3, 2, 1, DT_INT16, 16);
    change(header);
    expect("bad.nii", bytesOf(header, six), complaint);
  };
  expectOf([](nifti_1_header& h) { h.dim[0] = 0; }, "declares 0 dimensions");
  expectOf([](nifti_1_header& h) { h.dim[0] = 8; }, "declares 8 dimensions");
  expectOf([](nifti_1_header& h) { h.dim[2] = -2; }, "declares -2 voxels on axis 2");
  expectOf([](nifti_1_header& h) { h.vox_offset = NAN; }, "no valid offset of the voxels");
  expectOf([](nifti_1_header& h) { h.vox_offset = 1e30f; }, "no valid offset of the voxels");
  expectOf([](nifti_1_header& h) { h.vox_offset = 1e6f; }, "is cut short");
  expectOf([](nifti_1_header& h) { h.datatype = DT_RGB24; }, "RGB24");
  expectOf([](nifti_1_header& h) { h.datatype = 12345; }, "one real number");
  expectOf([](nifti_1_header& h) { h.magic[0] = 0; }, "not a NIfTI file");
  expectOf([](nifti_1_header& h) { h.srow_x[3] = INFINITY; }, "no usable geometry");
  expectOf([](nifti_1_header& h) { h.srow_y[1] = h.srow_y[3] = 3e38f; }, "no usable geometry");
}

TEST_F(DamagedFiles, takeNoMemoryWhenTheyPromiseTooMuch) {
  const nifti_1_header header = makeHeader(32767, 32767, 32767, DT_FLOAT64, 64);
  writeCompressed(folder.file("bomb.nii.gz"), bytesOf(header, std::vector<double>(1000)));
  EXPECT_NE(complaintOf(folder.file("bomb.nii.gz")).find("cut short"), std::string::npos);
  const std::int64_t most = std::numeric_limits<std::int64_t>::max();
  expect("bomb.nii", bytesOf(makeHeader2(most, most, most), six), "cut short");
}

}  // namespace
