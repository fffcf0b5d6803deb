#pragma once

#include <optional>

#include "gridTransform.h"
#include "voxelRegistration.h"

namespace host {

/// What a metric gives where it can say nothing.
constexpr double noStatement = -1000.0;

/// Tells what a metric says of a pair of volumes at one transform after the other: as a search has
/// it, but without the penalty on irregular grids.
class MetricProbe {
 public:
  /// On volumes reduced by `factors`.
  MetricProbe(const NiftiVolume& reference, const NiftiVolume& model, const MetricSettings& metric,
              const SearchSettings& search, const NmVec3i& factors);

  /// At a matrix or grid between the volumes' frames. Nothing where no statement is possible: too
  /// few samples, or none that differ.
  std::optional<double> at(const NmMat4d& modelToReference);
  std::optional<double> at(const GridTransform::Grid& grid);

 private:
  std::optional<double> value();

  RegVoxelRegistration registration_;
};

}  // namespace host
