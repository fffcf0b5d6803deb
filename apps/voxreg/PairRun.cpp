#include "PairRun.h"

#include <cstdio>

#include "HostError.h"
#include "information.h"
#include "missingVoxels.h"
#include "optionValues.h"
#include "report.h"

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

/// `work` is that of the registration, compared with that of reading.
std::vector<ProgressPlan::Stage> stagesOf(double work) {
  return {{"Reading", 1.0},
          {"Looking for a start", 1.0},
          {"Registering", work},
          {"Resampling", 1.5},
          {"Writing", 2.0}};
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
  searched_ = {withMissingFilled(files_.reference), withMissingFilled(files_.model)};
  report.warn(warningsAbout(options.reference, files_.reference));
  report.warn(warningsAbout(options.model, files_.model));
  if (!options.output.empty()) requireBackground(files_.model, options.sampling.sampling());
}

bool PairRun::hasInformation(const MetricSettings& metric) {
  report.metric = metric.name;
  noteLack(lackOfInformation(files_.reference, files_.model, metric));
  return report.lack.empty();
}

void PairRun::judge(const SearchOutcome& search, const Assessment& result) {
  report.counts = search.counts;
  report.seconds = search.seconds;
  report.interrupted = search.interrupted;
  report.result = result;
  report.warn(result.warnings());
  // What was reached when the user stopped the search is no verdict on the volumes.
  if (!report.interrupted) noteLack(result.overlap.lack());
}

void PairRun::noteLack(const std::string& lack) {
  report.lack = lack;
  if (!report.lack.empty() && !options_.force)
    throw HostError("nothing found: " + report.lack, HostError::nothingFound);
}

void PairRun::writeOutput(OutputFiles& outputs, const PlaceMap& map) {
  if (options_.output.empty()) return;
  const auto& [reference, model] = files_;
  progress.enter("Resampling");
  const NiftiVolume moved = resampled(reference, model, map, options_.sampling.sampling());
  progress.enter("Writing");
  writeNifti(outputs, options_.output, moved);
}

void PairRun::writePicture(OutputFiles& outputs, const BeforeAndAfter& maps,
                           MapPanels panels) const {
  if (options_.picture.empty()) return;
  const auto& [reference, model] = searched_;
  host::writePicture(outputs, options_.picture, reference, model, maps, panels);
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
  if (!report.lack.empty())
    throw HostError("nothing found: " + report.lack + " (the outputs are written nevertheless)",
                    HostError::nothingFound);
  return report.interrupted ? interruptedExitCode : 0;
}

std::vector<std::string> warningsAbout(const std::string& path, const NiftiVolume& volume) {
  std::vector<std::string> warnings;
  if (volume.header->sform_code <= 0 && volume.header->qform_code <= 0)
    warnings.push_back(path + " has neither sform nor qform: nobody knows where it lies");
  const long missing = countMissing(volume);
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
