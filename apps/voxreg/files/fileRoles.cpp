#include "files/fileRoles.h"

#include <algorithm>
#include <filesystem>

#include "files/OutputFiles.h"
#include "files/niftiVolume.h"
#include "pictures/GreyImage.h"
#include "terminal/HostError.h"

namespace host {

namespace {

namespace fs = std::filesystem;

/// Resolves symbolic links, "." and ".."; two names of one inode are also equal.
bool areOneFile(const std::string& a, const std::string& b) {
  if (a.empty() || b.empty()) return false;
  std::error_code error;
  const fs::path first = fs::weakly_canonical(fs::absolute(a), error);
  if (error) return false;
  const fs::path second = fs::weakly_canonical(fs::absolute(b), error);
  if (error) return false;
  return first == second || fs::equivalent(a, b, error);
}

}  // namespace

void FileRole::requireWritable() const {
  if (path.empty()) return;
  switch (kind) {
    case Kind::volume:
      return requireWritableNifti(path);
    case Kind::picture:
      return requireWritablePicture(path);
    default:
      return OutputFiles::requireWritable(path);
  }
}

void requireSeparateFiles(const std::vector<FileRole>& inputs,
                          const std::vector<FileRole>& outputs) {
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const auto refuse = [&](const FileRole& other) {
      if (areOneFile(outputs[i].path, other.path))
        throw HostError(other.option + " and " + outputs[i].option + " are the same file, " +
                        outputs[i].path);
    };
    std::for_each(inputs.begin(), inputs.end(), refuse);
    std::for_each(outputs.begin(), outputs.begin() + static_cast<std::ptrdiff_t>(i), refuse);
  }
}

void requireAnOutput(const std::vector<FileRole>& outputs) {
  std::string options;
  for (const FileRole& output : outputs) {
    if (!output.path.empty()) return;
    options += (options.empty() ? "" : ", ") + output.option;
  }
  throw HostError("no output is requested: give one of " + options);
}

}  // namespace host
