#pragma once

#include <optional>

#include "foundation/NmVec.h"

namespace voxreg {

/// The search method.
enum class Search {
  exactDerivatives,  ///< quasi-Newton method with exact derivatives, of matrices
  quasiNewton,       ///< with derivatives by differences
  conjugateGradient,
  bestDirection,
  aggressiveDirection,
  bestNeighbour  ///< reports no progress, and stops only at the end of a stage
};

/// Largest and smallest step of a search. A step of 1 changes a matrix by about a millimetre, and a
/// vertex of a grid of bricks by a quarter of one.
struct StepRange {
  float largest;
  float smallest;
};

struct SearchOptions {
  /// None: exact derivatives for a matrix, unless an option here belongs to the other searches, and
  /// otherwise the quasi-Newton search.
  std::optional<Search> search = {};
  std::optional<StepRange> steps = {};  ///< none: depends on the search
  int gradientLevels = 0;  ///< number of finest levels that use the quasi-Newton search
  /// Relative gain of a line below which gradient searches stop; none: depends on the metric.
  std::optional<float> gradientTolerance = {};
  bool fitSteps = false;          ///< constant step reduction in the best-direction search
  bool restrictedMotion = false;  ///< smaller rotations and translations along z
};

/// The resolutions of a search.
struct LevelOptions {
  /// Reduction of the reference on the coarsest level along the axes closest to the world's, 1 to
  /// 1024; none: down to about 32 voxels along the longest side.
  std::optional<NmVec3i> coarsest = {};
  int levels = 0;  ///< 1 to 10, each twice as fine as the one before, the last one full resolution;
                   ///< 0: as `coarsest` has it
};

}  // namespace voxreg
