#include "workflow/chest/bodyCells.h"

namespace voxreg::detail {

namespace {

/// Empirical: thinner than a chest wall, and large enough that noise cancels in the mean.
constexpr float edge = 6.0f;  // millimetres

}  // namespace

BodyCells::BodyCells(VlData& volume, const BodyAxes& body) : body_(body), means_(volume, edge) {
  for (int a = 0; a < 3; ++a) {
    counts_[a] = means_.counts()[body.axes[a]];
    edges_[a] = means_.edges()[body.axes[a]];
  }
}

NmVec3l BodyCells::block(std::int64_t x, std::int64_t y, std::int64_t z) const {
  const NmVec3l cell(x, y, z);
  NmVec3l result;
  for (int a = 0; a < 3; ++a)
    result[body_.axes[a]] = body_.signs[a] < 0 ? counts_[a] - 1 - cell[a] : cell[a];
  return result;
}

}  // namespace voxreg::detail
