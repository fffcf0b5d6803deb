#include "optimizers/vectorArithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace voxreg::detail {

void addMultiple(NmDVector<double>& to, double factor, const NmDVector<double>& v) {
  for (std::int64_t i = 0; i < v.size; ++i) to[i] += factor * v[i];
}

void scale(NmDVector<double>& v, double factor) {
  for (std::int64_t i = 0; i < v.size; ++i) v[i] *= factor;
}

void setNegative(NmDVector<double>& to, const NmDVector<double>& v) {
  to.resize(v.size);
  for (std::int64_t i = 0; i < v.size; ++i) to[i] = -v[i];
}

double dot(const NmDVector<double>& a, const NmDVector<double>& b) {
  double sum = 0.0;
  for (std::int64_t i = 0; i < a.size; ++i) sum += a[i] * b[i];
  return sum;
}

double largestMagnitude(const NmDVector<double>& v) {
  double largest = 0.0;
  for (std::int64_t i = 0; i < v.size; ++i) largest = std::max(largest, std::abs(v[i]));
  return largest;
}

void normalise(NmDVector<double>& v) {
  const double largest = largestMagnitude(v);
  if (!(largest > 0.0)) return;
  for (std::int64_t i = 0; i < v.size; ++i) v[i] /= largest;
}

bool isFinite(const NmDVector<double>& v) {
  return std::all_of(v.data, v.data + v.size, [](double x) { return std::isfinite(x); });
}

void dropNonFinite(NmDVector<double>& v) {
  for (std::int64_t i = 0; i < v.size; ++i)
    if (!std::isfinite(v[i])) v[i] = 0.0;
}

}  // namespace voxreg::detail
