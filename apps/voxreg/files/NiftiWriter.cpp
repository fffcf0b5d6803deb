#include "files/NiftiWriter.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "files/niftiVersion.h"
#include "terminal/HostError.h"

namespace host {

namespace {

constexpr std::int64_t largestOfVersion1 = 32767;

/// The version of the file from which the geometry comes, so that none of it is lost, or the one
/// that the dimensions require.
bool needsVersion2(const nifti_image& header) {
  return header.nifti_type == NiftiVersion<nifti_2_header>::type ||
         *std::max_element(header.dim + 1, header.dim + 6) > largestOfVersion1;
}

template <class Raw>
std::vector<char> bytesOf(const nifti_image& image) {
  Raw raw = {};
  if (NiftiVersion<Raw>::fromImage(&image, &raw) != 0)
    throw HostError("the header cannot be represented in a file", HostError::failedRun);
  std::memcpy(raw.magic, NiftiVersion<Raw>::single, sizeof raw.magic);
  constexpr int noExtension = 4;
  constexpr int size = sizeof raw + noExtension;
  raw.vox_offset = size;
  std::vector<char> bytes(size);
  std::memcpy(bytes.data(), &raw, sizeof raw);
  return bytes;
}

bool isCompressedName(const std::string& path) {
  return path.ends_with(".nii.gz");
}

/// How zlib packs a file. The least effort takes half the time of the usual one and 3 % more room.
/// The floats of a field would shrink by a tenth, in twenty times the time, so they are stored.
const char* packingOf(const std::string& path, const nifti_image& header) {
  if (!isCompressedName(path)) return "wbT";  // without even a frame
  return header.intent_code == NIFTI_INTENT_DISPVECT ? "wb0" : "wb1";
}

}  // namespace

NiftiWriter::NiftiWriter(OutputFiles& outputs, const std::string& path, const nifti_image& header)
    : path_(path) {
  const std::vector<char> bytes =
      needsVersion2(header) ? bytesOf<nifti_2_header>(header) : bytesOf<nifti_1_header>(header);
  file_.reset(gzopen(outputs.add(path).c_str(), packingOf(path, header)));
  if (file_ == nullptr) OutputFiles::fail(path);
  write(bytes.data(), bytes.size());
}

void NiftiWriter::write(const void* bytes, std::size_t count) {
  if (gzfwrite(bytes, 1, count, file_.get()) != count) OutputFiles::fail(path_);
}

void NiftiWriter::finish() {
  if (gzclose(file_.release()) != Z_OK) OutputFiles::fail(path_);
}

bool isNiftiName(const std::string& path) {
  return isCompressedName(path) || path.ends_with(".nii");
}

}  // namespace host
