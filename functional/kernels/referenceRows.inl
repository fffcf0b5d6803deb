#pragma once

#include "functional/kernels/columns.inl"
#include "functional/kernels/rowBlock.inl"

/// Voxels x .. x + n - 1 of the rows, widened, with a value per lane for each x.
template <class T, LaneContents laneContents>
static void widenRows(const Walk& walk, const RowBlock& block, int x, int n, double* out) {
  constexpr std::int64_t rowsAhead = laneContents == LaneContents::rows ? Lanes::width : 1;
  constexpr int cacheLine = 64;  // bytes
  constexpr int lineVoxels = cacheLine / static_cast<int>(sizeof(T));
  const std::int64_t rowLength = walk.referenceDims[0];
  const T* rows[Lanes::width];
  for (int r = 0; r < Lanes::width; ++r) {
    rows[r] =
        static_cast<const T*>(walk.reference) + x +
        rowLength * (block.y[r] + static_cast<std::int64_t>(walk.referenceDims[1]) * block.z[r]);
    for (int i = 0; i < n; i += lineVoxels)
      prefetch(addressOf(rows[r] + i) +
               rowsAhead * rowLength * static_cast<std::int64_t>(sizeof(T)));
  }
  T side[batchColumns * Lanes::width];
  for (int i = 0; i < n; ++i)
    for (int r = 0; r < Lanes::width; ++r) side[i * Lanes::width + r] = rows[r][i];
  for (int i = 0; i < n; ++i)
    Lanes::store(out + i * Lanes::width, Lanes::widen(side + i * Lanes::width));
}

template <LaneContents laneContents>
static void loadReference(const Walk& walk, const RowBlock& block, int x, int n, double* out) {
  using Load = void (*)(const Walk&, const RowBlock&, int, int, double*);
  static constexpr Load load[numVoxelTypes] = {
      widenRows<unsigned char, laneContents>,  widenRows<short, laneContents>,
      widenRows<unsigned short, laneContents>, widenRows<int, laneContents>,
      widenRows<float, laneContents>,          widenRows<double, laneContents>};
  load[walk.referenceType](walk, block, x, n, out);
}
