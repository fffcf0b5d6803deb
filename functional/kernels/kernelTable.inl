#pragma once

#include "functional/kernels/affinePositions.inl"
#include "functional/kernels/brickPositions.inl"
#include "functional/kernels/differenceAccumulator.inl"
#include "functional/kernels/histogramAccumulator.inl"
#include "functional/kernels/rowBlockWalk.inl"
#include "functional/kernels/rowwiseCorrelation.inl"
#include "functional/kernels/slicewiseCorrelation.inl"
#include "functional/kernels/trilinear.inl"

template <template <LaneContents> class Positions, class U, class Accumulator, class Sums>
static void walkModel(const Walk& walk, Sums& sums) {
  Accumulator accumulator(sums, walk);
  walkBlocks<Positions, TrilinearSampler<U>>(walk, accumulator);
}

/// A kernel that does the whole walk with one accumulator.
template <class Accumulator>
struct Uniformly {
  template <template <LaneContents> class Positions, class U, class Sums>
  static void walk(const Walk& walk, Sums& sums) {
    walkModel<Positions, U, Accumulator>(walk, sums);
    Lanes::leave();
  }
};

/// The kernel of the correlation family: one slice per lane. Remaining slices are walked by rows if
/// they would fill no more than half of the lanes.
struct SlicesThenRows {
  template <template <LaneContents> class Positions, class U>
  static void walk(const Walk& walk, CorrelationSums& sums) {
    const int left = (walk.box.zmax - walk.box.zmin + 1) % Lanes::width;
    Walk part = walk;
    if (2 * left <= Lanes::width) part.box.zmax -= left;
    if (part.box.zmin <= part.box.zmax) walkModel<Positions, U, SlicewiseCorrelation>(part, sums);
    part.box.zmin = part.box.zmax + 1;
    part.box.zmax = walk.box.zmax;
    if (part.box.zmin <= part.box.zmax) walkModel<Positions, U, RowwiseCorrelation>(part, sums);
    Lanes::leave();
  }
};

template <template <LaneContents> class Positions, class Kernel, class Sums>
static constexpr void fillRow(void (*(&row)[numVoxelTypes])(const Walk&, Sums&)) {
  row[voxelTypeIndex<unsigned char>] = Kernel::template walk<Positions, unsigned char>;
  row[voxelTypeIndex<short>] = Kernel::template walk<Positions, short>;
  row[voxelTypeIndex<unsigned short>] = Kernel::template walk<Positions, unsigned short>;
  row[voxelTypeIndex<int>] = Kernel::template walk<Positions, int>;
  row[voxelTypeIndex<float>] = Kernel::template walk<Positions, float>;
  row[voxelTypeIndex<double>] = Kernel::template walk<Positions, double>;
}

template <class AffineKernel, class BrickKernel, class Sums>
static constexpr void fill(FamilyKernels<Sums>& family) {
  fillRow<AffinePositions, AffineKernel>(family.affine);
  fillRow<BrickPositions, BrickKernel>(family.bricks);
}

static constexpr KernelTable makeKernelTable() {
  KernelTable table = {};
  fill<Uniformly<DifferenceAccumulator>, Uniformly<DifferenceAccumulator>>(table.difference);
  fill<SlicesThenRows, SlicesThenRows>(table.correlation);
  fill<Uniformly<HistogramAccumulator<false>>, Uniformly<HistogramAccumulator<true>>>(
      table.histogram);
  return table;
}
