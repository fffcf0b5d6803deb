#pragma once

#include <cmath>
#include <optional>
#include <vector>

#include "variational/objective/mappedMetric.h"
#include "variational/pyramid/levelVolume.h"

namespace voxreg::detail {

/// Values from `low` to `high`.
struct HistogramRange {
  double low;
  double high;
};

/// How two volumes are compared.
struct Comparison {
  RegMetricKind metric = RegMetricNormMutualInformation;
  int bins = 0;  ///< on each side of a histogram; 0: as many as the voxels fill, up to 64
  std::optional<HistogramRange> referenceRange = {};  ///< of a histogram; none: all values
  std::optional<HistogramRange> modelRange = {};
  bool nearBodyOnly = true;  ///< skips reference voxels that are far from the body
};

/// The reduction of each volume on the levels of a search, coarse to fine.
struct LevelFactors {
  NmVec3i reference;
  NmVec3i model;
  bool isSmoothed = false;  ///< both volumes are smoothed, too
};

/// The smallest size of a voxel along the axes of more than one; 0 if there are none.
double finestVoxelSize(const VolumeFrame& volume);

/// Reductions to voxels of `largest` times the finest voxel size of the reference, then half as
/// much and so on, to full resolution. Along each axis voxels are reduced as long as they are not
/// larger than that and at least `leastVoxels` of them remain.
std::vector<LevelFactors> levelFactors(const VolumeFrame& reference, const VolumeFrame& model,
                                       int largest);

/// Reductions of the reference by `coarsest`, half of it and so on; the model has voxels of about
/// the same size.
std::vector<LevelFactors> levelFactors(const VolumeFrame& reference, const VolumeFrame& model,
                                       const NmVec3i& coarsest);

/// A pair of volumes on one level, and their metric.
class SearchLevel {
 public:
  SearchLevel(const SearchVolume& reference, const SearchVolume& model, const LevelFactors& factors,
              const Comparison& comparison);

  SearchLevel(const SearchLevel&) = delete;
  SearchLevel& operator=(const SearchLevel&) = delete;

  const VolumeFrame& referenceFrame() const { return reference_.frame; }
  const VolumeFrame& modelFrame() const { return modelFrame_; }
  double finestVoxel() const;  ///< of the reference, millimetres

  /// Calls `f` with each voxel of the reference that counts.
  template <class F>
  void forEachCounting(F&& f) const;

  /// Whether there are so many voxels that a search needs only some of them most of the time.
  bool isLarge() const;

  /// Samples all rows of the reference, as at first, or every other row of every other slice.
  void sampleAll();
  void sampleSome();

  MappedMetric& metric() { return *metric_; }

  /// The largest share of the reference's counting voxels that had a sample so far.
  double bestShare() const { return bestShare_; }

  /// Takes over that of the level before.
  void setBestShare(double share) { bestShare_ = share; }

  /// What a search makes small: 0 for unrelated volumes or, by squared differences and correlation,
  /// for equal ones. A gain counts for less the more the samples fall below four fifths of the best
  /// share so far (empirical); otherwise a map could gain by moving what does not fit out of the
  /// model. Infinite where the metric makes no statement. `gradient`, the metric's by anything,
  /// becomes that of the cost, with the number of samples held constant.
  double costOf(double metric, double* gradient, std::size_t n);

 private:
  void sample(std::vector<IndexSpan> rows);

  LevelVolume reference_;
  LevelVolume model_;  ///< without voxels if the volume itself is used
  VolumeFrame modelFrame_;
  std::vector<IndexSpan> rows_;
  double metricUnit_ = 1.0;  ///< the variance of the reference for squared differences
  double metricOfChance_;    ///< of unrelated volumes
  double bestShare_ = 0.0;
  double costOfNothing_ = 0.0;
  double numCounting_ = 0.0;  ///< voxels of the reference that count, in the sampled rows
  std::optional<MappedMetric> metric_;
};

template <class F>
void SearchLevel::forEachCounting(F&& f) const {
  const float* value = reference_.voxels.data();
  const NmVec3i& dims = reference_.frame.dims;
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x)
        if (std::isfinite(*value++)) f(NmVec3i(x, y, z));
}

}  // namespace voxreg::detail
