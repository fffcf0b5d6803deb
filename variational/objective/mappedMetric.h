#pragma once

#include <vector>

#include "foundation/NmMat4d.h"
#include "foundation/voxels/volumeFrame.h"
#include "metrics/RegMetricKind.h"
#include "variational/kernels/derivativeChoice.h"

class VlDataAccess;

namespace voxreg::detail {

/// Values of a volume that a joint histogram spans, and into how many bins.
struct BinRange {
  double min;
  double max;
  int bins;
};

/// A metric of a reference and a mapped model, with its exact derivatives by the map.
class MappedMetric {
 public:
  struct Volume {
    const void* voxels;
    int type;  ///< voxelTypeIndex
    VolumeFrame frame;
  };

  /// The volumes are the caller's.
  MappedMetric(RegMetricKind kind, const Volume& reference, const Volume& model,
               const BinRange& referenceBins, const BinRange& modelBins,
               const DerivativeKernels& kernels = derivativeKernels());

  /// Limits the samples to these voxels of each reference row, y fastest.
  void setRows(std::vector<IndexSpan> rows);

  /// The value, larger for a better alignment; RegMetric::noStatement without enough samples.
  /// `gradient`, if given, receives the derivatives by the controls, in the order of the controls.
  double evaluate(const TensorMap& map, double* gradient);

  /// The same; `gradient` receives the derivatives by the displacements, in their order.
  double evaluate(const FieldMap& map, float* gradient);

  double numSamples() const { return numSamples_; }

 private:
  template <class Map>
  using Frame = DerivativeFrame<Map>;

  template <class Map>
  double evaluateBy(const Map& map, typename Map::Derivative* gradient);
  template <class Map>
  double difference(const Frame<Map>& frame, typename Map::Derivative* gradient);
  template <class Map>
  double correlation(const Frame<Map>& frame, typename Map::Derivative* gradient);
  template <class Map>
  double information(const Frame<Map>& frame, typename Map::Derivative* gradient);
  double fillSlopes();
  void countGroups();
  KeptSamples keptOf(const IndexSpan& slices);

  const DerivativeWalks<TensorMap>& walksOf(const TensorMap&) const { return kernels_.tensors; }
  const DerivativeWalks<FieldMap>& walksOf(const FieldMap&) const { return kernels_.fields; }
  template <class Map>
  SampleSums sumsOf(const Frame<Map>& frame);
  template <class Map>
  SampleSums walkLinear(const Frame<Map>& frame, const LinearRule& rule,
                        typename Map::Derivative* gradient);
  template <class Map, class F>
  void forEachPortion(const Frame<Map>& frame, F&& f);
  template <class Walk>
  void gather(const Frame<TensorMap>& frame, std::int64_t n, double* gradient, Walk&& walk);
  template <class Walk>
  void gather(const Frame<FieldMap>& frame, std::int64_t n, float* gradient, Walk&& walk);

  const DerivativeKernels& kernels_;
  RegMetricKind kind_;
  Volume reference_;
  Volume model_;
  HistogramAxis rowsAxis_;
  HistogramAxis columnsAxis_;
  std::vector<IndexSpan> rows_;
  double numSamples_ = 0.0;
  std::vector<double> scratch_;
  std::vector<double> histogram_;
  std::vector<double> portionHistogram_;
  std::vector<double> portionGradient_;
  std::vector<double> slopes_;
  std::vector<std::int64_t> firstGroups_;  ///< of each slice, among those that it can have
  std::vector<KeptGroup> groups_;
  std::vector<int> groupsX_;
  std::vector<int> rowCounts_;
};

}  // namespace voxreg::detail
