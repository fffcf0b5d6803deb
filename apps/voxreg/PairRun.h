#pragma once

#include <functional>
#include <string>
#include <vector>

#include "InterruptibleProgress.h"
#include "LogOnStandardError.h"
#include "RunReport.h"
#include "fileRoles.h"
#include "niftiVolume.h"
#include "pairOptions.h"
#include "picture.h"

namespace host {

struct VolumePair {
  NiftiVolume reference;
  NiftiVolume model;
};

/// A command that registers a pair of volumes, from the names of its files to its exit code.
class PairRun {
 public:
  /// Refuses names that do not go together, then reads the volumes. `inputs` and `outputs` are the
  /// files beside those of PairOptions; `work` is how long the registration takes, compared with
  /// the reading.
  PairRun(const CLI::App& command, const PairOptions& options, const std::vector<FileRole>& inputs,
          const std::vector<FileRole>& outputs, double work);

  const VolumePair& files() const { return files_; }

  /// The pair as a search sees it, without missing voxels.
  const VolumePair& searched() const { return searched_; }

  /// False where no search by this metric could find anything: the run has found nothing then.
  /// Throws HostError for such a run that --force does not make write its outputs.
  bool hasInformation(const MetricSettings& metric);

  /// Takes what a search has found, which may be nothing as well, and throws likewise.
  void judge(const SearchOutcome& search, const Assessment& result);

  /// Why nothing was found, empty where something was; throws likewise.
  void noteLack(const std::string& lack);

  /// Each writes what was asked for: the registered model, and the usual picture.
  void writeOutput(OutputFiles& outputs, const PlaceMap& map);
  void writePicture(OutputFiles& outputs, const BeforeAndAfter& maps, MapPanels panels) const;

  /// Writes the report and gives all outputs their names, then prints warnings, the gist of the
  /// report and `more`. Returns the exit code, or throws HostError for a run that has found
  /// nothing.
  int finish(OutputFiles& outputs, const std::function<void()>& more);

  RunReport report;
  InterruptibleProgress progress;

 private:
  const PairOptions options_;
  std::optional<LogOnStandardError> log_;
  VolumePair files_;
  VolumePair searched_;
};

/// What is doubtful in a volume's file.
std::vector<std::string> warningsAbout(const std::string& path, const NiftiVolume& volume);

/// To standard error.
void printWarnings(const std::vector<std::string>& warnings);

}  // namespace host
