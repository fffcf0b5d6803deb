#pragma once

#include <limits>

#include "foundation/NmDVector.h"
#include "foundation/NmMemory.h"

class RegFunctional;
class RegOptimizerCallback;
class RegParametricTransform;

/// A search that changes the free parameters of one transform so that the value of one functional
/// becomes as large as it can. Whoever runs it sets the functional before each `optimize` and takes
/// it away, by null, before the functional goes. It owns neither functional, transform nor
/// callback.
class RegOptimizer : public NmAllocated {
 public:
  RegOptimizerCallback* callback;  ///< may be null
  short level = 0;                 ///< a number that the host may keep here; no search reads it
  bool recomputeSteps = false;     ///< take the parameters' steps anew after each improving sweep
  RegFunctional* functional = nullptr;
  RegParametricTransform* transform = nullptr;  ///< the functional's
  int levelNumber = 0;                          ///< resolution level, from 1
  int numLevels = 1;                            ///< levels that are going to be run
  int stageNumber = 1;  ///< run of `optimize` within the registration, from 1
  int numStages = 1;    ///< runs that are planned

  explicit RegOptimizer(RegOptimizerCallback* callbackToAsk);
  RegOptimizer(const RegOptimizer&) = delete;
  RegOptimizer& operator=(const RegOptimizer&) = delete;
  virtual ~RegOptimizer();

  /// Runs the search and returns the best value found; the transform's parameters hold the result.
  /// The steps are the first and the last factor that multiply each parameter's own step. -1000.0,
  /// with an error line, when there is no functional or it has no transform.
  virtual double optimize(float maxStep, float minStep) = 0;

  virtual void setLevel(short levelToSet);

  /// Null is allowed.
  void setFunctional(RegFunctional* functionalToSearch);

 protected:
  /// True if there is something to search; otherwise writes an error line in the name of
  /// `operation`.
  bool canSearch(const char* operation) const;

  /// The value of a functional that cannot evaluate.
  static constexpr double unevaluated = std::numeric_limits<float>::lowest();

  /// The transform's free parameters, as far as its vector holds them.
  int numFreeParameters() const;

  /// The change of each free parameter that counts as one unit of step length. 0, so that it stays
  /// where it is, for a parameter whose step a volume without extent makes infinite.
  void getParamSteps(NmDVector<double>& steps) const;
};
