#pragma once

#include "variational/kernels/derivativeRows.inl"

template <class U, class Map>
static void walkSums(const DerivativeFrame<Map>& frame, const IndexSpan& slices, double* scratch,
                     SampleSums& sums) {
  SumsConsumer consumer;
  DerivativeRows<U, Map, SumsConsumer>(frame, scratch, consumer).walk(slices);
  consumer.addTo(sums);
  Lanes::leave();
}

template <class U, class Map>
static void walkHistogram(const DerivativeFrame<Map>& frame, const IndexSpan& slices,
                          double* scratch, HistogramSums& sums) {
  HistogramConsumer consumer(sums);
  DerivativeRows<U, Map, HistogramConsumer>(frame, scratch, consumer).walk(slices);
  Lanes::leave();
}

template <class U, class Map>
static void walkHistogramKeeping(const DerivativeFrame<Map>& frame, const IndexSpan& slices,
                                 double* scratch, HistogramSums& sums, const KeptSamples& kept) {
  KeepingConsumer consumer(sums, kept);
  DerivativeRows<U, Map, KeepingConsumer>(frame, scratch, consumer).walk(slices);
  Lanes::leave();
}

template <class U, class Map>
static void walkLinear(const DerivativeFrame<Map>& frame, const IndexSpan& slices, double* scratch,
                       const LinearRule& rule, SampleSums& sums,
                       typename Map::Derivative* gradient) {
  double* const left = scratch + MapParts<Map>::Positions::taken(frame.map);
  LinearConsumer<Map> consumer(rule, frame, left, gradient);
  DerivativeRows<U, Map, LinearConsumer<Map>>(frame, scratch, consumer).walk(slices);
  consumer.addTo(sums);
  Lanes::leave();
}

template <class Map>
static void walkKept(const DerivativeFrame<Map>& frame, const IndexSpan& slices, double* scratch,
                     const HistogramRule& rule, const KeptSamples& kept,
                     typename Map::Derivative* gradient) {
  KeptGradient<Map> consumer(rule, kept, frame, scratch, gradient);
  for (int z = slices.first; z < slices.end; ++z) consumer.addSlice(z);
  Lanes::leave();
}

template <class U, class Map>
static constexpr void fillFor(DerivativeWalks<Map>& walks) {
  constexpr int index = voxelTypeIndex<U>;
  walks.sums[index] = walkSums<U, Map>;
  walks.linear[index] = walkLinear<U, Map>;
  walks.histogram[index] = walkHistogram<U, Map>;
  walks.histogramKeeping[index] = walkHistogramKeeping<U, Map>;
  walks.kept = walkKept<Map>;
}

template <class U>
static constexpr void fillFor(DerivativeKernels& table) {
  fillFor<U>(table.tensors);
  fillFor<U>(table.fields);
}

static constexpr DerivativeKernels makeDerivatives() {
  DerivativeKernels table = {};
  fillFor<unsigned char>(table);
  fillFor<short>(table);
  fillFor<unsigned short>(table);
  fillFor<int>(table);
  fillFor<float>(table);
  fillFor<double>(table);
  return table;
}
