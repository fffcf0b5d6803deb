#pragma once

#include "foundation/NmDArray.h"
#include "optimizers/RegOptimizer.h"

/// Search with line searches along directions derived from the gradient: steepest descent,
/// conjugate gradients (Polak and Ribiere 1969) or quasi-Newton (the BFGS update of the inverse
/// Hessian). It minimises the negated metric; the operations other than the search itself take and
/// return negated values, and `optimize` restores the sign.
///
/// An interruption leaves the parameters where they are, possibly at a trial point of a line. A
/// line search never leaves parameters that are not finite. Without a functional every operation
/// logs an error and does nothing; values are then those of -1000.0.
class RegGradientOptimizer : public RegOptimizer {
 public:
  /// A point of the current line and the functional's value there, not negated.
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

  /// -0.0 for an unknown method, and for methods 1 and 2 if the first gradient is 0.
  double optimize(float maxStep, float minStep) override;

  /// The gradient, uphill in the metric, scaled to a move in which the parameter with the largest
  /// component changes by its own step. `factor` scales the steps of the trials, `value` receives
  /// the metric, `numPenalised` the number of penalised parameters, and the elapsed seconds are
  /// added to `time` if given. Returns 0, with `direction` zero, if the gradient is zero, otherwise
  /// 1.
  int getDirection(float factor, NmDVector<double>& direction, double& value, int& numPenalised,
                   float* time);

  /// Minimises along a line of `n` parameters from `point`, starting with a step of `*length`. On
  /// return `direction` holds the move, `point` the new position, `*value` its value and `*length`
  /// the length of the move. If above 0, `maxMove` limits the length. `*value` must hold the value
  /// at `point` on entry.
  void linmin(NmDVector<double>& point, NmDVector<double>& direction, double maxMove, int n,
              double* value, double* length);

  /// Sets the parameters to point + x * direction and returns the value there, from the cache if it
  /// has a position within 1e-6. The trailing int is ignored, here and below.
  double f1dim(int n, const NmDVector<double>& point, const NmDVector<double>& direction, double x,
               int = 0);

  /// Brackets a minimum, starting with *ax and *bx, by golden sections and parabolas. An
  /// interruption leaves the bracket in its current state.
  void mnbrak(int n, const NmDVector<double>& point, const NmDVector<double>& direction, double* ax,
              double* bx, double* cx, double* fa, double* fb, double* fc, int = 0);

  /// Minimises within a bracket (R. P. Brent, Algorithms for Minimization without Derivatives,
  /// 1973, chapter 5) and returns the value. An interruption leaves `*xmin` unchanged.
  double brent(int n, const NmDVector<double>& point, const NmDVector<double>& direction, double ax,
               double bx, double cx, double relativeTolerance, double* xmin, int = 0);

  /// Each line goes along the gradient. Returns the value.
  double steepestDescent(float maxStep, float minStep);

  /// `*value` and `*iterations` (of the current restart) are unchanged if no line is searched.
  void conjugateGradients(float maxStep, float minStep, float relativeTolerance, double* value,
                          int* iterations);

  /// Restarts when the progress reaches a target. On a grid of bricks, a line that the regularity
  /// penalty stops is searched again with some of its parameters held fixed.
  void quasiNewton(float maxStep, float minStep, float relativeTolerance, double* value,
                   int* iterations);

 private:
  class ConjugateGradients;
  class QuasiNewton;
};
