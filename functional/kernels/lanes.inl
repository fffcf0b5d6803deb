#pragma once

// The parts of a kernel are compiled inside a namespace that holds the Lanes of one instruction
// set. A part opened alone, by an editor or a check, sees the portable ones.
#ifndef VOXREG_KERNEL_SET
#include "foundation/simd/lanesPortable.h"
#include "functional/kernels/walk.h"

using namespace voxreg::detail;
using voxreg::detail::portable::Lanes;
#endif
