#include <limits>

#include "functional/RegFunctional.h"

namespace {

/// Vertices in the order in which a gradient visits them: the last ones cost nothing.
enum class VertexKind { usedInside, usedOnFace, unused };

bool isInside(int index, int bricks) {
  return index > 0 && index < bricks;
}

/// Writes the vertices of one kind to `order`, in ascending order, and returns the position after
/// them.
int* placeKind(VertexKind kind, const NmVec3i& n, const NmDArray<unsigned char>& unused,
               int* order) {
  int vertex = 0;
  for (int k = 0; k <= n.z; ++k)
    for (int j = 0; j <= n.y; ++j)
      for (int i = 0; i <= n.x; ++i, ++vertex) {
        const bool inside = isInside(i, n.x) && isInside(j, n.y) && isInside(k, n.z);
        const VertexKind present = unused[vertex] != 0 ? VertexKind::unused
                                   : inside            ? VertexKind::usedInside
                                                       : VertexKind::usedOnFace;
        if (present == kind) *order++ = vertex;
      }
  return order;
}

}  // namespace

bool RegFunctional::computeRenumbering(const NmVec3i& numBricks, NmDArray<unsigned char>& unused,
                                       NmDArray<int>& order) {
  constexpr double mostVertices = std::numeric_limits<int>::max();
  const double vertices = (numBricks.x + 1.0) * (numBricks.y + 1.0) * (numBricks.z + 1.0);
  if (numBricks.x < 0 || numBricks.y < 0 || numBricks.z < 0 || vertices > mostVertices ||
      static_cast<double>(unused.size) != vertices)
    return false;
  order.resize(unused.size);
  int* place = order.data;
  for (const VertexKind kind : {VertexKind::usedInside, VertexKind::usedOnFace, VertexKind::unused})
    place = placeKind(kind, numBricks, unused, place);
  return true;
}
