/// Reference voxels x = first .. last of one row, widened.
template <class T>
static void widenRow(const Walk& walk, int y, int z, RowSpan span, double* out) {
  const T* const row = static_cast<const T*>(walk.reference) +
                       walk.referenceDims[0] * (y + static_cast<long>(walk.referenceDims[1]) * z);
  for (int x = span.first; x <= span.last; ++x) out[x - span.first] = static_cast<double>(row[x]);
}

static void loadReferenceRow(const Walk& walk, int y, int z, RowSpan span, double* out) {
  using Load = void (*)(const Walk&, int, int, RowSpan, double*);
  static constexpr Load load[numVoxelTypes] = {widenRow<unsigned char>,  widenRow<short>,
                                               widenRow<unsigned short>, widenRow<int>,
                                               widenRow<float>,          widenRow<double>};
  load[walk.referenceType](walk, y, z, span, out);
}

static RowSpan unite(const RowSpan spans[Lanes::width]) {
  RowSpan all = {0, -1};
  for (int r = 0; r < Lanes::width; ++r) {
    if (spans[r].count() == 0) continue;
    const bool first = all.count() == 0;
    all.first = first || spans[r].first < all.first ? spans[r].first : all.first;
    all.last = first || spans[r].last > all.last ? spans[r].last : all.last;
  }
  return all;
}

/// Samples voxels `span` of the rows that `positions` stands on; voxel x of row r goes to
/// values[(x - span.first) * Lanes::width + r]. Where samples need a test, bit r of
/// inside[x - span.first] tells whether that one counts.
template <class Positions, class Sampler>
static void sampleRows(Positions& positions, const Sampler& sampler, RowSpan span, double* values,
                       unsigned char* inside) {
  positions.seek(span.first);
  for (int x = span.first; x <= span.last; ++x) {
    typename Lanes::Doubles position[3];
    positions.take(position);
    if constexpr (Positions::samplesNeedTest)
      *inside++ = static_cast<unsigned char>(sampler.inside(position));
    Lanes::store(values, sampler.at(position));
    values += Lanes::width;
  }
}

/// Walks the reference slice by slice in blocks of rows, one row in each lane: positions, samples,
/// then the accumulation row after row, so that every sum takes its terms in the order of the
/// voxels.
template <class Positions, class Sampler, class Accumulator>
static void walkRowBlocks(const Walk& walk, Accumulator& accumulator) {
  const long rowLength = walk.referenceDims[0];
  double* const values = walk.scratch;
  double* const reference = values + Lanes::width * rowLength;
  double* const flags = reference + rowLength;
  auto* const inside = reinterpret_cast<unsigned char*>(flags);
  Positions positions(walk, flags + rowLength);
  const Sampler sampler(walk);
  const RowSpan rows = Positions::rowRange(walk);
  for (int z = walk.box.zmin; z <= walk.box.zmax; ++z) {
    positions.startSlice(z);
    accumulator.startSlice();
    for (int y = rows.first; y <= rows.last; y += Lanes::width) {
      const int n = rows.last - y + 1 < Lanes::width ? rows.last - y + 1 : Lanes::width;
      RowSpan spans[Lanes::width];
      positions.startRows(y, n, spans);
      const RowSpan all = unite(spans);
      if (all.count() == 0) continue;
      sampleRows(positions, sampler, all, values, inside);
      for (int r = 0; r < n; ++r) {
        if (spans[r].count() == 0) continue;
        loadReferenceRow(walk, y + r, z, spans[r], reference);
        const long skipped = spans[r].first - all.first;
        const unsigned char* const flag = inside + skipped;
        accumulator.addRow(
            reference, values + skipped * Lanes::width + r, Lanes::width, spans[r].count(),
            [=](int i) { return !Positions::samplesNeedTest || (flag[i] >> r & 1) != 0; });
      }
    }
    accumulator.endSlice();
  }
}
