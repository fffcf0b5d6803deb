#pragma once

#include "foundation/NmDVector.h"
#include "optimizers/RegGradientOptimizer.h"

namespace voxreg::detail {

class SearchProgress;

/// Three positions on a line and the negated metric there; in the end the middle one is the least.
struct Bracket {
  double a, b, c;
  double fa, fb, fc;
};

/// The line searches of one run of RegGradientOptimizer, whose cache they fill. They check nothing:
/// there is a functional to search. They ask for an interruption after each trial.
class LineSearch {
 public:
  /// Along lines in the first `numParams` parameters. Owns nothing.
  LineSearch(RegGradientOptimizer& search, SearchProgress& progress, int numParams);

  RegGradientOptimizer& search() const { return search_; }
  int numParams() const { return numParams_; }

  /// RegGradientOptimizer's linmin, f1dim, mnbrak and brent.
  void minimise(NmDVector<double>& point, NmDVector<double>& direction, double maxMove,
                double& value, double& length);
  double valueAt(const NmDVector<double>& point, const NmDVector<double>& direction, double x);
  void bracket(const NmDVector<double>& point, const NmDVector<double>& direction, Bracket& found);
  double refine(const NmDVector<double>& point, const NmDVector<double>& direction, double a,
                double b, double c, double relativeTolerance, double& x);

 private:
  void moveTo(const NmDVector<double>& point, const NmDVector<double>& direction, double x);
  void limitMove(const NmDVector<double>& point, const NmDVector<double>& direction, double maxMove,
                 double& value, double& length);
  bool returnIfLost(const NmDVector<double>& point, double& value);

  RegGradientOptimizer& search_;
  SearchProgress& progress_;
  int numParams_;
};

/// A line search: holds the start and the direction before it, the new point and the move after it.
struct SearchLine {
  NmDVector<double> point;
  NmDVector<double> direction;
  double value = 0.0;
  double length = 0.0;

  void search(LineSearch& lines) { lines.minimise(point, direction, 0.0, value, length); }
};

}  // namespace voxreg::detail
