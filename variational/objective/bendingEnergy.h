#pragma once

#include <vector>

#include "variational/ControlLattice.h"

namespace voxreg::detail {

/// The mean over the box of the sum of all squared second derivatives of the displacement
/// (Rueckert et al. 1999), mixed ones twice, in closed form. Independent of the number of intervals
/// that describe one map. Derivatives are by millimetres along each axis.
class BendingEnergy {
 public:
  explicit BendingEnergy(const ControlLattice& shape);

  /// The energy of `values`; adds `weight` times its gradient to `gradient`.
  double evaluate(const std::vector<double>& values, double weight, double* gradient);

 private:
  /// Products of the splines' derivatives of one order, integrated over the box: row i holds those
  /// with controls i - 3 .. i + 3.
  using Gram = std::vector<double>;

  void apply(int axis, const Gram& gram, const std::vector<double>& from,
             std::vector<double>& to) const;

  int n_[3];
  Gram gram_[3][3];  ///< axis, order
  double volume_;
  std::vector<double> alongX_;
  std::vector<double> alongY_;
  std::vector<double> product_;
};

}  // namespace voxreg::detail
