/// One kernel: a source of positions, a sampler and an accumulator of sums, composed.
template <template <int> class Positions, class U, class Accumulator, class Sums>
static void walkModel(const Walk& walk, Sums& sums) {
  Accumulator accumulator(sums, walk);
  walkBlocks<Positions, TrilinearSampler<U>>(walk, accumulator);
  Lanes::leave();
}

template <template <int> class Positions, class Accumulator, class Sums>
static constexpr void fillRow(void (*(&row)[numVoxelTypes])(const Walk&, Sums&)) {
  row[voxelTypeIndex<unsigned char>] = walkModel<Positions, unsigned char, Accumulator, Sums>;
  row[voxelTypeIndex<short>] = walkModel<Positions, short, Accumulator, Sums>;
  row[voxelTypeIndex<unsigned short>] = walkModel<Positions, unsigned short, Accumulator, Sums>;
  row[voxelTypeIndex<int>] = walkModel<Positions, int, Accumulator, Sums>;
  row[voxelTypeIndex<float>] = walkModel<Positions, float, Accumulator, Sums>;
  row[voxelTypeIndex<double>] = walkModel<Positions, double, Accumulator, Sums>;
}

static constexpr KernelTable makeKernelTable() {
  KernelTable table = {};
  fillRow<AffinePositions, DifferenceAccumulator>(table.affineDifference);
  fillRow<AffinePositions, CorrelationAccumulator>(table.affineCorrelation);
  fillRow<AffinePositions, HistogramAccumulator<false>>(table.affineHistogram);
  fillRow<BrickPositions, DifferenceAccumulator>(table.brickDifference);
  fillRow<BrickPositions, CorrelationAccumulator>(table.brickCorrelation);
  fillRow<BrickPositions, HistogramAccumulator<true>>(table.brickHistogram);
  return table;
}
