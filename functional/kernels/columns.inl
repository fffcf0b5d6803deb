/// Samples on their way through a kernel: a column is the voxels at one place along x of all rows
/// of a block.
template <class Located>
struct Columns {
  static constexpr int capacity = batchColumns;

  int count = 0;
  typename Lanes::Mask counts[capacity];  ///< lanes whose sample counts
  alignas(64) double reference[capacity * Lanes::width];
  alignas(64) double model[capacity * Lanes::width];
  Located located[capacity];
};
