#pragma once

#include "functional/kernels/lanes.inl"

static inline int countOf(const IndexSpan& span) {
  return span.end > span.first ? span.end - span.first : 0;
}

/// The voxels of a row of `length` whose positions are within the model's bounds; the row starts at
/// position `p`. Along an axis on which the row moves by s per voxel, voxel x is at p + x * s. The
/// bound on the entering side is crossed at t = (bound - p) / s, and the row starts after t, at 0
/// or at trunc(t) + 1; on the leaving side it ends at trunc(t). Comparisons are made in double
/// before the cast, so a model far away gives no samples.
static inline IndexSpan clipRow(const Walk& walk, const double p[3], int length) {
  IndexSpan span = {0, length};
  for (int axis = 0; axis < 3; ++axis) {
    const double lower = walk.bounds[axis][0];
    const double upper = walk.bounds[axis][1];
    const int sign = walk.signs[axis];
    if (sign == 0) continue;
    if (sign == 2) {
      if (p[axis] < lower || p[axis] > upper) return {0, 0};
      continue;
    }
    const double step = walk.step[0][axis];
    const double entering = ((sign > 0 ? lower : upper) - p[axis]) / step;
    const double leaving = ((sign > 0 ? upper : lower) - p[axis]) / step;
    if (entering >= length || leaving < 0.0) return {0, 0};
    if (entering > 0.0 && static_cast<int>(entering) >= span.first)
      span.first = static_cast<int>(entering) + 1;
    if (leaving < span.end - 1) span.end = static_cast<int>(leaving) + 1;
  }
  return span;
}
