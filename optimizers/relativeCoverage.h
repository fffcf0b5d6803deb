#pragma once

class RegFunctional;

namespace voxreg::detail {

/// The share of the visited samples that were valid in the functional's last evaluation, relative
/// to the share that its metric asks for and at most 1; 0 without a metric.
double relativeCoverage(const RegFunctional& functional);

}  // namespace voxreg::detail
