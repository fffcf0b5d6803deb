#pragma once

namespace voxreg::detail {

/// True for an affine parameter that would move an image out of its plane: `planeMode` 0, 1, 2 is
/// the flat axis, 4 a stack of images along z that may shift along it; any other mode keeps all
/// parameters. Parameters beyond the affine twelve are always kept.
bool leavesPlane(int planeMode, int parameter);

}  // namespace voxreg::detail
