/// Positions of reference rows through a grid of bricks. The map is taken apart in stages: the
/// slice removes z, once per slice; the row removes y, once per row; what is left along x is linear
/// within a brick. Only bricks that the walked box touches are evaluated. All rows of a box share
/// the places of their voxels along x.
class BrickPositions {
 public:
  /// Nothing has been clipped.
  static constexpr bool samplesNeedTest = true;

  BrickPositions(const Walk& walk, double* scratch) : walk_(walk) {
    const BrickGrid& grid = walk.grid;
    columns_ = reinterpret_cast<BrickPlace*>(scratch);
    rows_ = columns_ + walk.referenceDims[0];
    slice_ = reinterpret_cast<double*>(rows_ + walk.referenceDims[1]);
    table_ = slice_ + sliceDoubles * grid.numBricks[0] * grid.numBricks[1];
    double u = grid.uFirst;
    for (int x = walk.box.xmin; x <= walk.box.xmax; ++x, u += grid.uStep)
      columns_[x] = placeInBricks(u, grid.numBricks[0]);
    double v = grid.vFirst;
    for (int y = walk.box.ymin; y <= walk.box.ymax; ++y, v += grid.vStep)
      rows_[y] = placeInBricks(grid.numBricks[1] * v, grid.numBricks[1]);
    columnBricks_ = span(columns_, walk.box.xmin, walk.box.xmax);
    rowBricks_ = span(rows_, walk.box.ymin, walk.box.ymax);
  }

  static RowSpan rowRange(const Walk& walk) { return {walk.box.ymin, walk.box.ymax}; }

  void startSlice(int z) {
    const BrickGrid& grid = walk_.grid;
    double w = (z * walk_.step[2][2] + walk_.start[2] - grid.zMin) / grid.zExtent;
    w = w < 0.0 ? 0.0 : w > 1.0 ? 1.0 : w;
    const int nx = grid.numBricks[0];
    const int ny = grid.numBricks[1];
    const BrickPlace layer = placeInBricks(grid.numBricks[2] * w, grid.numBricks[2]);
    for (int j = rowBricks_.first; j <= rowBricks_.last; ++j)
      for (int i = columnBricks_.first; i <= columnBricks_.last; ++i) {
        const long brick = i + static_cast<long>(nx) * j;
        double* const slice = slice_ + sliceDoubles * brick;
        takeSlice(
            grid.coefficients + brickDoubles * (brick + static_cast<long>(nx) * ny * layer.brick),
            layer.fraction, slice);
        scaleSlice(grid.offset, grid.scale, slice);
      }
  }

  /// Puts rows y .. y + rows - 1 into the lanes; each samples the whole box along x. Lanes beyond
  /// `rows` repeat the last row.
  void startRows(int y, int rows, RowSpan spans[Lanes::width]) {
    for (int r = 0; r < Lanes::width; ++r) {
      const BrickPlace place = rows_[y + (r < rows ? r : rows - 1)];
      const double* const slices = slice_ + sliceDoubles * walk_.grid.numBricks[0] * place.brick;
      for (int i = columnBricks_.first; i <= columnBricks_.last; ++i) {
        double row[rowDoubles];
        takeRow(slices + sliceDoubles * i, place.fraction, row);
        for (int e = 0; e < rowDoubles; ++e)
          table_[(rowDoubles * i + e) * Lanes::width + r] = row[e];
      }
      spans[r] = r < rows ? RowSpan{walk_.box.xmin, walk_.box.xmax} : RowSpan{0, -1};
    }
  }

  void seek(int x) { x_ = x; }

  /// Hands out the positions, in model voxel coordinates, and moves on to the next voxel.
  void take(typename Lanes::Doubles position[3]) {
    const BrickPlace& place = columns_[x_++];
    const double* const row = table_ + rowDoubles * Lanes::width * place.brick;
    const auto t = Lanes::all(place.fraction);
    for (int axis = 0; axis < 3; ++axis)
      position[axis] =
          Lanes::load(row + axis * Lanes::width) + t * Lanes::load(row + (axis + 3) * Lanes::width);
  }

 private:
  static RowSpan span(const BrickPlace* places, int first, int last) {
    RowSpan bricks = {0, -1};
    for (int i = first; i <= last; ++i) {
      const int brick = places[i].brick;
      if (i == first || brick < bricks.first) bricks.first = brick;
      if (i == first || brick > bricks.last) bricks.last = brick;
    }
    return bricks;
  }

  const Walk& walk_;
  BrickPlace* columns_;  ///< of the voxels along x
  BrickPlace* rows_;     ///< of the rows
  double* slice_;        ///< sliceDoubles per brick of the layer
  double* table_;        ///< rowDoubles per brick along x, each a value per lane
  RowSpan columnBricks_;
  RowSpan rowBricks_;
  int x_ = 0;
};
