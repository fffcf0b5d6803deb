#pragma once

#include "resampling/lineTaps.h"
#include "resampling/zoomProgress.h"

class VlData;

namespace voxreg::detail {

/// Resamples every line of `input` along one axis into `output`, which has the same size on the
/// other axes and the same number of data variables. Progress counts the slices along z, or for
/// axis 2 those along y; an interrupted slice is skipped. Returns false, and writes nothing, if a
/// lock fails.
bool runZoomPass(VlData& input, VlData& output, int axis, const LineTaps& taps,
                 ZoomProgress& progress);

}  // namespace voxreg::detail
