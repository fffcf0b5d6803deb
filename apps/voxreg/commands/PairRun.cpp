#include "commands/PairRun.h"

#include <cstdio>

#include "commands/optionValues.h"
#include "commands/report.h"
#include "terminal/HostError.h"

namespace host {

namespace {

std::vector<FileRole> joined(std::vector<FileRole> first, const std::vector<FileRole>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

VolumePair readPair(const PairOptions& options, const std::vector<FileRole>& inputs,
                    const std::vector<FileRole>& outputs) {
  const auto allOutputs = joined({{"--output", options.output, FileRole::Kind::volume},
                                  {"--picture", options.picture, FileRole::Kind::picture},
                                  {"--report", options.report}},
                                 outputs);
  requireAnOutput(allOutputs);
  requireSeparateFiles(
      joined({{"--reference", options.reference}, {"--model", options.model}}, inputs), allOutputs);
  for (const FileRole& output : allOutputs) output.requireWritable();
  return {readNifti(options.reference), readNifti(options.model)};
}

/// `work` is that of the registration relative to that of reading.
std::vector<voxreg::ProgressPlan::Stage> stagesOf(double work) {
  return {{"Reading", 1.0}, {"Registering", work}, {"Resampling", 1.5}, {"Writing", 2.0}};
}

}  // namespace

PairRun::PairRun(const CLI::App& command, const PairOptions& options,
                 const std::vector<FileRole>& inputs, const std::vector<FileRole>& outputs,
                 double work)
    : progress(stagesOf(work), options.talk.quiet),
      options_(options),
      files_(readPair(options, inputs, outputs)) {
  if (options.talk.verbose) log_.emplace();
  report.command = command.get_name();
  report.settings = optionValues(command);
  report.warn(warningsAbout(options.reference, files_.reference));
  report.warn(warningsAbout(options.model, files_.model));
  if (!options.output.empty()) requireBackground(files_.model, options.sampling.options());
}

void PairRun::judge(const voxreg::Registration& found) {
  using Kind = voxreg::Reason::Kind;
  const auto& [kind, message] = found.reason;
  if (kind == Kind::badImage || kind == Kind::badOptions) throw HostError(message);
  if (kind == Kind::failedRun) throw HostError(message, HostError::failedRun);
  report.found = found;
  report.warn(found.warnings);
  if (!found && !options_.force)
    throw HostError("nothing found: " + message, HostError::nothingFound);
}

void PairRun::writeOutput(OutputFiles& outputs, const voxreg::Transform& transform) {
  if (options_.output.empty()) return;
  const auto& [reference, model] = files_;
  progress.enter("Resampling");
  const NiftiVolume moved = resampled(reference, model, transform, options_.sampling.options());
  progress.enter("Writing");
  writeNifti(outputs, options_.output, moved);
}

void PairRun::writePicture(OutputFiles& outputs, const BeforeAndAfter& transforms,
                           MapPanels panels) const {
  if (options_.picture.empty()) return;
  NiftiVolume shown[] = {files_.reference, files_.model};
  for (NiftiVolume& volume : shown) volume.image = voxreg::withMissingFilled(volume.image);
  host::writePicture(outputs, options_.picture, shown[0], shown[1], transforms, panels);
}

int PairRun::finish(OutputFiles& outputs, const std::function<void()>& more) {
  if (!options_.report.empty()) writeReport(outputs, options_.report, report);
  outputs.commit();
  progress.finish();
  printWarnings(report.warnings);
  if (!options_.talk.quiet) {
    printReport(report);
    more();
  }
  if (!report.found)
    throw HostError(
        "nothing found: " + report.found.reason.message + " (the outputs are written anyway)",
        HostError::nothingFound);
  return report.found.interrupted ? interruptedExitCode : 0;
}

std::vector<std::string> warningsAbout(const std::string& path, const NiftiVolume& volume) {
  std::vector<std::string> warnings;
  if (volume.header->sform_code <= 0 && volume.header->qform_code <= 0)
    warnings.push_back(path + " has neither sform nor qform: its position is unknown");
  const long missing = voxreg::countMissing(volume.image);
  if (missing > 0)
    warnings.push_back(path + " has " + std::to_string(missing) +
                       " voxels that are not finite; they count as missing");
  return warnings;
}

void printWarnings(const std::vector<std::string>& warnings) {
  for (const std::string& text : warnings)
    (void)std::fprintf(stderr, "voxreg: warning: %s\n", text.c_str());
}

}  // namespace host
