#include "functional/reg_evaluateUniform.h"

#include "functional/families/metricFamily.h"
#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegMutualInformation.h"

namespace {

using namespace voxreg::detail;

/// The arguments as one frame. Without bounds only a walk through bricks is possible.
template <class T, class U>
WalkFrame frameOf(const T* reference, const U* model, const NmVec3i& referenceDims,
                  const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                  const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                  const double* bounds, const int* modelDims) {
  WalkFrame frame = {};
  frame.reference = reference;
  frame.referenceType = voxelTypeIndex<T>;
  frame.box = box;
  frame.model = model;
  frame.modelType = voxelTypeIndex<U>;
  for (int axis = 0; axis < 3; ++axis) {
    frame.referenceDims[axis] = referenceDims[axis];
    frame.modelDims[axis] = modelDims == nullptr ? 0 : modelDims[axis];
    frame.start[axis] = start[axis];
    frame.step[0][axis] = stepX[axis];
    frame.step[1][axis] = stepY[axis];
    frame.step[2][axis] = stepZ[axis];
    frame.signs[axis] = signs[axis];
    for (int end = 0; bounds != nullptr && end < 2; ++end)
      frame.bounds[axis][end] = bounds[2 * axis + end];
  }
  return frame;
}

}  // namespace

template <class T, class U>
void reg_evaluateUniformMSD(const T* reference, const U* model, const NmVec3i& referenceDims,
                            const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                            const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                            RegMeanSquaredDifference* metric, const double* bounds,
                            const int* modelDims, RegNonAffineTransform* transform,
                            int numHistograms) {
  reg_evaluateUniform(reference, model, referenceDims, box, signs, start, stepX, stepY, stepZ,
                      metric, bounds, modelDims, transform, numHistograms);
}

template <class T, class U>
void reg_evaluateUniformCorrAffine(const T* reference, const U* model, const NmVec3i& referenceDims,
                                   const NmVec3i& signs, const NmVec3d& start, const NmVec3d& stepX,
                                   const NmVec3d& stepY, const NmVec3d& stepZ,
                                   RegCorrelationRatio* metric, const double* bounds,
                                   const int* modelDims, int numHistograms) {
  reg_evaluateUniform(reference, model, referenceDims, NmBox3i(), signs, start, stepX, stepY, stepZ,
                      metric, bounds, modelDims, nullptr, numHistograms);
}

template <class T, class U>
void reg_evaluateUniformMIAffine(const T* reference, const U* model, const NmVec3i& referenceDims,
                                 const NmVec3i& signs, const NmVec3d& start, const NmVec3d& stepX,
                                 const NmVec3d& stepY, const NmVec3d& stepZ,
                                 RegMutualInformation* metric, const double* bounds,
                                 const int* modelDims, int numHistograms) {
  reg_evaluateUniform(reference, model, referenceDims, NmBox3i(), signs, start, stepX, stepY, stepZ,
                      metric, bounds, modelDims, nullptr, numHistograms);
}

template <class T, class U>
void reg_evaluateUniformCorrNonAffine(const T* reference, const U* model,
                                      const NmVec3i& referenceDims, const NmBox3i& box,
                                      const NmVec3i& signs, const NmVec3d& start,
                                      const NmVec3d& stepX, const NmVec3d& stepY,
                                      const NmVec3d& stepZ, RegCorrelationRatio* metric,
                                      const double* bounds, const int* modelDims,
                                      RegNonAffineTransform* transform, int numHistograms) {
  if (transform == nullptr) return;
  reg_evaluateUniform(reference, model, referenceDims, box, signs, start, stepX, stepY, stepZ,
                      metric, bounds, modelDims, transform, numHistograms);
}

template <class T, class U>
void reg_evaluateUniformMINonAffine(const T* reference, const U* model,
                                    const NmVec3i& referenceDims, const NmBox3i& box,
                                    const NmVec3i& signs, const NmVec3d& start,
                                    const NmVec3d& stepX, const NmVec3d& stepY,
                                    const NmVec3d& stepZ, RegMutualInformation* metric,
                                    const double* bounds, const int* modelDims,
                                    RegNonAffineTransform* transform, int numHistograms) {
  if (transform == nullptr) return;
  reg_evaluateUniform(reference, model, referenceDims, box, signs, start, stepX, stepY, stepZ,
                      metric, bounds, modelDims, transform, numHistograms);
}

template <class T, class U>
void reg_evaluateUniform(const T* reference, const U* model, const NmVec3i& referenceDims,
                         const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                         const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                         RegMetric* metric, const double* bounds, const int* modelDims,
                         RegNonAffineTransform* transform, int numHistograms) {
  const MetricFamily* const family = familyOf(metric);
  if (family == nullptr) return;
  const WalkFrame frame = frameOf(reference, model, referenceDims, box, signs, start, stepX, stepY,
                                  stepZ, bounds, modelDims);
  if (transform != nullptr)
    family->walkBricks(frame, *transform, *metric, numHistograms, kernels());
  else if (bounds != nullptr)
    family->walkAffine(frame, *metric, numHistograms, kernels());
}

#define VOXREG_GRID_FRAME(T, U)                                                       \
  const T*, const U*, const NmVec3i&, const NmBox3i&, const NmVec3i&, const NmVec3d&, \
      const NmVec3d&, const NmVec3d&, const NmVec3d&
#define VOXREG_FRAME(T, U)                                                            \
  const T*, const U*, const NmVec3i&, const NmVec3i&, const NmVec3d&, const NmVec3d&, \
      const NmVec3d&, const NmVec3d&
#define VOXREG_KERNEL_PAIR(T, U)                                                                 \
  template void reg_evaluateUniformMSD<T, U>(VOXREG_GRID_FRAME(T, U), RegMeanSquaredDifference*, \
                                             const double*, const int*, RegNonAffineTransform*,  \
                                             int);                                               \
  template void reg_evaluateUniformCorrAffine<T, U>(VOXREG_FRAME(T, U), RegCorrelationRatio*,    \
                                                    const double*, const int*, int);             \
  template void reg_evaluateUniformMIAffine<T, U>(VOXREG_FRAME(T, U), RegMutualInformation*,     \
                                                  const double*, const int*, int);               \
  template void reg_evaluateUniformCorrNonAffine<T, U>(VOXREG_GRID_FRAME(T, U),                  \
                                                       RegCorrelationRatio*, const double*,      \
                                                       const int*, RegNonAffineTransform*, int); \
  template void reg_evaluateUniformMINonAffine<T, U>(VOXREG_GRID_FRAME(T, U),                    \
                                                     RegMutualInformation*, const double*,       \
                                                     const int*, RegNonAffineTransform*, int);   \
  template void reg_evaluateUniform<T, U>(VOXREG_GRID_FRAME(T, U), RegMetric*, const double*,    \
                                          const int*, RegNonAffineTransform*, int);
#define VOXREG_KERNEL_ROW(T)            \
  VOXREG_KERNEL_PAIR(T, unsigned char)  \
  VOXREG_KERNEL_PAIR(T, short)          \
  VOXREG_KERNEL_PAIR(T, unsigned short) \
  VOXREG_KERNEL_PAIR(T, int)            \
  VOXREG_KERNEL_PAIR(T, float)          \
  VOXREG_KERNEL_PAIR(T, double)
VOXREG_KERNEL_ROW(unsigned char)
VOXREG_KERNEL_ROW(short)
VOXREG_KERNEL_ROW(unsigned short)
VOXREG_KERNEL_ROW(int)
VOXREG_KERNEL_ROW(float)
VOXREG_KERNEL_ROW(double)
