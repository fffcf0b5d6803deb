#pragma once

#include <optional>

#include "workflow/search/frameGrids.h"
#include "workflow/search/voxelRegistration.h"

namespace voxreg::detail {

/// Tells what a metric says of a pair of volumes at one transform after the other: as a search has
/// it, but without the penalty on irregular grids.
class MetricProbe {
 public:
  /// On volumes reduced by `factors`.
  MetricProbe(const Image& reference, const Image& model, const MetricOptions& metric,
              const SearchOptions& search, const NmVec3i& factors);

  /// At a matrix or grid between the volumes' frames. Nothing where no statement is possible: too
  /// few samples, or none that differ.
  std::optional<double> at(const NmMat4d& modelToReference);
  std::optional<double> at(const BrickGrid::Grid& grid);

 private:
  std::optional<double> value();

  RegVoxelRegistration registration_;
};

}  // namespace voxreg::detail
