#include "elastic/chestwall/bodyEvidence.h"

#include <algorithm>
#include <cstdint>

namespace voxreg::detail {
namespace {

double meanOf(const NmDArray<float>& profile) {
  double sum = 0.0;
  for (std::int64_t i = 0; i < profile.size; ++i) sum += static_cast<double>(profile[i]);
  return sum / static_cast<double>(profile.size);
}

double square(double value) {
  return value * value;
}

}  // namespace

bool showsBody(const NmDArray<float>& profile) {
  if (profile.size < 2) return false;
  const double mean = meanOf(profile);
  const auto [lowest, highest] = std::minmax_element(profile.data, profile.data + profile.size);
  if (!(*highest > 0.0f && *lowest <= 0.2f * *highest)) return false;
  double deviations = square(static_cast<double>(profile[0]) - mean);
  double differences = 0.0;
  for (std::int64_t i = 1; i < profile.size; ++i) {
    const auto value = static_cast<double>(profile[i]);
    deviations += square(value - mean);
    differences += square(value - static_cast<double>(profile[i - 1]));
  }
  return differences < deviations;
}

}  // namespace voxreg::detail
