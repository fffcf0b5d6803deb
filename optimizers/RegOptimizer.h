#pragma once

#include <limits>

#include "foundation/NmDVector.h"
#include "foundation/NmMemory.h"

class RegFunctional;
class RegOptimizerCallback;
class RegParametricTransform;

/// A search that changes the free parameters of a transform so as to maximise the value of a
/// functional. The caller sets the functional before each `optimize` and resets it to null before
/// the functional is destroyed. The search owns neither functional, transform nor callback.
class RegOptimizer : public NmAllocated {
 public:
  RegOptimizerCallback* callback;  ///< may be null
  short level = 0;                 ///< for the host's own use; no search reads it
  bool recomputeSteps = false;     ///< recompute the parameters' steps after each improving sweep
  RegFunctional* functional = nullptr;
  RegParametricTransform* transform = nullptr;  ///< the functional's
  int levelNumber = 0;                          ///< resolution level, starting at 1
  int numLevels = 1;                            ///< number of levels in the run
  int stageNumber = 1;  ///< run of `optimize` within the registration, starting at 1
  int numStages = 1;    ///< number of planned runs

  explicit RegOptimizer(RegOptimizerCallback* callbackToAsk);
  RegOptimizer(const RegOptimizer&) = delete;
  RegOptimizer& operator=(const RegOptimizer&) = delete;
  virtual ~RegOptimizer();

  /// Runs the search and returns the best value found; the transform's parameters hold the result.
  /// The steps are the first and the last factor by which each parameter's own step is multiplied.
  /// Returns -1000.0, with an error line, if there is no functional or it has no transform.
  virtual double optimize(float maxStep, float minStep) = 0;

  virtual void setLevel(short levelToSet);

  /// Null is allowed.
  void setFunctional(RegFunctional* functionalToSearch);

 protected:
  /// True if there is something to search; otherwise logs an error in the name of `operation`.
  bool canSearch(const char* operation) const;

  /// The value of a functional that cannot evaluate.
  static constexpr double unevaluated = std::numeric_limits<float>::lowest();

  /// Number of the transform's free parameters that its vector holds.
  int numFreeParameters() const;

  /// The change of each free parameter that counts as one unit of step length. 0 for a parameter
  /// whose step is infinite because a volume has no extent; such a parameter stays fixed.
  void getParamSteps(NmDVector<double>& steps) const;
};
