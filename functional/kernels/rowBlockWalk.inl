/// Samples the rows of a block that `positions` stands on and hands them to the accumulator, a
/// number of columns at a time: positions and copies of voxels, then interpolation, then sums.
/// Columns without a sample that counts are left out.
template <class Positions, class Sampler, class Accumulator, int laneAxis>
static void walkRows(const Walk& walk, const RowBlock<laneAxis>& block, const BlockSpan& span,
                     Positions& positions, const Sampler& sampler,
                     Columns<typename Sampler::Located>& columns, Accumulator& accumulator) {
  using Batch = Columns<typename Sampler::Located>;
  alignas(64) double reference[Batch::capacity * Lanes::width];
  const LaneSpans lanes(span);
  positions.seek(span.all.first);
  for (int x = span.all.first; x <= span.all.last; x += Batch::capacity) {
    const int left = span.all.last - x + 1;
    const int n = left < Batch::capacity ? left : Batch::capacity;
    loadReference(walk, block, x, n, reference);
    columns.count = 0;
    for (int i = 0; i < n; ++i) {
      typename Lanes::Doubles position[3];
      positions.take(position);
      const double* const voxels = reference + i * Lanes::width;
      auto counts = accumulator.accepted(lanes.at(x + i), voxels);
      if constexpr (Positions::samplesNeedTest)
        counts = Lanes::both(counts, sampler.inside(position));
      if (!Lanes::any(counts)) continue;
      const int c = columns.count++;
      columns.counts[c] = counts;
      Lanes::store(columns.reference + c * Lanes::width, Lanes::load(voxels));
      sampler.locate(position, columns.located[c]);
    }
    auto&& background = accumulator.background();
    sampler.fetch(columns.located, columns.count, block.count, background);
    for (int c = 0; c < columns.count; ++c)
      Lanes::store(columns.model + c * Lanes::width, Sampler::interpolate(columns.located[c]));
    accumulator.add(columns);
  }
}

/// Walks the reference in blocks of rows, one row in each lane. The accumulator says along which
/// axis the rows of a block follow each other, such that it can take every sum's terms in the order
/// of the voxels.
template <template <int> class PositionsOf, class Sampler, class Accumulator>
static void walkBlocks(const Walk& walk, Accumulator& accumulator) {
  constexpr int laneAxis = Accumulator::laneAxis;
  constexpr int rowsAtOnce = laneAxis == 1 ? Lanes::width : 1;
  constexpr int slicesAtOnce = laneAxis == 2 ? Lanes::width : 1;
  PositionsOf<laneAxis> positions(walk);
  const Sampler sampler(walk);
  Columns<typename Sampler::Located> columns = {};  // unused lanes are read, too
  const RowSpan rows = positions.rowRange(walk);
  for (int z = walk.box.zmin; z <= walk.box.zmax; z += slicesAtOnce) {
    const int slices = fewer(walk.box.zmax - z + 1, slicesAtOnce);
    positions.startSlices(z, slices);
    accumulator.startSlices();
    for (int y = rows.first; y <= rows.last; y += rowsAtOnce) {
      const int lanes = laneAxis == 1 ? fewer(rows.last - y + 1, rowsAtOnce) : slices;
      const RowBlock<laneAxis> block = {y, z, lanes};
      BlockSpan span;
      positions.startRows(block, span);
      span.unite();
      if (span.all.count() == 0) continue;
      accumulator.startRows();
      walkRows(walk, block, span, positions, sampler, columns, accumulator);
      accumulator.endRows(lanes);
    }
    accumulator.endSlices(slices);
  }
  accumulator.finish();
}
