#pragma once

#include "registration/RegVoxelRegistration.h"
#include "variational/objective/mappedMetric.h"
#include "workflow/Image.h"
#include "workflow/MetricOptions.h"
#include "workflow/Registration.h"
#include "workflow/SearchOptions.h"
#include "workflow/search/searchProgress.h"

namespace voxreg::detail {

/// A registration of two volumes in their own frames, whose stages the caller still sets. It
/// reports to `progress`, which may be null, and passes exceptions on. Throws Refusal for an
/// incompatible pair and for invalid settings.
RegVoxelRegistration makeRegistration(const Image& reference, const Image& model,
                                      const MetricOptions& metric, const SearchOptions& search,
                                      NmProgressInterface* progress);

/// The bins of a volume's side of a histogram; with `bins` 0, as many as its values need, up to 64.
BinRange binsOf(const Image& volume, const std::optional<IntensityRange>& range, int bins);

/// Throws Refusal if the images are not flat on the same axis.
void requireSameFlatAxis(const Image& reference, const Image& model);

inline const NmVec3i fullResolution(1, 1, 1);

/// Default relative gain below which gradient searches stop.
constexpr float usualTolerance = 1e-6f;

/// The reduction of the coarsest level.
NmVec3i coarsestFactors(const Image& reference, const Image& model, const LevelOptions& settings);

/// Gives the registration the reduced volumes: the reference by `factors`, the model to voxels of
/// about the same size.
void setReducedVolumes(RegVoxelRegistration& registration, const Image& reference,
                       const Image& model, const NmVec3i& factors);

/// Runs the registration once, reports its result to the progress, and adds its counts to `found`.
/// Throws Refusal if it fails, except by an interruption.
void computeRun(RegVoxelRegistration& registration, SearchProgress& progress, Registration& found);

}  // namespace voxreg::detail
