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
        gram[static_cast<std::size_t>(band * (cell + i) + (j - i + reach))] +=
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

void BendingEnergy::apply(int axis, const Gram& gram, const std::vector<double>& from,
                          std::vector<double>& to) const {
  const int n = n_[axis];
  std::int64_t stride = 1;
  for (int a = 0; a < axis; ++a) stride *= n_[a];
  const std::int64_t blocks = static_cast<std::int64_t>(from.size()) / (stride * n);
  to.assign(from.size(), 0.0);
  for (std::int64_t b = 0; b < blocks; ++b) {
    const double* const in = from.data() + b * stride * n;
    double* const out = to.data() + b * stride * n;
    for (int i = 0; i < n; ++i)
      for (int j = std::max(i - reach, 0); j <= std::min(i + reach, n - 1); ++j) {
        const double g = gram[static_cast<std::size_t>(band * i + (j - i + reach))];
        for (std::int64_t s = 0; s < stride; ++s) out[i * stride + s] += g * in[j * stride + s];
      }
  }
}

double BendingEnergy::evaluate(const std::vector<double>& values, double weight, double* gradient) {
  struct Term {
    int x, y, z;
    double factor;
  };
  constexpr Term terms[] = {{2, 0, 0, 1.0}, {0, 2, 0, 1.0}, {0, 0, 2, 1.0},
                            {1, 1, 0, 2.0}, {1, 0, 1, 2.0}, {0, 1, 1, 2.0}};
  double energy = 0.0;
  for (const Term& term : terms) {
    apply(0, gram_[0][term.x], values, alongX_);
    apply(1, gram_[1][term.y], alongX_, alongY_);
    apply(2, gram_[2][term.z], alongY_, product_);
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) sum += values[i] * product_[i];
    energy += term.factor * sum / volume_;
    if (gradient == nullptr) continue;
    const double scale = 2.0 * weight * term.factor / volume_;
    for (std::size_t i = 0; i < values.size(); ++i) gradient[i] += scale * product_[i];
  }
  return energy;
}

}  // namespace voxreg::detail
