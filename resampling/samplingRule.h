#pragma once

#include "foundation/sampling/axisTaps.h"
#include "resampling/RegResampler.h"

namespace voxreg::detail {

/// How a sampler weighs voxels for a filter.
inline TapRule samplingRule(RegResampler::FilterType filter) {
  return filter == RegResampler::Lanczos3 ? lanczosTaps : linearTaps;
}

}  // namespace voxreg::detail
