#pragma once

#include "registration/RegVoxelRegistration.h"
#include "workflow/Image.h"
#include "workflow/MetricOptions.h"
#include "workflow/Registration.h"
#include "workflow/SearchOptions.h"
#include "workflow/search/searchProgress.h"

namespace voxreg::detail {

/// A registration of two volumes in their own frames, which still needs its stages. It tells
/// `progress`, which may be null, and hands exceptions on. Throws Refusal for a pair that does
/// not go together and for settings that no run can take.
RegVoxelRegistration makeRegistration(const Image& reference, const Image& model,
                                      const MetricOptions& metric, const SearchOptions& search,
                                      NmProgressInterface* progress);

inline const NmVec3i fullResolution(1, 1, 1);

/// Relative gain at which gradient searches end where nothing else is asked for.
constexpr float usualTolerance = 1e-6f;

/// The reduction of the coarsest level.
NmVec3i coarsestFactors(const Image& reference, const Image& model, const LevelOptions& settings);

/// Gives the registration the volumes reduced: the reference by `factors`, the model to voxels of
/// about that size.
void setReducedVolumes(RegVoxelRegistration& registration, const Image& reference,
                       const Image& model, const NmVec3i& factors);

/// Lets the registration run once, tells the progress what it has come to, and adds its counts to
/// `found`. Throws Refusal where it fails otherwise than by an interruption.
void computeRun(RegVoxelRegistration& registration, SearchProgress& progress, Registration& found);

}  // namespace voxreg::detail
