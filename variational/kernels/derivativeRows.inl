#pragma once

#include "functional/kernels/orderedSum.inl"
#include "functional/kernels/trilinear.inl"
#include "variational/kernels/rowPrefetch.inl"
#include "variational/kernels/sampleConsumers.inl"

/// A trilinear sample and, on demand, its derivatives along the model's axes.
template <bool withSlopes, class Located>
[[gnu::always_inline]] inline typename Lanes::Doubles interpolate(
    const Located& at, typename Lanes::Doubles (&slopes)[3]) {
  using Doubles = typename Lanes::Doubles;
  const Doubles f0 = Lanes::load(at.fraction[0]);
  const Doubles f1 = Lanes::load(at.fraction[1]);
  const Doubles f2 = Lanes::load(at.fraction[2]);
  Doubles value[4];
  Doubles along[4];
  for (int i = 0; i < 4; ++i) {
    Doubles first;
    Doubles second;
    Lanes::widenPairs(at.pairs[i], first, second);
    along[i] = second - first;
    value[i] = along[i] * f0 + first;
  }
  const Doubles near = value[1] - value[0];
  const Doubles far = value[3] - value[2];
  const Doubles a = near * f1 + value[0];
  const Doubles b = far * f1 + value[2];
  slopes[2] = b - a;
  if constexpr (withSlopes) {
    const Doubles g1 = Lanes::all(1.0) - f1;
    const Doubles g2 = Lanes::all(1.0) - f2;
    slopes[0] = (along[1] * f1 + along[0] * g1) * g2 + (along[3] * f1 + along[2] * g1) * f2;
    slopes[1] = far * f2 + near * g2;
  }
  return slopes[2] * f2 + a;
}

template <class T>
static void widenRow(const void* volume, std::int64_t first, int n, double* out) {
  const T* const from = static_cast<const T*>(volume) + first;
  for (int i = 0; i < n; ++i) out[i] = static_cast<double>(from[i]);
}

static void loadRow(int type, const void* volume, std::int64_t first, int n, double* out) {
  using Load = void (*)(const void*, std::int64_t, int, double*);
  static constexpr Load load[numVoxelTypes] = {widenRow<unsigned char>,  widenRow<short>,
                                               widenRow<unsigned short>, widenRow<int>,
                                               widenRow<float>,          widenRow<double>};
  load[type](volume, first, n, out);
}

/// Walks rows of the reference, a chunk of a row at a time: positions, then cells and copies of the
/// model's voxels, then values, then what the consumer makes of them.
template <class U, class Map, class Consumer>
class DerivativeRows {
 public:
  DerivativeRows(const DerivativeFrame<Map>& frame, double* scratch, Consumer& consumer)
      : frame_(frame),
        sampler_(frame.walk),
        ahead_(frame.walk),
        positions_(frame, scratch),
        consumer_(consumer) {
    for (int axis = 0; axis < 3; ++axis) {
      const int n = frame.walk.modelDims[axis];
      lower_[axis] = Lanes::all(-reach);
      last_[axis] = Lanes::all(n - 1);
      upper_[axis] = Lanes::all((n - 1) + reach);
    }
  }

  void walk(const IndexSpan& slices) {
    const int ny = frame_.walk.referenceDims[1];
    for (int z = slices.first; z < slices.end; ++z) {
      positions_.startSlice(z);
      consumer_.startSlice(z);
      for (int y = 0; y < ny; ++y) {
        const std::int64_t row = y + static_cast<std::int64_t>(ny) * z;
        const IndexSpan span = spanOf(frame_, y, z);
        if (!isEmpty(span)) walkRow(y, row, span);
      }
      consumer_.endSlice(z);
    }
  }

 private:
  using Doubles = typename Lanes::Doubles;
  using Sampler = TrilinearSampler<U>;

  static constexpr double reach = 0.5;  ///< of the outermost voxels, voxels
  static constexpr double largest = 1.7976931348623157e308;

