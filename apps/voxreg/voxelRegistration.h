#pragma once

#include <voxreg.h>

#include "niftiVolume.h"
#include "searchSettings.h"

namespace host {

/// A registration of two volumes in their own frames, which still needs its stages. It tells
/// `progress`, which may be null, and hands exceptions on. Throws HostError for a pair that does
/// not go together and for settings that no run can take.
RegVoxelRegistration makeRegistration(const NiftiVolume& reference, const NiftiVolume& model,
                                      const MetricSettings& metric, const SearchSettings& search,
                                      NmProgressInterface* progress);

inline const NmVec3i fullResolution(1, 1, 1);

/// The reduction of the coarsest level.
NmVec3i coarsestFactors(const NiftiVolume& reference, const NiftiVolume& model,
                        const LevelSettings& settings);

/// Gives the registration the volumes reduced: the reference by `factors`, the model to voxels of
/// about that size.
void setReducedVolumes(RegVoxelRegistration& registration, const NiftiVolume& reference,
                       const NiftiVolume& model, const NmVec3i& factors);

}  // namespace host
