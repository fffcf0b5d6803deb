#pragma once

#include <algorithm>
#include <random>

#include "workflow/DisplacementMap.h"

/// A field of 5 x 4 x 3 nodes in a frame that is turned and moved from the world, with
/// displacements of up to `amount`, on top of an affine matrix.
inline voxreg::DisplacementMap someField(float amount) {
  voxreg::DisplacementMap map = {{{-10, 0, 5}, {10, 8, 7.5}, {5, 4, 3}, {}},
                                 NmMat4d(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1),
                                 NmMat4d(1.1, 0.2, 0, 0, 0, 0.9, 0.1, 0, 0, 0, 1, 0, 4, 5, 6, 1)};
  std::mt19937 random(11);
  std::uniform_real_distribution<float> moved(-amount, amount);
  map.field.values.resize(3 * 5 * 4 * 3);
  for (float& value : map.field.values) value = moved(random);
  return map;
}

/// A field whose displacement is along x and depends on it alone, one value for each of its nodes.
inline voxreg::DisplacementField fieldAlongX(const std::vector<float>& values, double spacing,
                                             const NmVec3i& dims) {
  voxreg::DisplacementField field = {{1, 2, 3}, {spacing, 1, 1}, dims, {}};
  const auto count = static_cast<std::size_t>(dims.x * dims.y * dims.z);
  field.values.resize(3 * count);
  for (std::size_t i = 0; i < count; ++i) field.values[i] = values[i % values.size()];
  return field;
}
