#pragma once

#include <voxreg.h>

/// The baseline for the kernels in the same run: the affine walk as one plain scalar loop over a
/// short reference and an unsigned char model, one sample after another.
namespace plainLoop {

/// The walk of a functional's affine evaluation.
struct Walk {
  explicit Walk(RegFunctional& functional);

  const short* reference;
  const unsigned char* model;
  int dims[3];
  int modelDims[3];
  double start[3];
  double step[3][3];
};

/// Each adds the samples of the walk to a sum of its family, with ranges and bins from `metric`,
/// and returns the number of samples.
long difference(const Walk& walk, const RegMetric& metric);
long correlation(const Walk& walk, const RegMetric& metric);
long information(const Walk& walk, const RegMetric& metric);

}  // namespace plainLoop
