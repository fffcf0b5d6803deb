#pragma once

#include "functional/kernels/blockSpan.inl"
#include "functional/kernels/columns.inl"
#include "functional/kernels/prefetch.inl"

/// Positions of reference rows through a grid of bricks. The map is evaluated in stages: the slice
/// stage eliminates z, once per slice; the row stage eliminates y, once per row; the rest is linear
/// along x within a brick. Only bricks that the walked box touches are evaluated.
template <LaneContents laneContents>
class BrickPositions {
 public:
  /// Rows are not clipped.
  static constexpr bool samplesNeedTest = true;

  explicit BrickPositions(const Walk& walk)
      : walk_(walk),
        row_(walk.stages),
        slices_(walk.stages + static_cast<std::int64_t>(rowDoubles) * Lanes::width *
                                  countOf(walk.grid.touched[0])),
        slicesEnd_(walk.box.zmin) {}

  static IndexSpan rowRange(const Walk& walk) { return {walk.box.ymin, walk.box.ymax + 1}; }

  /// Puts the rows of a block into the lanes; each samples the whole box along x.
  void startRows(const RowBlock& block, BlockSpan& span) {
    startSlices(block);
    const int columns = countOf(walk_.grid.touched[0]);
    for (int i = 0; i < columns; ++i) {
      double* const row = row_ + static_cast<std::int64_t>(rowDoubles) * Lanes::width * i;
      if constexpr (laneContents == LaneContents::slices)
        takeRows(block.y[0], i, row);
      else
        for (int r = 0; r < Lanes::width; ++r) takeLane(block.y[r], block.z[r], i, row + r);
    }
    if (block.count == lanesInSpan_) return;
    lanesInSpan_ = block.count;
    IndexSpan rows[Lanes::width];
    for (int r = 0; r < Lanes::width; ++r)
      rows[r] = r < block.count ? IndexSpan{walk_.box.xmin, walk_.box.xmax + 1} : IndexSpan{0, 0};
    span.set(rows);
  }

  void seek(int x) { x_ = x; }

  /// Returns the positions, in model voxel coordinates, and moves on to the next voxel.
  void take(typename Lanes::Doubles position[3]) {
    const BrickPlace& place = walk_.grid.columns[x_++ - walk_.box.xmin];
    const double* const row = row_ + static_cast<std::int64_t>(rowDoubles) * Lanes::width *
                                         (place.brick - walk_.grid.touched[0].first);
    const auto t = Lanes::all(place.fraction);
    for (int axis = 0; axis < 3; ++axis)
      position[axis] =
          Lanes::load(row + axis * Lanes::width) + t * Lanes::load(row + (axis + 3) * Lanes::width);
  }

 private:
  /// The terms of a touched brick in a slice, or in as many slices as there are lanes: with one
  /// slice per lane they have a value per lane for each slice.
  double* sliceOf(int z, int i, int j) const {
    const IndexSpan* const touched = walk_.grid.touched;
    const std::int64_t bricks =
        static_cast<std::int64_t>(countOf(touched[0])) * countOf(touched[1]);
    const std::int64_t brick = i + static_cast<std::int64_t>(countOf(touched[0])) * j;
    const int slot = (z - walk_.box.zmin) % Lanes::width;
    return slices_ + (laneContents == LaneContents::slices
                          ? sliceDoubles * Lanes::width * brick + slot
                          : sliceDoubles * (brick + bricks * slot));
  }

  /// Evaluates the bricks of the slices that a block enters.
  void startSlices(const RowBlock& block) {
    if constexpr (laneContents == LaneContents::slices) {
      if (slicesEnd_ > block.z[0]) return;
      slicesEnd_ = block.z[0] + Lanes::width;
      evaluateAbreast(block.z[0]);
    } else {
      for (; slicesEnd_ <= block.z[Lanes::width - 1]; ++slicesEnd_) evaluate(slicesEnd_);
    }
  }

  BrickPlace layerOf(int z) const {
    const WalkedBricks& grid = walk_.grid;
    double w = (z * walk_.step[2][2] + walk_.start[2] - grid.zMin) / grid.zExtent;
    w = w < 0.0 ? 0.0 : w > 1.0 ? 1.0 : w;
    return placeInBricks(grid.numBricks[2] * w, grid.numBricks[2]);
  }

