#pragma once

#include <functional>
#include <string>
#include <vector>

#include "commands/RunReport.h"
#include "commands/pairOptions.h"
#include "files/fileRoles.h"
#include "files/niftiVolume.h"
#include "files/resampled.h"
#include "pictures/picture.h"
#include "terminal/InterruptibleProgress.h"
#include "terminal/LogOnStandardError.h"

namespace host {

struct VolumePair {
  NiftiVolume reference;
  NiftiVolume model;
};

/// A command that registers a pair of volumes, from the names of its files to its exit code.
class PairRun {
 public:
  /// Rejects conflicting file names, then reads the volumes. `inputs` and `outputs` are the files
  /// in addition to those of PairOptions; `work` is the duration of the registration relative to
  /// that of the reading.
  PairRun(const CLI::App& command, const PairOptions& options, const std::vector<FileRole>& inputs,
          const std::vector<FileRole>& outputs, double work);

  const VolumePair& files() const { return files_; }

  /// Takes the result of a registration. Throws HostError if it has failed, or if it has found
  /// nothing and --force is not given.
  void judge(const voxreg::Registration& found);

  /// Each writes what was requested: the registered model, and the standard picture.
  void writeOutput(OutputFiles& outputs, const voxreg::Transform& transform);
  void writePicture(OutputFiles& outputs, const BeforeAndAfter& transforms, MapPanels panels) const;

  /// Writes the report and gives all outputs their names, then prints warnings, a summary of the
  /// report and `more`. Returns the exit code, or throws HostError for a run that has found
  /// nothing.
  int finish(OutputFiles& outputs, const std::function<void()>& more);

  RunReport report;
  InterruptibleProgress progress;

 private:
  const PairOptions options_;
  std::optional<LogOnStandardError> log_;
  VolumePair files_;
};

/// Doubtful points in a volume's file.
std::vector<std::string> warningsAbout(const std::string& path, const NiftiVolume& volume);

/// Prints to standard error.
void printWarnings(const std::vector<std::string>& warnings);

}  // namespace host