  void walkRow(int y, std::int64_t row, const IndexSpan& span) {
    positions_.startRow(y, span);
    consumer_.startRow(y, span);
    for (int x = span.first; x < span.end; x += chunkSize) {
      const int left = span.end - x;
      sampleChunk(row, x, left < chunkSize ? left : chunkSize);
    }
    consumer_.endRow(y);
  }

  void sampleChunk(std::int64_t row, int x, int n) {
    alignas(64) double position[3][chunkSize + groupSize];
    positions_.fill(x, n, position);
    alignas(64) double reference[chunkSize];
    loadRow(frame_.walk.referenceType, frame_.walk.reference,
            x + row * frame_.walk.referenceDims[0], n, reference);
    const int whole = (n + groupSize - 1) / groupSize * groupSize;
    for (int i = n; i < whole; ++i) reference[i] = __builtin_inf();
    groups_.count = 0;
    for (int i = 0; i < whole; i += groupSize) locateGroup(x, i, reference, position);
    for (int g = 0; g < groups_.count; ++g) ahead_(located_[g * partsPerGroup].corner[0]);
    Idle idle;
    sampler_.copy(located_, groups_.count * partsPerGroup, Lanes::width, idle);
    alignas(64) double slopes[Consumer::wantsGradient ? 3 : 1][chunkSize];
    for (int i = 0; i < groups_.count * partsPerGroup; ++i) {
      Doubles slope[3];
      const Doubles value = interpolate<Consumer::wantsGradient>(located_[i], slope);
      if constexpr (Consumer::wantsGradient)
        for (int c = 0; c < 3; ++c)
          Lanes::store(slopes[c] + i * Lanes::width,
                       Lanes::select(between_[c][i], slope[c], Lanes::all(0.0)));
      groups_.counts[i] = Lanes::both(
          groups_.counts[i], Lanes::within(value, Lanes::all(-largest), Lanes::all(largest)));
      Lanes::store(groups_.model + i * Lanes::width, value);
    }
    consumer_.take(groups_, slopes);
  }

  [[gnu::always_inline]] void locateGroup(int x, int i, const double* reference,
                                          const double (*position)[chunkSize + groupSize]) {
    typename Lanes::Mask counts[partsPerGroup];
    bool any = false;
    for (int p = 0; p < partsPerGroup; ++p) {
      const int at = i + p * Lanes::width;
      auto mask =
          Lanes::within(Lanes::load(reference + at), Lanes::all(-largest), Lanes::all(largest));
      for (int axis = 0; axis < 3; ++axis)
        mask = Lanes::both(
            mask, Lanes::within(Lanes::load(position[axis] + at), lower_[axis], upper_[axis]));
      counts[p] = mask;
      any = any || Lanes::any(mask);
    }
    if (!any) return;
    const int g = groups_.count++;
    groups_.x[g] = x + i;
    for (int p = 0; p < partsPerGroup; ++p) {
      const int at = i + p * Lanes::width;
      const int part = g * partsPerGroup + p;
      Doubles here[3];
      for (int axis = 0; axis < 3; ++axis) {
        here[axis] = Lanes::load(position[axis] + at);
        if constexpr (Consumer::wantsGradient)
          between_[axis][part] = Lanes::within(here[axis], Lanes::all(0.0), last_[axis]);
      }
      groups_.counts[part] = counts[p];
      Lanes::store(groups_.reference + part * Lanes::width, Lanes::load(reference + at));
      sampler_.locate(here, located_[part]);
    }
  }

  const DerivativeFrame<Map>& frame_;
  Sampler sampler_;
  RowPrefetch<U> ahead_;
  typename MapParts<Map>::Positions positions_;
  Consumer& consumer_;
  Doubles lower_[3];
  Doubles last_[3];
  Doubles upper_[3];
  /// Lanes between the outermost voxels along an axis, where values depend on the position.
  typename Lanes::Mask between_[3][chunkSize / Lanes::width];
  SampleGroups groups_ = {};
  typename Sampler::Located located_[chunkSize / Lanes::width] = {};
};
