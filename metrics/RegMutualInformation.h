#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/NmPrimType.h"
#include "metrics/RegMetric.h"

/// Joint histogram of two volumes and its entropies (natural logarithm), for the metrics that ask
/// how well the intensities of one volume predict those of the other. Each sample spreads a weight
/// of 1 over four neighbouring bins by its distances to them (partial volume rule of Maes et al.,
/// IEEE Trans. Med. Imaging 16, 1997); values beyond the bounds fall into the edge bins and count.
class RegMutualInformation : public RegMetric {
 public:
  NmDArray<double> jointHistogram;  ///< bin (i, j) at i * numBinsMod + j, i of the reference
  NmPrimType primTypeRef;
  NmPrimType primTypeModel;
  double minRef;      ///< intensity of row 0; rounded for integer types
  double scaleRef;    ///< rows per unit of reference intensity
  double minModel;    ///< intensity of column 0
  double scaleModel;  ///< columns per unit of model intensity
  double maxRef;
  double maxModel;
  int numBinsRef;                       ///< rows, one more than the bins between the bounds
  int numBinsMod;                       ///< columns
  std::int64_t baselineCounts[2] = {};  ///< numSamples and numTotalSamples of the baseline
  NmDArray<double> baselineHistogram;
  std::int64_t removedCounts[2] = {};
  NmDArray<double> removedHistogram;

  /// The joint histogram has at most 4 194 304 bins; more lower both counts in proportion.
  RegMutualInformation(NmPrimType typeRef, NmPrimType typeModel, double minReference,
                       double maxReference, double minimumModel, double maximumModel, int binsRef,
                       int binsModel, double minCoverageValue, bool smoothCoveragePenaltyValue);

  /// Copies the configuration and the baseline; the histogram and the removed set start empty.
  RegMutualInformation(const RegMutualInformation& other);
  RegMutualInformation& operator=(const RegMutualInformation&) = delete;

  void reset() override;
  void setOtherParams(RegMetricParamType type) override;
  void increment(double ref, double model) override;
  void decrement(double ref, double model) override;
  bool supportsMarginalMetric() override;

  /// Binning of one axis: integer types get whole numbers of grey values per bin, rounded bounds
  /// and at most one bin per value. `numBins` is at least 1 and at most the bins of a whole joint
  /// histogram, and is 1 with a `scale` of 0 where the bounds are equal.
  static void init1D(NmPrimType type, int& numBins, double& min, double& scale, double max);

  /// Entropies of the rows' and of the columns' sums.
  void getMarginalEntropies(double& entropyRef, double& entropyModel) const;
  void getJointEntropy(double& entropy) const;

  /// True if the histogram has the size and the bin counts that samples are added by.
  bool canAccumulate() const;

 protected:
  /// Makes the snapshots as large as the histogram, new bins at zero, and puts the counts of the
  /// whole volume with the box replaced into the current set.
  void prepareCombination();

 private:
  void initBins();
  void addWeights(double ref, double model, double sign);

  NmDArray<double> knownBins_;   ///< of the latest baseline
  NmDArray<double> knownTerms_;  ///< what each of them adds to the joint entropy
};
