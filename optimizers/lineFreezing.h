#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/NmDVector.h"
#include "foundation/NmVec.h"
#include "optimizers/lineSearch.h"

class RegNonAffineTransform;

namespace voxreg::detail {

/// Improves a line search on a grid of bricks that makes no progress, usually because the
/// regularity penalty of a few coefficients stops it. The line is searched again with these held
/// fixed, first those of the brick with the largest penalty, then those with the largest gradient.
/// The result is discarded if that does not help. The limits are empirical.
class LineFreezing {
 public:
  /// Owns nothing; the lines go through all free parameters of the grid.
  LineFreezing(LineSearch& lines, const RegNonAffineTransform& grid);

  /// Stores a line before it is searched, and resets the penalties that the functional collects.
  void begin(const SearchLine& line);

  /// Improves on the line after the search. `gradient` is that at its start, `numPenalised` the
  /// number of parameters at which the gradient's trials were penalised.
  void improve(SearchLine& line, const NmDVector<double>& gradient, int numPenalised);

 private:
  void freezeBrick(SearchLine& line, const NmDVector<double>& gradient, int brick);
  void freezeLargestShifts(SearchLine& line, const NmDVector<double>& gradient, int count);
  void list(const NmDVector<double>& gradient, std::int64_t parameter);
  void searchFrozen(SearchLine& line, int count);
  void keepIfLonger(SearchLine& line, double lengthBefore);

  LineSearch& lines_;
  const RegNonAffineTransform& grid_;
  SearchLine saved_;
  NmDArray<NmVec2f> candidates_;  ///< x: size of the gradient, y: index of the parameter
};

}  // namespace voxreg::detail
