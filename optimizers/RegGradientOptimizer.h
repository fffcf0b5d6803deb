#pragma once

#include "foundation/NmDArray.h"
#include "optimizers/RegOptimizer.h"

/// Search along directions that come from the gradient, by line searches: steepest descent,
/// conjugate gradients (Polak and Ribiere 1969) or quasi-Newton (the BFGS update of the inverse
/// Hessian). It minimises the negated metric; the operations below the search itself give and take
/// negated values, and `optimize` turns the sign back.
///
/// An interruption leaves the parameters where they are, which may be a trial point of a line. A
/// line search never leaves parameters that are not finite. Without a functional every operation
/// writes an error line and does nothing; values are then those of -1000.0.
class RegGradientOptimizer : public RegOptimizer {
 public:
  /// A point of the present line and what the functional gave there, not negated.
  struct EntryLinmin {
    double position;
    double value;
  };

  int method = 2;   ///< 0 steepest descent, 1 conjugate gradients, 2 quasi-Newton
  float tolerance;  ///< relative gain of a line search at or below which a search has converged
  NmDArray<EntryLinmin> lineCache;  ///< the line's evaluations so far
  bool restrictedMotion;            ///< smaller rotations, and the coverage in the log

  RegGradientOptimizer(RegOptimizerCallback* callbackToAsk, float relativeTolerance,
                       bool restricted);

  /// -0.0 for an unknown method, and where the first gradient of methods 1 and 2 is 0.
  double optimize(float maxStep, float minStep) override;

  /// The gradient, uphill in the metric, as a move of which the parameter of the largest component
  /// makes one of its own steps. `factor` scales the steps of the trials, `value` receives the
  /// metric, `numPenalised` the number of penalised parameters, and the seconds that it took are
  /// added to `time`, if given. 0, with `direction` zero, when the gradient is zero, otherwise 1.
  int getDirection(float factor, NmDVector<double>& direction, double& value, int& numPenalised,
                   float* time);

  /// Minimises along a line of `n` parameters from `point`, beginning with a step of `*length`.
  /// Then `direction` holds the move made, `point` the new position, `*value` its value and
  /// `*length` the length of the move. Above 0, `maxMove` limits the length. `*value` must hold the
  /// value at `point` on entry.
  void linmin(NmDVector<double>& point, NmDVector<double>& direction, double maxMove, int n,
              double* value, double* length);

  /// Puts the parameters to point + x * direction and gives the value there, from the cache if it
  /// knows a position within 1e-6. The trailing int is ignored, here and below.
  double f1dim(int n, const NmDVector<double>& point, const NmDVector<double>& direction, double x,
               int = 0);

  /// Brackets a minimum, beginning with *ax and *bx, by golden sections and parabolas. An
  /// interruption leaves the bracket as it is then.
  void mnbrak(int n, const NmDVector<double>& point, const NmDVector<double>& direction, double* ax,
              double* bx, double* cx, double* fa, double* fb, double* fc, int = 0);

  /// Minimises within a bracket (R. P. Brent, Algorithms for Minimization without Derivatives,
  /// 1973, chapter 5) and returns the value. An interruption leaves `*xmin` alone.
  double brent(int n, const NmDVector<double>& point, const NmDVector<double>& direction, double ax,
               double bx, double cx, double relativeTolerance, double* xmin, int = 0);

  /// Each line goes along the gradient. Returns the value.
  double steepestDescent(float maxStep, float minStep);

  /// `*value` and `*iterations` (of the present restart) stay as they are where no line is
  /// searched.
  void conjugateGradients(float maxStep, float minStep, float relativeTolerance, double* value,
                          int* iterations);

  /// Restarts when progress calls for it. On a grid of bricks, a line that the regularity penalty
  /// stops is searched again with some of its parameters held.
  void quasiNewton(float maxStep, float minStep, float relativeTolerance, double* value,
                   int* iterations);

 private:
  class ConjugateGradients;
  class QuasiNewton;
};
