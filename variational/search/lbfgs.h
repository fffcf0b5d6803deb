#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace voxreg::detail {

/// The limited-memory quasi-Newton method (D. C. Liu and J. Nocedal, On the limited memory BFGS
/// method for large scale optimization, 1989) for a smooth function that is to become small, with a
/// line search that begins at the unit step and only shortens it.
class Lbfgs {
 public:
  struct Options {
    int pairs = 8;  ///< moves that are remembered
    int mostIterations = 100;
    double firstMove = 1.0;      ///< largest change of a parameter in the first move
    double relativeGain = 5e-6;  ///< ends when the mean of the last four gains is below it
    int mostTrials = 12;         ///< of one line search
  };

  struct Summary {
    double value = 0.0;
    int iterations = 0;
    int evaluations = 0;
    bool interrupted = false;
  };

  /// The value at `x`, and the gradient.
  using Function =
      std::function<double(const std::vector<double>& x, std::vector<double>& gradient)>;

  /// Asked after each iteration; false ends the search.
  using GoesOn = std::function<bool(int iteration, double value)>;

  explicit Lbfgs(const Options& options) : options_(options) {}

  /// Improves `x`, which holds the best point in the end.
  Summary minimise(const Function& function, const GoesOn& goesOn, std::vector<double>& x) const;

 private:
  Options options_;
};

}  // namespace voxreg::detail
