#pragma once

#include <optional>

#include "foundation/NmBox.h"
#include "foundation/NmHandle.h"
#include "foundation/VlData.h"
#include "workflow/ChestMask.h"
#include "workflow/chest/bodyAxes.h"

namespace voxreg::detail {

/// A chest wall, and what the profile through it has told.
struct ChestWall {
  ChestMask mask;
  NmBox3i roi;      ///< voxels of the volume, from the breast's front on
  int airLevel;     ///< physical values
  int tissueLevel;  ///< of the darkest tissue
};

/// Looks for the chest wall of a volume of unsigned short by RegElasticRegistration::findMasking;
/// nothing where there is none. Where voxels are too large for that it takes a finer copy.
std::optional<ChestWall> findChestWall(const NmHandle<VlData>& volume, const NmVec2f& rescale,
                                       const BodyAxes& body);

}  // namespace voxreg::detail
