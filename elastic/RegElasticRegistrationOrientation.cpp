#include <cmath>

#include "elastic/RegElasticRegistration.h"
#include "foundation/NmMat4f.h"

namespace {

/// Cosine of 10 degrees, the largest tilt at which an axis still counts as one of the body's.
constexpr float leastAlignment = 0.9848f;

/// The column of the largest absolute component, the first of equal ones.
int dominantColumn(const float* row) {
  int column = 0;
  for (int c = 1; c < 3; ++c)
    if (std::fabs(row[c]) > std::fabs(row[column])) column = c;
  return column;
}

}  // namespace

bool RegElasticRegistration::isObliqueOrientation(const NmMat4f& matrix, NmVec3i& axes,
                                                  NmVec3i& signs) const {
  axes = NmVec3i(0, 1, 2);
  signs = NmVec3i(1, 1, 1);
  for (int r = 0; r < 3; ++r) {
    const float* const row = matrix.m[r];
    if (!(std::fabs(row[dominantColumn(row)]) >= leastAlignment)) return true;
  }
  bool taken[3] = {};
  bool isShared = false;
  for (int r = 0; r < 3; ++r) {
    const int column = dominantColumn(matrix.m[r]);
    isShared = isShared || taken[column];
    taken[column] = true;
    axes[column] = r;
    if (matrix.m[r][column] < 0.0f) signs[column] = -1;
  }
  return isShared;
}
