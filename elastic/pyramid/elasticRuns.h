#pragma once

#include "elastic/pyramid/elasticPyramid.h"
#include "foundation/NmVec.h"

class RegElasticRegistration;

namespace voxreg::detail {

/// Settings shared by all registrations of a run.
struct ElasticRunSettings {
  NmVec2f referenceRange;
  NmVec2f modelRange;
  unsigned int metricFlag;
  int largestBricks;  ///< on bricksAxis, at full resolution; 12 to 40
  int bricksAxis;
  NmVec3i dims;  ///< of the region, voxels of full resolution
  NmVec3f voxelSize;
};

/// Registers on the levels from the coarsest to the finest, each with increasingly fine grids of
/// bricks.
class ElasticRuns {
 public:
  /// From this number of bricks on, a grid is worth the finest level (empirical).
  static constexpr int finestBricks = 18;

  ElasticRuns(RegElasticRegistration& registration, const ElasticRunSettings& settings)
      : registration_(registration), settings_(settings) {}

  /// Levels are released as soon as they are done. False if a registration failed.
  bool run(ElasticPyramid& pyramid);

 private:
  /// A registration with a grid of `bricks` on the settings' axis; none for 0.
  struct Search {
    int bricks;
    NmVec2f steps;
  };

  bool search(const ElasticLevel& level, const Search& search, double* metricValue = nullptr);
  bool runCoarse(const char* name, ElasticLevel& level, const Search& first, const Search& second);
  bool runFinest(ElasticPyramid& pyramid, bool isCoarsest);
  bool refine(const ElasticLevel& level);

  RegElasticRegistration& registration_;
  const ElasticRunSettings& settings_;
};

/// The grid after one of `bricks` on the way to `largest`: half as many more, or all that remain if
/// that is the better last step.
int nextBricks(int bricks, int largest);

}  // namespace voxreg::detail
