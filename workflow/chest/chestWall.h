#pragma once

#include <optional>

#include "foundation/NmBox.h"
#include "foundation/NmHandle.h"
#include "foundation/VlData.h"
#include "workflow/ChestMask.h"
#include "workflow/chest/bodyAxes.h"

namespace voxreg::detail {

/// A chest wall, and what was measured on the profile through it.
struct ChestWall {
  ChestMask mask;
  NmBox3i roi;      ///< voxels of the volume, starting at the front of the breast
  int airLevel;     ///< physical values
  int tissueLevel;  ///< of the darkest tissue
};

/// Searches for the chest wall of a volume of unsigned short with
/// RegElasticRegistration::findMasking; nothing if there is none. If voxels are too large for that,
/// it uses a finer copy.
std::optional<ChestWall> findChestWall(const NmHandle<VlData>& volume, const NmVec2f& rescale,
                                       const BodyAxes& body);

}  // namespace voxreg::detail
