#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "foundation/NmException.h"
#include "foundation/NmLogFile.h"
#include "resampling/RegResampler.h"
#include "resampling/contribLists.h"

using voxreg::detail::ContribLists;

namespace {

// Kernels are also evaluated at positions outside the axis, but no farther than this, so that an
// unlimited support terminates.
constexpr double reach = 65536.0;

template <class T>
T* callocOrThrow(double count) {
  void* const block = std::calloc(static_cast<std::size_t>(std::max(count, 1.0)), sizeof(T));
  if (block == nullptr) throw NmMemoryException();
  return static_cast<T*>(block);
}

/// One axis of a zoom as its filter sees it.
struct FilteredAxis {
  int numIn;
  float scale;
  float (*kernel)(float);
  float inverse;
  float halfWidth;
  float base;
  float shift;

  FilteredAxis(int numOut, int inputs, float scaleValue, float (*filter)(float), float support,
               float shiftValue)
      : numIn(std::max(inputs, 0)),
        scale(scaleValue),
        kernel(filter),
        inverse(1.0f / scale),
        halfWidth(isReduction() ? support / scale : support),
        shift(shiftValue) {
    const auto middleIn = static_cast<float>((static_cast<double>(numIn) - 1.0) * 0.5);
    const float span = static_cast<float>(numOut) * inverse;
    base = static_cast<float>(static_cast<double>(inverse) * 0.5 + static_cast<double>(middleIn) -
                              static_cast<double>(span) * 0.5);
  }

  bool isReduction() const { return scale < 1.0f; }

  float centre(int i) const { return static_cast<float>(i) / scale + base + shift / scale; }

  float weight(float distance) const {
    return isReduction() ? kernel(distance / inverse) / inverse : kernel(distance);
  }

  void addTaps(int i, RegResamplerContribList& list) const;
};

void FilteredAxis::addTaps(int i, RegResamplerContribList& list) const {
  const float c = centre(i);
  const double first = std::ceil(c - halfWidth);
  const double last = std::floor(c + halfWidth);
  const bool isEmpty = !(first <= last);
  const double room =
      isEmpty ? 0.0 : std::max(2.0 * (static_cast<double>(halfWidth) + 1.0), last - first + 1.0);
  list.taps = callocOrThrow<RegResamplerContrib>(std::min(room, static_cast<double>(numIn)));
  if (isEmpty) return;
  const auto from = static_cast<std::int64_t>(std::clamp(first, -reach, numIn + reach));
  const auto to = static_cast<std::int64_t>(std::clamp(last, -reach, numIn + reach));
  float sum = 0.0f;
  for (std::int64_t j = from; j <= to; ++j) {
    const float w = weight(c - static_cast<float>(j));
    if (j < 0 || j >= numIn) continue;
    list.taps[list.n++] = {static_cast<int>(j), w};
    sum += w;
  }
  if (sum == 0.0f) return;
  for (int k = 0; k < list.n; ++k) list.taps[k].weight /= sum;
}

}  // namespace

RegResamplerContribList* RegResampler::filter_contrib(int numOut, int numIn, float scale,
                                                      float (*filter)(float), float support) const {
  if (filter == nullptr) {
    getTheLogInstance().errorf("filter_contrib: There is no kernel.");
    return nullptr;
  }
  const FilteredAxis axis(numOut, numIn, scale, filter, support, filterShift);
  ContribLists lists(callocOrThrow<RegResamplerContribList>(numOut), numOut);
  for (int i = 0; i < numOut; ++i) axis.addTaps(i, lists[i]);
  return lists.release();
}

void RegResampler::zoom1d(int numOut, float newLength, float* out, int numIn,
                          const float* in) const {
  if (out == nullptr || in == nullptr) {
    getTheLogInstance().errorf("zoom1d: There is no input or output.");
    return;
  }
  const float scale = newLength / static_cast<float>(numIn);
  const ContribLists lists(filter_contrib(numOut, numIn, scale, triangle_filter, 1.0f), numOut);
  for (int i = 0; i < numOut; ++i) {
    float sum = 0.0f;
    for (int k = 0; k < lists[i].n; ++k)
      sum += in[lists[i].taps[k].pixel] * lists[i].taps[k].weight;
    out[i] = sum;
  }
}
