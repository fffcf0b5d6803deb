/// Trilinear samples of a model. Per axis of n voxels a position is limited to [0, n - 1] and split
/// into a cell, at most n - 2, and the fraction behind it; a NaN counts as 0. An axis of one voxel
/// reads that voxel as both neighbours.
template <class U>
class TrilinearSampler {
 public:
  using Doubles = typename Lanes::Doubles;

  explicit TrilinearSampler(const Walk& walk) : voxels_(static_cast<const U*>(walk.model)) {
    long stride = 1;
    for (int axis = 0; axis < 3; ++axis) {
      const int n = walk.modelDims[axis];
      stride_[axis] = stride;
      neighbour_[axis] = n > 1 ? stride : 0;
      top_[axis] = Lanes::all(n - 1);
      lastCell_[axis] = Lanes::all(n > 1 ? n - 2 : n - 1);
      stride *= n;
    }
  }

  /// Bit r is set where the position in lane r lies within half a voxel of the model.
  unsigned inside(const Doubles position[3]) const {
    const Doubles lower = Lanes::all(-0.5);
    const Doubles half = Lanes::all(0.5);
    unsigned in = ~0u;
    for (int axis = 0; axis < 3; ++axis)
      in &= Lanes::inside(position[axis], lower, top_[axis] + half);
    return in;
  }

  Doubles at(const Doubles position[3]) const {
    Doubles f[3];
    long cell[3][Lanes::width];
    for (int axis = 0; axis < 3; ++axis) {
      const Doubles p = Lanes::limit(position[axis], Lanes::all(0.0), top_[axis]);
      const auto cells = Lanes::truncate(Lanes::smaller(p, lastCell_[axis]));
      Lanes::spread(cells, cell[axis]);
      f[axis] = p - Lanes::toDoubles(cells);
    }
    const U* corner[Lanes::width];
    for (int r = 0; r < Lanes::width; ++r)
      corner[r] = voxels_ + (cell[0][r] + cell[1][r] * stride_[1] + cell[2][r] * stride_[2]);
    const Doubles one = Lanes::all(1.0);
    const Doubles g0 = one - f[0];
    const Doubles g1 = one - f[1];
    const Doubles a = plane(corner, 0, f[0], g0, f[1], g1);
    const Doubles b = plane(corner, neighbour_[2], f[0], g0, f[1], g1);
    return (b - a) * f[2] + a;
  }

 private:
  Doubles plane(const U* const corner[Lanes::width], long offset, Doubles f0, Doubles g0,
                Doubles f1, Doubles g1) const {
    const long ox = neighbour_[0];
    const long oy = neighbour_[1];
    return (Lanes::voxels(corner, offset + ox + oy) * f0 +
            Lanes::voxels(corner, offset + oy) * g0) *
               f1 +
           (Lanes::voxels(corner, offset + ox) * f0 + Lanes::voxels(corner, offset) * g0) * g1;
  }

  const U* voxels_;
  long stride_[3];
  long neighbour_[3];
  Doubles top_[3];
  Doubles lastCell_[3];
};
