#pragma once

#include "variational/kernels/derivativeRows.inl"

template <class U>
static void walkSums(const DerivativeFrame& frame, const IndexSpan& slices, double* scratch,
                     SampleSums& sums) {
  SumsConsumer consumer;
  DerivativeRows<U, SumsConsumer>(frame, scratch, consumer).walk(slices);
  consumer.addTo(sums);
  Lanes::leave();
}

template <class U>
static void walkHistogram(const DerivativeFrame& frame, const IndexSpan& slices, double* scratch,
                          HistogramSums& sums) {
  HistogramConsumer consumer(sums);
  DerivativeRows<U, HistogramConsumer>(frame, scratch, consumer).walk(slices);
  Lanes::leave();
}

template <class U>
static void walkHistogramKeeping(const DerivativeFrame& frame, const IndexSpan& slices,
                                 double* scratch, HistogramSums& sums, const KeptSamples& kept) {
  KeepingConsumer consumer(sums, kept);
  DerivativeRows<U, KeepingConsumer>(frame, scratch, consumer).walk(slices);
  Lanes::leave();
}

static void walkKept(const DerivativeFrame& frame, const IndexSpan& slices, double* scratch,
                     const HistogramRule& rule, const KeptSamples& kept, double* gradient) {
  KeptGradient consumer(rule, kept, frame.map, scratch, gradient);
  for (int z = slices.first; z < slices.end; ++z) consumer.addSlice(frame, z);
  Lanes::leave();
}

template <class U, class Weights>
static void walkGradient(const DerivativeFrame& frame, const IndexSpan& slices, double* scratch,
                         Weights& weights, double* gradient) {
  const std::int64_t taken = TensorPositions(frame.map, scratch).taken();
  GradientConsumer<Weights> consumer(weights, frame.map, scratch + taken, gradient);
  DerivativeRows<U, GradientConsumer<Weights>>(frame, scratch, consumer).walk(slices);
}

template <class U>
static void walkLinear(const DerivativeFrame& frame, const IndexSpan& slices, double* scratch,
                       const LinearRule& rule, SampleSums& sums, double* gradient) {
  LinearWeights weights(rule);
  walkGradient<U>(frame, slices, scratch, weights, gradient);
  weights.addTo(sums);
  Lanes::leave();
}

template <class U>
static void walkMoments(const DerivativeFrame& frame, const IndexSpan& slices, double* scratch,
                        SampleSums& sums, double* gradients) {
  MomentWeights weights;
  walkGradient<U>(frame, slices, scratch, weights, gradients);
  weights.addTo(sums);
  Lanes::leave();
}

template <class U>
static constexpr void fillFor(DerivativeKernels& table) {
  constexpr int index = voxelTypeIndex<U>;
  table.sums[index] = walkSums<U>;
  table.linear[index] = walkLinear<U>;
  table.moments[index] = walkMoments<U>;
  table.histogram[index] = walkHistogram<U>;
  table.histogramKeeping[index] = walkHistogramKeeping<U>;
}

static constexpr DerivativeKernels makeDerivatives() {
  DerivativeKernels table = {};
  fillFor<unsigned char>(table);
  fillFor<short>(table);
  fillFor<unsigned short>(table);
  fillFor<int>(table);
  fillFor<float>(table);
  fillFor<double>(table);
  table.kept = walkKept;
  return table;
}
