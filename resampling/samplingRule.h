#pragma once

#include "foundation/sampling/axisTaps.h"
#include "resampling/RegResampler.h"

namespace voxreg::detail {

/// The weighting of voxels by a sampler for a filter.
inline TapRule samplingRule(RegResampler::FilterType filter) {
  return filter == RegResampler::Lanczos3 ? lanczosTaps : linearTaps;
}

}  // namespace voxreg::detail
