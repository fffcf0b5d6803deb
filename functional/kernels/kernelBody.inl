// The kernels in terms of `Lanes`: included once per instruction set, inside a namespace that holds
// that set's Lanes. Each file needs those above it.

// clang-format off
#include "functional/kernels/rowClip.inl"
#include "functional/kernels/rowBlock.inl"
#include "functional/kernels/blockSpan.inl"
#include "functional/kernels/columns.inl"
#include "functional/kernels/prefetch.inl"
#include "functional/kernels/referenceRows.inl"
#include "functional/kernels/affinePositions.inl"
#include "functional/kernels/brickPositions.inl"
#include "functional/kernels/trilinear.inl"
#include "functional/kernels/orderedSum.inl"
#include "functional/kernels/differenceAccumulator.inl"
#include "functional/kernels/correlationSamples.inl"
#include "functional/kernels/slicewiseCorrelation.inl"
#include "functional/kernels/rowwiseCorrelation.inl"
#include "functional/kernels/histogramAccumulator.inl"
#include "functional/kernels/rowBlockWalk.inl"
#include "functional/kernels/kernelTable.inl"
// clang-format on
