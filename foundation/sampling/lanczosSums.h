#pragma once

#include "foundation/sampling/lanczosPoints.h"
#include "foundation/simd/instructionSets.h"
#include "foundation/voxels/voxelGrid.h"

namespace voxreg::detail {

/// Writes the sum over the taps of each point, for a volume with one data variable, in the order
/// and with the bits of the sum over lanczosTaps. Not finite if a voxel of the window of six voxels
/// per axis is not, even one with weight 0.
using LanczosSum = void (*)(const void* voxels, const LanczosPoints& points, double* sums);

struct LanczosSums {
  LanczosSum ofType[8];  ///< by the voxel type's number
};

extern const LanczosSums portableLanczosSums;
extern const LanczosSums avx2LanczosSums;
extern const LanczosSums avx512LanczosSums;

/// The sums for a volume with an instruction set that this machine has. Null for several data
/// variables and for axes whose indices do not fit into an int.
LanczosSum lanczosSum(const VoxelGrid& grid, InstructionSet set);

}  // namespace voxreg::detail
