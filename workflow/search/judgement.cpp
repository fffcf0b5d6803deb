#include "workflow/search/judgement.h"

#include <cstdio>
#include <string>
#include <vector>

namespace voxreg::detail {

void judge(const Overlap& overlap, Registration& found) {
  found.overlap = overlap.share;
  const std::vector<std::string> ofOverlap = overlap.warnings();
  found.warnings.insert(found.warnings.end(), ofOverlap.begin(), ofOverlap.end());
  if (!(found.smallestJacobian > 0.0)) {
    char text[100];
    (void)std::snprintf(text, sizeof text, "the transform folds: its Jacobian goes down to %.3g",
                        found.smallestJacobian);
    found.warnings.emplace_back(text);
  }
  // The result of a stopped search does not allow a verdict on the images.
  if (found.interrupted) {
    if (found.evaluations == 0) found.metricAfter.reset();
    return;
  }
  const std::string lack = overlap.lack();
  if (!lack.empty()) found.reason = {Reason::Kind::noOverlap, lack};
}

}  // namespace voxreg::detail
