#include "workflow/search/startChoice.h"

#include <algorithm>
#include <cmath>

#include "workflow/refusal.h"

namespace voxreg::detail {

NmMat4d givenMatrix(const std::optional<Transform>& start) {
  if (!start) return {};
  const std::optional<NmMat4d> matrix = start->modelToReference();
  if (!matrix) throw Refusal("a registration starts from a matrix");
  if (!std::all_of(matrix->m[0], matrix->m[0] + 16, [](double x) { return std::isfinite(x); }))
    throw Refusal("the matrix to start from is not finite");
  return *matrix;
}

NmMat4d chooseStart(StartRule rule, const SearchedPair& pair, const MetricOptions& metric,
                    SearchProgress& progress, Registration& found) {
  progress.enter(startCaption);
  found.starts = startsFor(rule, pair.reference, pair.model, metric, progress);
  found.chosenStart = bestOf(found.starts);
  return found.chosenStart->matrix;
}

}  // namespace voxreg::detail
