#pragma once

#include <voxreg.h>

/// What the kernels are measured against in the same run: the affine walk as one plain scalar loop
/// over a short reference and an unsigned char model, sample after sample.
namespace plainLoop {

/// The walk that a functional's affine evaluation makes.
struct Walk {
  explicit Walk(RegFunctional& functional);

  const short* reference;
  const unsigned char* model;
  int dims[3];
  int modelDims[3];
  double start[3];
  double step[3][3];
};

/// Each adds the samples of the walk to a sum of its family, `metric` giving ranges and bins, and
/// returns the number of samples.
long difference(const Walk& walk, const RegMetric& metric);
long correlation(const Walk& walk, const RegMetric& metric);
long information(const Walk& walk, const RegMetric& metric);

}  // namespace plainLoop
