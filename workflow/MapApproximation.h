#pragma once

#include <limits>

#include "workflow/DisplacementMap.h"
#include "workflow/Image.h"
#include "workflow/Transform.h"

namespace voxreg {

/// A field in place of any transform, and the distance between the two maps: at the centres between
/// nodes (on an axis with one node: at that node), in millimetres of the model's world. NaN without
/// a field.
struct MapApproximation {
  DisplacementMap map;
  double meanError = std::numeric_limits<double>::quiet_NaN();
  double largestError = std::numeric_limits<double>::quiet_NaN();
};

/// The nodes are the reference's voxels or, on axes where these are less than `spacing` millimetres
/// apart, fewer: from the first voxel to the last, at most that far apart. The matrix is that of
/// the transform if this is a matrix, a lattice or a field, and otherwise the identity. Outside the
/// nodes, the displacement of the nearest one applies. The map is not valid if the image is empty,
/// there would be more than 2^31 nodes, or the transform does not send all of them to a place.
MapApproximation approximateByField(const Transform& transform, const Image& reference,
                                    double spacing = 0.0);

}  // namespace voxreg