  const double* coefficientsOf(int i, int j, int layer) const {
    const WalkedBricks& grid = walk_.grid;
    const std::int64_t brick =
        i + grid.touched[0].first +
        static_cast<std::int64_t>(grid.numBricks[0]) *
            (j + grid.touched[1].first + static_cast<std::int64_t>(grid.numBricks[1]) * layer);
    return grid.coefficients + brickDoubles * brick;
  }

  void evaluate(int z) {
    const WalkedBricks& grid = walk_.grid;
    const BrickPlace layer = layerOf(z);
    for (int j = 0; j < countOf(grid.touched[1]); ++j)
      for (int i = 0; i < countOf(grid.touched[0]); ++i) {
        double terms[sliceDoubles];
        const double* const brick = coefficientsOf(i, j, layer.brick);
        takeSlice([&](int e) { return brick[e]; }, layer.fraction, terms);
        scaleSlice(
            grid.offset, grid.scale, [](double value) { return value; }, terms);
        __builtin_memcpy(sliceOf(z, i, j), terms, sizeof terms);
      }
  }

  /// The same for as many slices as there are lanes, starting at slice z. Idle lanes continue past
  /// the box, where nothing is sampled.
  void evaluateAbreast(int z) {
    Layers layers;
    double fractions[Lanes::width];
    double bricks[Lanes::width];
    for (int r = 0; r < Lanes::width; ++r) {
      const BrickPlace place = layerOf(z + r);
      fractions[r] = place.fraction;
      bricks[r] = layers.ofLane[r] = place.brick;
    }
    layers.fraction = Lanes::load(fractions);
    layers.brick = Lanes::load(bricks);
    for (int j = 0; j < countOf(walk_.grid.touched[1]); ++j)
      for (int i = 0; i < countOf(walk_.grid.touched[0]); ++i)
        evaluateAbreast(layers, i, j, sliceOf(walk_.box.zmin, i, j));
  }

  /// Positions of the lanes' slices in the layers of bricks.
  struct Layers {
    typename Lanes::Doubles fraction;
    typename Lanes::Doubles brick;
    int ofLane[Lanes::width];
  };

  void evaluateAbreast(const Layers& layers, int i, int j, double* slice) const {
    typename Lanes::Doubles terms[sliceDoubles];
    for (int r = 0; r < Lanes::width; ++r) {
      const int layer = layers.ofLane[r];
      if (r > 0 && layer == layers.ofLane[r - 1]) continue;
      const double* const brick = coefficientsOf(i, j, layer);
      const auto inLayer = Lanes::within(layers.brick, Lanes::all(layer), Lanes::all(layer));
      typename Lanes::Doubles found[sliceDoubles];
      takeSlice([&](int e) { return Lanes::all(brick[e]); }, layers.fraction, found);
      for (int e = 0; e < sliceDoubles; ++e)
        terms[e] = r == 0 ? found[e] : Lanes::select(inLayer, found[e], terms[e]);
    }
    scaleSlice(
        walk_.grid.offset, walk_.grid.scale, [](double value) { return Lanes::all(value); }, terms);
    for (int e = 0; e < sliceDoubles; ++e) Lanes::store(slice + e * Lanes::width, terms[e]);
  }

  const BrickPlace& placeOfRow(int y) const { return walk_.grid.rows[y - walk_.box.ymin]; }

  /// One row of one slice.
  void takeLane(int y, int z, int i, double* row) const {
    const BrickPlace& place = placeOfRow(y);
    const double* const slice = sliceOf(z, i, place.brick - walk_.grid.touched[1].first);
    double terms[rowDoubles];
    takeRow(PlainTerms{slice}, place.fraction, terms);
    for (int e = 0; e < rowDoubles; ++e) row[e * Lanes::width] = terms[e];
  }

  /// The same row of all slices.
  void takeRows(int y, int i, double* row) const {
    const BrickPlace& place = placeOfRow(y);
    const double* const slice =
        sliceOf(walk_.box.zmin, i, place.brick - walk_.grid.touched[1].first);
    typename Lanes::Doubles terms[rowDoubles];
    takeRow([&](int e) { return Lanes::load(slice + e * Lanes::width); },
            Lanes::all(place.fraction), terms);
    for (int e = 0; e < rowDoubles; ++e) Lanes::store(row + e * Lanes::width, terms[e]);
  }

  const Walk& walk_;
  double* row_;     ///< rowDoubles per touched brick along x, each a value per lane
  double* slices_;  ///< sliceDoubles per touched brick of the layer and slice in progress
  int slicesEnd_;   ///< end of the slices evaluated so far
  int lanesInSpan_ = 0;
  int x_ = 0;
};
