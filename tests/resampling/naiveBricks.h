#pragma once

#include <vector>

#include "resampling/RegBrickedResampler.h"
#include "tests/support/voxelTypes.h"

/// Bricked resampling voxel by voxel: eight nodes for each, one sampler location after the other.
namespace naiveBricks {

struct Scene {
  NmVec3i dims;
  NmBox3f voxelBox;
  NmBox3f gridBox;
  NmVec3i gridDims;
  NmDArray<NmVec3f> nodes;
  bool clampToGrid = false;
  bool clampToModel = false;
};

struct Place {
  float p;  ///< the voxel's position
  float c;  ///< where it is looked up
  int node = -1;
  float weight = 0.0f;
};

inline float limited(float value, float lower, float upper) {
  if (value < lower) value = lower;
  if (value > upper) value = upper;
  return value;
}

/// All voxels of an axis, the search for the node going on from voxel to voxel where positions
/// grow.
inline std::vector<Place> placesOf(const Scene& s, int axis) {
  const int n = s.gridDims[axis];
  std::vector<float> nodes;
  for (int i = 0; i < n; ++i)
    nodes.push_back(static_cast<float>(i) * (s.gridBox.max(axis) - s.gridBox.min(axis)) /
                        static_cast<float>(n - 1) +
                    s.gridBox.min(axis));
  const float size = (s.voxelBox.max(axis) - s.voxelBox.min(axis)) /
                     static_cast<float>(s.dims[axis] > 1 ? s.dims[axis] - 1 : 1);
  std::vector<Place> places;
  std::size_t i = 0;
  for (int voxel = 0; voxel < s.dims[axis]; ++voxel) {
    if (!(size > 0.0f)) i = 0;
    Place place{static_cast<float>(voxel) * size + s.voxelBox.min(axis), 0.0f};
    place.c = s.clampToGrid ? limited(place.p, s.gridBox.min(axis), s.gridBox.max(axis)) : place.p;
    float p = place.p;
    const bool isInside = p >= nodes.front() && p <= nodes.back();
    if (s.clampToGrid) p = limited(p, nodes.front(), nodes.back());
    if (isInside || s.clampToGrid) {
      while (i + 1 < nodes.size() && !(p <= nodes[i + 1])) ++i;
      const bool isFound = i + 1 < nodes.size();
      place.node = isFound ? static_cast<int>(i) : n - 2;
      place.weight = isFound ? (p - nodes[i]) / (nodes[i + 1] - nodes[i]) : 1.0f;
    }
    places.push_back(place);
  }
  return places;
}

inline float mix(float lower, float upper, float weight) {
  return (1.0f - weight) * lower + weight * upper;
}

inline NmVec3f mappedPosition(const Scene& s, const Place& x, const Place& y, const Place& z) {
  const long nx = s.gridDims.x;
  const long nxy = nx * s.gridDims.y;
  const long base = x.node + nx * y.node + nxy * z.node;
  const Place* const places[3] = {&x, &y, &z};
  NmVec3f result;
  for (int c = 0; c < 3; ++c) {
    const auto alongZ = [&](long i) {
      return mix(s.nodes[base + i][c], s.nodes[base + i + nxy][c], z.weight);
    };
    const float lower = mix(alongZ(0), alongZ(nx), y.weight);
    const float upper = mix(alongZ(1), alongZ(nx + 1), y.weight);
    const float t = mix(lower, upper, x.weight);
    result[c] = places[c]->p == places[c]->c ? t : places[c]->p + t - places[c]->c;
  }
  return result;
}

template <class T>
std::vector<T> resample(const Scene& s, VlData& model, VlEvaluator& evaluator, float background,
                        const NmMat4f& matrix = NmMat4f()) {
  NmBox3f modelBox;
  model.boundingBox(modelBox);
  const std::vector<Place> xs = placesOf(s, 0), ys = placesOf(s, 1), zs = placesOf(s, 2);
  std::vector<T> voxels;
  for (const Place& z : zs)
    for (const Place& y : ys)
      for (const Place& x : xs) {
        float value = background;
        if (x.node >= 0 && y.node >= 0 && z.node >= 0) {
          NmVec3f position;
          matrix.multVecMatrix(mappedPosition(s, x, y, z), position);
          for (int axis = 0; s.clampToModel && axis < 3; ++axis)
            position[axis] = limited(position[axis], modelBox.min(axis), modelBox.max(axis));
          if (evaluator.setLocation(position)) evaluator.value(&value);
        }
        voxels.push_back(naiveVoxel<T>(value));
      }
  return voxels;
}

}  // namespace naiveBricks
