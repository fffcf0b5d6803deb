#pragma once

#include <gtest/gtest.h>
#include <nifti1.h>
#include <unistd.h>
#include <zlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// A separate folder for one test, removed with the object.
class TestFolder {
 public:
  explicit TestFolder(const std::string& name = "")
      : path_(std::filesystem::temp_directory_path() /
              (std::string("voxreg.") +
               testing::UnitTest::GetInstance()->current_test_info()->name() + name + "." +
               std::to_string(getpid()))) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  ~TestFolder() { std::filesystem::remove_all(path_); }

  std::string file(const std::string& name) const { return (path_ / name).string(); }

  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      found.push_back(entry.path().filename().string());
    return found;
  }

 private:
  std::filesystem::path path_;
};

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

/// A header of a 3-D volume with an sform, made without the code under test.
inline nifti_1_header makeHeader(int nx, int ny, int nz, short type, short bits) {
  nifti_1_header header = {};
  header.sizeof_hdr = 348;
  const short dims[8] = {
      3, static_cast<short>(nx), static_cast<short>(ny), static_cast<short>(nz), 1, 1, 1, 1};
  std::memcpy(header.dim, dims, sizeof dims);
  header.datatype = type;
  header.bitpix = bits;
  for (float& size : header.pixdim) size = 1.0f;
  header.vox_offset = 352;
  header.sform_code = 1;
  header.srow_x[0] = header.srow_y[1] = header.srow_z[2] = 1.0f;
  std::memcpy(header.magic, "n+1", 4);
  return header;
}

/// Sets the rows of the sform.
inline void place(nifti_1_header& header, const float (&rows)[3][4]) {
  std::memcpy(header.srow_x, rows[0], sizeof rows[0]);
  std::memcpy(header.srow_y, rows[1], sizeof rows[1]);
  std::memcpy(header.srow_z, rows[2], sizeof rows[2]);
}

/// The bytes of a .nii file of either version.
template <class Header, class T>
std::string bytesOf(const Header& header, const std::vector<T>& voxels) {
  std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
  bytes.append(4, '\0');
  return bytes.append(reinterpret_cast<const char*>(voxels.data()), voxels.size() * sizeof(T));
}

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline void writeCompressed(const std::string& path, const std::string& bytes) {
  gzFile file = gzopen(path.c_str(), "wb");
  gzwrite(file, bytes.data(), static_cast<unsigned int>(bytes.size()));
  gzclose(file);
}
