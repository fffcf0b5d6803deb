#pragma once

#include <nifti2_io.h>
#include <zlib.h>

#include <memory>
#include <string>

#include "files/OutputFiles.h"

namespace host {

/// Writes a .nii file, compressed if the path ends in .gz. All operations throw HostError.
class NiftiWriter {
 public:
  /// Begins with a header, in the NIfTI version that it came from or that its dimensions require.
  NiftiWriter(OutputFiles& outputs, const std::string& path, const nifti_image& header);

  void write(const void* bytes, std::size_t count);

  /// Has to be called last.
  void finish();

 private:
  struct Closing {
    void operator()(gzFile_s* file) const { (void)gzclose(file); }
  };

  std::string path_;
  std::unique_ptr<gzFile_s, Closing> file_;
};

/// Whether a path ends in .nii or .nii.gz.
bool isNiftiName(const std::string& path);

}  // namespace host
