#pragma once

#include <voxreg.h>

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

  /// Of volumes that have nothing to do with each other; the difference knows no such value.
  double valueOfChance() const { return name == "nmi" ? 1.0 : 0.0; }

  bool hasRanges() const { return name != "msd"; }

  /// Values beyond a range count as its ends; otherwise they do not count.
  bool countsBeyondRange() const { return name != "cr"; }
};

/// How a search goes about it. A step of 1 moves a matrix by about a millimetre, and a vertex of a
/// grid of bricks by a quarter of one.
struct SearchSettings {
  static constexpr unsigned int gradientKind = 2;  ///< the quasi-Newton search

  std::string optimizer = "gradient";
  std::vector<float> steps;         ///< the largest and the smallest; empty: what suits the search
  int gradientLevels = 0;           ///< how many of the finest levels are left to quasi-Newton
  float gradientTolerance = 1e-6f;  ///< relative gain of a line at which gradient searches end;
                                    ///< 0, where that is allowed: what suits the metric
  bool fitSteps = false;            ///< one reduction of the best-direction search's step
  bool restrictedMotion = false;    ///< smaller rotations and translations along z

  /// The library's number of the search.
  unsigned int kind() const;

  /// Largest and smallest step of a search that begins; throws HostError for a range that falls.
  NmVec2f stepRange() const;

  /// The same of a search that goes on from a good result.
  NmVec2f refiningSteps() const;

 private:
  bool followsLines() const;
};

/// The resolutions that a search runs through.
struct LevelSettings {
  std::vector<int> coarsest;  ///< reduction along x, y and z on the coarsest level; empty: chosen
  int levels = 0;  ///< each twice as fine as the one before, the last one full resolution;
                   ///< 0: as `coarsest` has it
};

/// The names that the settings take.
std::vector<std::string> metricNames();
std::vector<std::string> searchNames();

}  // namespace host
