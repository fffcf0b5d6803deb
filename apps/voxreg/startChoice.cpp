#include "startChoice.h"

#include "matrixFile.h"

namespace host {

namespace {

using nlohmann::json;

json numbersOf(const NmMat4d& matrix) {
  return std::vector<double>(matrix.m[0], matrix.m[0] + 16);
}

/// The best of those that the rule allows.
json choiceOf(const std::string& rule, const std::vector<Start>& starts) {
  json values = json::object();
  for (const Start& start : starts)
    values[nameOf(start.rule)] = start.reached ? json(*start.reached) : json();
  const Start& best = bestOf(starts);
  return {{"init", rule},
          {"chosen", nameOf(best.rule)},
          {"values", values},
          {"matrix", numbersOf(best.matrix)}};
}

}  // namespace

NmMat4d chooseStart(const StartOptions& options, const MetricSettings& metric, PairRun& run) {
  if (!options.file.empty()) {
    const NmMat4d matrix = readMatrix(options.file);
    run.report.start = {{"file", options.file}, {"matrix", numbersOf(matrix)}};
    return matrix;
  }
  run.progress.enter("Looking for a start");
  run.progress.takeStopRequests();
  const std::vector<Start> starts = startsFor(startRuleOf(options.init), run.searched().reference,
                                              run.searched().model, metric, run.progress);
  run.report.start = choiceOf(options.init, starts);
  return bestOf(starts).matrix;
}

}  // namespace host
