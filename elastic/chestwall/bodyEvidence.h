#pragma once

#include "foundation/NmDArray.h"

namespace voxreg::detail {

/// True if a profile can be that of a body in air. It must fall to a fifth of its maximum or less
/// (empirical), and neighbouring values must be similar, unlike those of noise: von Neumann's
/// ratio, the squared differences of neighbours over the squared deviations from the mean, is 2 for
/// noise and must be below 1.
bool showsBody(const NmDArray<float>& profile);

}  // namespace voxreg::detail
