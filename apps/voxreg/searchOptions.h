#pragma once

#include <voxreg.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace host {

/// How two volumes are compared.
struct MetricSettings {
  std::string name = "nmi";           ///< msd, cr, nmi or mi
  int bins = 0;                       ///< on each side of a histogram; 0: what suits the ranges
  std::vector<float> referenceRange;  ///< smallest and largest value that count; empty: all
  std::vector<float> modelRange;

  /// The library's number of the metric.
  unsigned int kind() const;
};

/// How a search goes about it. The meaning of the step lengths is the transform's: about
/// millimetres for a matrix, quarters of a millimetre for a grid of bricks.
struct SearchSettings {
  std::string optimizer;
  std::vector<float> steps;  ///< the largest and the smallest
  int gradientLevels = 0;    ///< how many of the finest levels are left to the gradient search
  float gradientTolerance = 0.0f;  ///< relative gain of a line at which gradient searches end
  bool fitSteps = false;           ///< one reduction of the best-direction search's step throughout
  bool restrictedMotion = false;   ///< smaller rotations and translations along z

  /// The library's number of the search.
  unsigned int kind() const;
};

/// The resolutions that a search runs through.
struct LevelSettings {
  std::vector<int> coarsest;  ///< reduction along x, y and z on the coarsest level; empty: chosen
  int levels = 0;  ///< each twice as fine as the one before, the last one full resolution;
                   ///< 0: as `coarsest` has it
};

/// Each adds its options to a command; the settings' present values are the defaults.
void addMetricOptions(CLI::App& command, MetricSettings& settings);
void addSearchOptions(CLI::App& command, SearchSettings& settings);
void addLevelOptions(CLI::App& command, LevelSettings& settings);

/// A check for the numbers of an option: finite and above a limit.
CLI::Validator numberAbove(double limit);

}  // namespace host
