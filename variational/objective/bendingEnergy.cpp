#include "variational/objective/bendingEnergy.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "variational/splineWeights.h"

namespace voxreg::detail {
namespace {

constexpr int reach = 3;
constexpr int band = 2 * reach + 1;

/// Derivatives of the given order of the four splines at t, by t.
void splineDerivatives(int order, double t, double (&d)[4]) {
  const double u = 1.0 - t;
  if (order == 0) return splineWeights(t, d);
  if (order == 1) {
    d[0] = -0.5 * u * u;
    d[1] = (1.5 * t - 2.0) * t;
    d[2] = -(1.5 * u - 2.0) * u;
    d[3] = 0.5 * t * t;
    return;
  }
  d[0] = u;
  d[1] = 3.0 * t - 2.0;
  d[2] = 3.0 * u - 2.0;
  d[3] = t;
}

/// The four-point Gauss-Legendre rule on [0, 1], exact for the products of two cubics.
constexpr double nodes[4] = {0.06943184420297371, 0.33000947820757187, 0.6699905217924281,
                             0.9305681557970263};
constexpr double nodeWeights[4] = {0.17392742256872692, 0.32607257743127305, 0.32607257743127305,
                                   0.17392742256872692};

std::vector<double> gramOf(int intervals, double spacing, int order) {
  std::vector<double> gram(static_cast<std::size_t>(band * (intervals + 3)), 0.0);
  double element[4][4] = {};
  for (int k = 0; k < 4; ++k) {
    double d[4];
    splineDerivatives(order, nodes[k], d);
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j) element[i][j] += nodeWeights[k] * d[i] * d[j];
  }
  const double scale = std::pow(spacing, 1 - 2 * order);
  for (int cell = 0; cell < intervals; ++cell)
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j)
        gram[static_cast<std::size_t>(std::int64_t{intervals + 3} * (j - i + reach) + cell + i)] +=
            scale * element[i][j];
  return gram;
}

}  // namespace

BendingEnergy::BendingEnergy(const ControlLattice& shape) : volume_(1.0) {
  for (int axis = 0; axis < 3; ++axis) {
    n_[axis] = shape.controlsAlong(axis);
    volume_ *= shape.spacing[axis] * shape.intervals[axis];
    for (int order = 0; order < 3; ++order)
      gram_[axis][order] = gramOf(shape.intervals[axis], shape.spacing[axis], order);
  }
}

void BendingEnergy::apply(int axis, int order, const Vector& from, Vector& to) const {
  const int n = n_[axis];
  const double* const gram = gram_[axis][order].data();
  std::int64_t stride = 1;
  for (int a = 0; a < axis; ++a) stride *= n_[a];
  const std::int64_t block = stride * n;
  to.assign(from.size(), 0.0);
  for (std::int64_t first = 0; first < static_cast<std::int64_t>(from.size()); first += block) {
    const double* const in = from.data() + first;
    double* const out = to.data() + first;
    for (int d = -reach; d <= reach; ++d) {
      const double* const g = gram + std::int64_t{n} * (d + reach);
      const int low = std::max(-d, 0);
      const int high = std::min(n - d, n);
      if (axis == 0)
        for (int i = low; i < high; ++i) out[i] += g[i] * in[i + d];
      else
        for (int i = low; i < high; ++i)
          for (std::int64_t s = 0; s < stride; ++s)
            out[i * stride + s] += g[i] * in[(i + d) * stride + s];
    }
  }
}

// The sum over the second derivatives, with the axes' Gram matrices X, Y, Z of the orders 0 to 2:
//   (X2 Y0 + X0 Y2 + 2 X1 Y1) Z0 + 2 (X1 Y0 + X0 Y1) Z1 + X0 Y0 Z2.
double BendingEnergy::evaluate(const Vector& values, double weight, double* gradient) {
  Vector sums[3];
  for (Vector& sum : sums) sum.assign(values.size(), 0.0);
  struct Term {
    int x, y;
    int z;  ///< order of the last factor
    double factor;
  };
  constexpr Term terms[] = {{0, 0, 2, 1.0}, {0, 1, 1, 2.0}, {0, 2, 0, 1.0},
                            {1, 0, 1, 2.0}, {1, 1, 0, 2.0}, {2, 0, 0, 1.0}};
  int present = -1;
  for (const Term& term : terms) {
    if (term.x != present) apply(0, term.x, values, alongX_);
    present = term.x;
    apply(1, term.y, alongX_, alongY_);
    Vector& sum = sums[term.z];
    for (std::size_t i = 0; i < values.size(); ++i) sum[i] += term.factor * alongY_[i];
  }
  alongX_.assign(values.size(), 0.0);
  for (int z = 0; z < 3; ++z) {
    apply(2, z, sums[z], alongY_);
    for (std::size_t i = 0; i < values.size(); ++i) alongX_[i] += alongY_[i];
  }
  double energy = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) energy += values[i] * alongX_[i];
  const double scale = 2.0 * weight / volume_;
  for (std::size_t i = 0; i < values.size() && gradient != nullptr; ++i)
    gradient[i] += scale * alongX_[i];
  return energy / volume_;
}

}  // namespace voxreg::detail
