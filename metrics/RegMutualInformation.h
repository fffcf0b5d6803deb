#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/NmPrimType.h"
#include "metrics/RegMetric.h"

/// Joint histogram of two volumes and its entropies (natural logarithm), for metrics of how well
/// the intensities of one volume predict those of the other. Each sample distributes a weight of 1
/// over four neighbouring bins by its distances to them (partial volume rule of Maes et al., IEEE
/// Trans. Med. Imaging 16, 1997); values outside the bounds count in the edge bins.
class RegMutualInformation : public RegMetric {
 public:
  NmDArray<double> jointHistogram;  ///< bin (i, j) at i * numBinsMod + j, with i of the reference
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

  /// The joint histogram has at most 4 194 304 bins; larger counts are reduced in proportion.
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

  /// Binning of one axis: integer types get an integer number of grey values per bin, rounded
  /// bounds and at most one bin per value. `numBins` is at least 1 and at most the bins of a whole
  /// joint histogram; if the bounds are equal, it is 1 with a `scale` of 0.
  static void init1D(NmPrimType type, int& numBins, double& min, double& scale, double max);

  /// Entropies of the row sums and the column sums.
  void getMarginalEntropies(double& entropyRef, double& entropyModel) const;
  void getJointEntropy(double& entropy) const;

  /// True if the histogram has the size and the bin counts required for adding samples.
  bool canAccumulate() const;

 protected:
  /// Resizes the snapshots to the histogram, with new bins at zero, and sets the current counts to
  /// those of the whole volume with the box replaced.
  void prepareCombination();

 private:
  void initBins();
  void addWeights(double ref, double model, double sign);

  NmDArray<double> knownBins_;   ///< of the latest baseline
  NmDArray<double> knownTerms_;  ///< their terms of the joint entropy
};
