#pragma once

#include "variational/kernels/fieldPositions.inl"
#include "variational/kernels/tensorPositions.inl"

/// Where voxels go under a kind of map, and what becomes of the vectors at them.
template <class Map>
struct MapParts;

template <>
struct MapParts<TensorMap> {
  using Positions = TensorPositions;
  using Gradient = TensorGradient;
};

template <>
struct MapParts<FieldMap> {
  using Positions = FieldPositions;
  using Gradient = FieldGradient;
};
