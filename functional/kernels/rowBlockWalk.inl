#pragma once

#include "functional/kernels/blockSpan.inl"
#include "functional/kernels/columns.inl"
#include "functional/kernels/referenceRows.inl"

/// Samples the rows of the current block of `positions` and passes them to the accumulator, a
/// number of columns at a time: positions and copies of voxels, then interpolation, then sums.
/// Columns without a sample that counts are skipped.
template <class Positions, class Sampler, class Accumulator>
static void walkRows(const Walk& walk, const RowBlock& block, const BlockSpan& span,
                     Positions& positions, const Sampler& sampler,
                     Columns<typename Sampler::Located>& columns, Accumulator& accumulator) {
  using Batch = Columns<typename Sampler::Located>;
  alignas(64) double reference[Batch::capacity * Lanes::width];
  positions.seek(span.all.first);
  for (int x = span.all.first; x < span.all.end; x += Batch::capacity) {
    const int left = span.all.end - x;
    const int n = left < Batch::capacity ? left : Batch::capacity;
    loadReference<Accumulator::laneContents>(walk, block, x, n, reference);
    columns.count = 0;
    for (int i = 0; i < n; ++i) {
      typename Lanes::Doubles position[3];
      positions.take(position);
      const double* const voxels = reference + i * Lanes::width;
      auto counts = accumulator.accepted(span.at(x + i), voxels);
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

/// Walks the reference in blocks of rows, one row in each lane. The accumulator declares whether
/// lanes hold rows or slices, such that it can take every sum's terms in voxel order.
template <template <LaneContents> class PositionsOf, class Sampler, class Accumulator>
static void walkBlocks(const Walk& walk, Accumulator& accumulator) {
  PositionsOf<Accumulator::laneContents> positions(walk);
  const Sampler sampler(walk);
  Columns<typename Sampler::Located> columns = {};  // unused lanes are read, too
  RowBlocks<Accumulator::laneContents> blocks(positions.rowRange(walk),
                                              {walk.box.zmin, walk.box.zmax + 1});
  RowBlock block;
  BlockSpan span;
  while (blocks.next(block)) {
    positions.startRows(block, span);
    if (countOf(span.all) == 0) continue;
    accumulator.startRows(block);
    walkRows(walk, block, span, positions, sampler, columns, accumulator);
    accumulator.endRows(block);
  }
  accumulator.finish();
}
