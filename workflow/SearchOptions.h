#pragma once

#include <optional>

#include "foundation/NmVec.h"

namespace voxreg {

/// How a search goes about it.
enum class Search {
  quasiNewton,
  conjugateGradient,
  bestDirection,
  aggressiveDirection,
  bestNeighbour  ///< tells no progress, and stops only at the end of a stage
};

/// Largest and smallest step of a search. A step of 1 moves a matrix by about a millimetre, and a
/// vertex of a grid of bricks by a quarter of one.
struct StepRange {
  float largest;
  float smallest;
};

struct SearchOptions {
  Search search = Search::quasiNewton;
  std::optional<StepRange> steps = {};  ///< none: what suits the search
  int gradientLevels = 0;  ///< how many of the finest levels are left to the quasi-Newton search
  /// Relative gain of a line at which gradient searches end; none: what suits the metric.
  std::optional<float> gradientTolerance = {};
  bool fitSteps = false;          ///< one reduction of the best-direction search's step throughout
  bool restrictedMotion = false;  ///< smaller rotations and translations along z
};

/// The resolutions that a search runs through.
struct LevelOptions {
  /// Reduction of the reference along the axes nearest to the world's on the coarsest level, 1 to
  /// 1024; none: to about 32 voxels along the longest side.
  std::optional<NmVec3i> coarsest = {};
  int levels = 0;  ///< 1 to 10, each twice as fine as the one before, the last one full resolution;
                   ///< 0: as `coarsest` has it
};

}  // namespace voxreg
