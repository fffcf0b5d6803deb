static int fewer(int a, int b) {
  return a < b ? a : b;
}

static int more(int a, int b) {
  return a > b ? a : b;
}

/// What the lanes of a block hold: successive rows in the order of the voxels, which may go on in
/// the next slice, or the same row of successive slices.
enum class Abreast { rows, slices };

/// Rows of the reference that are walked side by side, one in each lane.
struct RowBlock {
  int y[Lanes::width];
  int z[Lanes::width];
  int count;  ///< lanes in use; those beyond repeat the last row
};

/// Takes the rows `ys` of the slices `zs` apart into blocks.
template <Abreast abreast>
class RowBlocks {
 public:
  RowBlocks(RowSpan ys, RowSpan zs) : ys_(ys), zs_(zs), y_(ys.first), z_(zs.first) {}

  /// The next block; false where there is none.
  bool next(RowBlock& block) {
    if (z_ > zs_.last || ys_.count() == 0) return false;
    if constexpr (abreast == Abreast::rows)
      takeRows(block);
    else
      takeSlices(block);
    return true;
  }

 private:
  void takeRows(RowBlock& block) {
    int r = 0;
    for (; r < Lanes::width && z_ <= zs_.last; ++r) {
      block.y[r] = y_;
      block.z[r] = z_;
      finishRow(1);
    }
    block.count = r;
    for (; r < Lanes::width; ++r) {
      block.y[r] = block.y[block.count - 1];
      block.z[r] = block.z[block.count - 1];
    }
  }

  void takeSlices(RowBlock& block) {
    block.count = fewer(zs_.last - z_ + 1, Lanes::width);
    for (int r = 0; r < Lanes::width; ++r) {
      block.y[r] = y_;
      block.z[r] = z_ + fewer(r, block.count - 1);
    }
    finishRow(block.count);
  }

  void finishRow(int slices) {
    if (y_++ < ys_.last) return;
    y_ = ys_.first;
    z_ += slices;
  }

  RowSpan ys_;
  RowSpan zs_;
  int y_;
  int z_;
};

/// The voxels that the rows of a block sample.
class BlockSpan {
 public:
  RowSpan all = {0, -1};  ///< from the first one to the last one in any row

  void set(const RowSpan rows[Lanes::width]) {
    all = {0, -1};
    common_ = {0, -1};
    double first[Lanes::width];
    double last[Lanes::width];
    for (int r = 0; r < Lanes::width; ++r) {
      const RowSpan& row = rows[r];
      first[r] = row.first;
      last[r] = row.last;
      if (row.count() == 0) continue;
      const bool isFirst = all.count() == 0;
      all.first = isFirst ? row.first : fewer(row.first, all.first);
      all.last = isFirst ? row.last : more(row.last, all.last);
      common_.first = isFirst ? row.first : more(row.first, common_.first);
      common_.last = isFirst ? row.last : fewer(row.last, common_.last);
    }
    first_ = Lanes::load(first);
    last_ = Lanes::load(last);
    inCommon_ = compare(common_.first);
  }

  /// Lanes that have a voxel at x.
  typename Lanes::Mask at(int x) const {
    return x >= common_.first && x <= common_.last ? inCommon_ : compare(x);
  }

 private:
  typename Lanes::Mask compare(int x) const { return Lanes::within(Lanes::all(x), first_, last_); }

  RowSpan common_ = {0, -1};  ///< what every row samples that samples any
  typename Lanes::Mask inCommon_ = {};
  typename Lanes::Doubles first_ = {};
  typename Lanes::Doubles last_ = {};
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
template <class T, Abreast abreast>
static void widenRows(const Walk& walk, const RowBlock& block, int x, int n, double* out) {
  constexpr long rowsAhead = abreast == Abreast::rows ? Lanes::width : 1;
  constexpr int lineVoxels = 64 / static_cast<int>(sizeof(T));
  const long rowLength = walk.referenceDims[0];
  const T* rows[Lanes::width];
  for (int r = 0; r < Lanes::width; ++r) {
    rows[r] = static_cast<const T*>(walk.reference) + x +
              rowLength * (block.y[r] + static_cast<long>(walk.referenceDims[1]) * block.z[r]);
    for (int i = 0; i < n; i += lineVoxels)
      prefetch(addressOf(rows[r] + i) + rowsAhead * rowLength * static_cast<long>(sizeof(T)));
  }
  T side[batchColumns * Lanes::width];
  for (int i = 0; i < n; ++i)
    for (int r = 0; r < Lanes::width; ++r) side[i * Lanes::width + r] = rows[r][i];
  for (int i = 0; i < n; ++i)
    Lanes::store(out + i * Lanes::width, Lanes::widen(side + i * Lanes::width));
}

template <Abreast abreast>
static void loadReference(const Walk& walk, const RowBlock& block, int x, int n, double* out) {
  using Load = void (*)(const Walk&, const RowBlock&, int, int, double*);
  static constexpr Load load[numVoxelTypes] = {
      widenRows<unsigned char, abreast>,  widenRows<short, abreast>,
      widenRows<unsigned short, abreast>, widenRows<int, abreast>,
      widenRows<float, abreast>,          widenRows<double, abreast>};
  load[walk.referenceType](walk, block, x, n, out);
}
