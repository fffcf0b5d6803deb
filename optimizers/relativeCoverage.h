#pragma once

class RegFunctional;

namespace voxreg::detail {

/// The share of valid samples among those visited in the functional's last evaluation, relative to
/// the share that its metric requires and at most 1; 0 without a metric.
double relativeCoverage(const RegFunctional& functional);

}  // namespace voxreg::detail
