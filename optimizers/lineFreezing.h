#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/NmDVector.h"
#include "foundation/NmVec.h"
#include "optimizers/lineSearch.h"

class RegNonAffineTransform;

namespace voxreg::detail {

/// A line search on a grid of bricks that gets nowhere has usually been stopped by the regularity
/// penalty of a few coefficients. It is made again with these held, first those of the brick of the
/// largest penalty, then those of the largest gradient, and taken back where that is no help.
class LineFreezing {
 public:
  /// Nothing is owned; the lines lead through all free parameters of the grid.
  LineFreezing(LineSearch& lines, const RegNonAffineTransform& grid);

  /// Remembers a line before it is searched, and lets the functional collect its penalties anew.
  void begin(const SearchLine& line);

  /// Improves on the line after it was searched. `gradient` is that at its start, `numPenalised`
  /// the number of parameters at which the gradient's trials were penalised.
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
  NmDArray<NmVec2f> candidates_;  ///< x: size of the gradient there, y: index of the parameter
};

}  // namespace voxreg::detail
