// The kernels in terms of `Lanes`: included once per instruction set, inside a namespace that holds
// that set's Lanes.

// clang-format off: each file needs those above it
#include "functional/kernels/rowClip.inl"
#include "functional/kernels/affinePositions.inl"
#include "functional/kernels/trilinear.inl"
#include "functional/kernels/differenceAccumulator.inl"
#include "functional/kernels/correlationAccumulator.inl"
#include "functional/kernels/histogramAccumulator.inl"
#include "functional/kernels/rowBlockWalk.inl"
#include "functional/kernels/kernelTable.inl"
// clang-format on
