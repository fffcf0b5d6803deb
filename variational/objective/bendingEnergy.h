#pragma once

#include <vector>

#include "variational/ControlLattice.h"

namespace voxreg::detail {

/// The mean over the box of the sum of all squared second derivatives of the displacement
/// (Rueckert et al. 1999), mixed ones twice, in closed form. Independent of the number of intervals
/// that describe one map. Derivatives are by millimetres along each axis.
class BendingEnergy {
 public:
  using Vector = std::vector<double>;

  explicit BendingEnergy(const ControlLattice& shape);

  /// The energy of `values`; adds `weight` times its gradient to `gradient`.
  double evaluate(const Vector& values, double weight, double* gradient);

 private:
  void apply(int axis, int order, const Vector& from, Vector& to) const;

  int n_[3];
  /// Of each axis and order: products of the splines' derivatives, integrated over the box. Row d +
  /// 3 holds those of the controls i and i + d.
  Vector gram_[3][3];
  double volume_;
  Vector alongX_;
  Vector alongY_;
};

}  // namespace voxreg::detail
