#include "functional/planeMode.h"

#include <algorithm>
#include <iterator>

namespace voxreg::detail {
namespace {

constexpr int flatX[] = {0, 4, 5, 6, 9, 10};
constexpr int flatY[] = {1, 3, 5, 7, 9, 11};
constexpr int flatZ[] = {2, 3, 4, 8, 10, 11};
constexpr int stackAlongZ[] = {3, 4, 8, 10, 11};

template <int n>
bool holds(const int (&indices)[n], int parameter) {
  return std::find(std::begin(indices), std::end(indices), parameter) != std::end(indices);
}

}  // namespace

bool leavesPlane(int planeMode, int parameter) {
  switch (planeMode) {
    case 0:
      return holds(flatX, parameter);
    case 1:
      return holds(flatY, parameter);
    case 2:
      return holds(flatZ, parameter);
    case 4:
      return holds(stackAlongZ, parameter);
    default:
      return false;
  }
}

}  // namespace voxreg::detail
