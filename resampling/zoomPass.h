#pragma once

#include "resampling/lineTaps.h"
#include "resampling/zoomProgress.h"

class VlData;

namespace voxreg::detail {

/// Resamples every line of `input` along one axis into `output`, which agrees with it on the other
/// axes and in the number of data variables. Progress counts the slices along z, or for axis 2
/// those along y; an interrupted slice is left out. False, nothing being written, where a lock
/// fails.
bool runZoomPass(VlData& input, VlData& output, int axis, const LineTaps& taps,
                 ZoomProgress& progress);

}  // namespace voxreg::detail
