/// Rows of the reference that are walked side by side, one in each lane: successive rows of one
/// slice (laneAxis 1) or the same row of successive slices (laneAxis 2).
template <int laneAxis>
struct RowBlock {
  int y;
  int z;
  int count;  ///< lanes in use; those beyond repeat the last row

  int laneOf(int r) const { return r < count ? r : count - 1; }
  int yOf(int r) const { return laneAxis == 1 ? y + laneOf(r) : y; }
  int zOf(int r) const { return laneAxis == 2 ? z + laneOf(r) : z; }
};

static int fewer(int a, int b) {
  return a < b ? a : b;
}

static int more(int a, int b) {
  return a > b ? a : b;
}

/// The voxels that the rows of a block sample.
struct BlockSpan {
  RowSpan rows[Lanes::width];
  RowSpan all;     ///< from the first one to the last one in any row
  RowSpan common;  ///< those that every row samples that samples any

  void unite() {
    all = {0, -1};
    common = {0, -1};
    for (const RowSpan& row : rows) {
      if (row.count() == 0) continue;
      const bool isFirst = all.count() == 0;
      all.first = isFirst ? row.first : fewer(row.first, all.first);
      all.last = isFirst ? row.last : more(row.last, all.last);
      common.first = isFirst ? row.first : more(row.first, common.first);
      common.last = isFirst ? row.last : fewer(row.last, common.last);
    }
  }
};

/// Tells which lanes have a voxel at a place along x.
class LaneSpans {
 public:
  explicit LaneSpans(const BlockSpan& span) : common_(span.common) {
    double first[Lanes::width];
    double last[Lanes::width];
    for (int r = 0; r < Lanes::width; ++r) {
      first[r] = span.rows[r].first;
      last[r] = span.rows[r].last;
    }
    first_ = Lanes::load(first);
    last_ = Lanes::load(last);
    inCommon_ = compare(common_.first);
  }

  typename Lanes::Mask at(int x) const {
    return x >= common_.first && x <= common_.last ? inCommon_ : compare(x);
  }

 private:
  typename Lanes::Mask compare(int x) const { return Lanes::within(Lanes::all(x), first_, last_); }

  RowSpan common_;
  typename Lanes::Mask inCommon_;
  typename Lanes::Doubles first_;
  typename Lanes::Doubles last_;
};

/// Addresses as numbers: what is asked for ahead of time may lie beyond a volume.
static long addressOf(const void* p) {
  return reinterpret_cast<long>(p);
}

static void prefetch(long address) {
  __builtin_prefetch(reinterpret_cast<const void*>(address));
}

/// Columns of a block that are worked on at a time.
static constexpr int batchColumns = 32;

/// Voxels x .. x + n - 1 of the rows, widened, a value per lane for each x.
template <class T, int laneAxis>
static void widenRows(const Walk& walk, const RowBlock<laneAxis>& block, int x, int n,
                      double* out) {
  constexpr long rowsAhead = laneAxis == 1 ? Lanes::width : 1;
  constexpr int lineVoxels = 64 / static_cast<int>(sizeof(T));
  const long rowLength = walk.referenceDims[0];
  const T* rows[Lanes::width];
  for (int r = 0; r < Lanes::width; ++r) {
    rows[r] = static_cast<const T*>(walk.reference) + x +
              rowLength * (block.yOf(r) + static_cast<long>(walk.referenceDims[1]) * block.zOf(r));
    for (int i = 0; i < n; i += lineVoxels)
      prefetch(addressOf(rows[r] + i) + rowsAhead * rowLength * static_cast<long>(sizeof(T)));
  }
  T side[batchColumns * Lanes::width];
  for (int i = 0; i < n; ++i)
    for (int r = 0; r < Lanes::width; ++r) side[i * Lanes::width + r] = rows[r][i];
  for (int i = 0; i < n; ++i)
    Lanes::store(out + i * Lanes::width, Lanes::widen(side + i * Lanes::width));
}

template <int laneAxis>
static void loadReference(const Walk& walk, const RowBlock<laneAxis>& block, int x, int n,
                          double* out) {
  using Load = void (*)(const Walk&, const RowBlock<laneAxis>&, int, int, double*);
  static constexpr Load load[numVoxelTypes] = {
      widenRows<unsigned char, laneAxis>,  widenRows<short, laneAxis>,
      widenRows<unsigned short, laneAxis>, widenRows<int, laneAxis>,
      widenRows<float, laneAxis>,          widenRows<double, laneAxis>};
  load[walk.referenceType](walk, block, x, n, out);
}
