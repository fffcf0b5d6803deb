#pragma once

#include <optional>

#include "workflow/search/frameGrids.h"
#include "workflow/search/voxelRegistration.h"

namespace voxreg::detail {

/// Evaluates a metric on a pair of volumes at successive transforms, as a search does, but without
/// the penalty on irregular grids.
class MetricProbe {
 public:
  /// On volumes reduced by `factors`.
  MetricProbe(const Image& reference, const Image& model, const MetricOptions& metric,
              const SearchOptions& search, const NmVec3i& factors);

  /// At a matrix or grid between the volumes' frames. Nothing if the metric has no meaningful
  /// value: too few samples, or none that differ.
  std::optional<double> at(const NmMat4d& modelToReference);
  std::optional<double> at(const BrickGrid::Grid& grid);

 private:
  std::optional<double> value();

  RegVoxelRegistration registration_;
};

}  // namespace voxreg::detail
