#pragma once

#include "foundation/voxels/volumeFrame.h"
#include "workflow/RegisterDeformable.h"
#include "workflow/search/fieldRuns.h"

namespace voxreg::detail {

/// How often the reference's voxels can be doubled up to a size of about 2 mm, as a factor: what
/// the lattice looks at before detail is added, and the first level of the field.
int reductionBeforeDetail(const VolumeFrame& reference);

/// The levels of a field, from voxels of about 2 mm to the reference's own.
FieldTask fieldTaskFor(Detail detail, const VolumeFrame& reference);

}  // namespace voxreg::detail
