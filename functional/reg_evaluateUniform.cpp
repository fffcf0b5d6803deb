#include "functional/reg_evaluateUniform.h"

#include "functional/referenceWalk.h"
#include "metrics/RegCorrelationRatio.h"
#include "metrics/RegMeanSquaredDifference.h"
#include "metrics/RegMutualInformation.h"

using voxreg::detail::voxelTypeIndex;
using voxreg::detail::walkAffine;
using voxreg::detail::WalkArguments;
using voxreg::detail::walkBricks;

template <class T, class U>
void reg_evaluateUniformMSD(const T* reference, const U* model, const NmVec3i& referenceDims,
                            const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                            const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                            RegMeanSquaredDifference* metric, const double* bounds,
                            const int* modelDims, RegNonAffineTransform* transform, int) {
  if (metric == nullptr) return;
  const WalkArguments arguments = {reference,     voxelTypeIndex<T>,
                                   model,         voxelTypeIndex<U>,
                                   referenceDims, box,
                                   signs,         start,
                                   stepX,         stepY,
                                   stepZ,         bounds,
                                   modelDims};
  if (transform == nullptr)
    walkAffine(arguments, *metric);
  else
    walkBricks(arguments, *transform, *metric);
}

template <class T, class U>
void reg_evaluateUniformCorrAffine(const T* reference, const U* model, const NmVec3i& referenceDims,
                                   const NmVec3i& signs, const NmVec3d& start, const NmVec3d& stepX,
                                   const NmVec3d& stepY, const NmVec3d& stepZ,
                                   RegCorrelationRatio* metric, const double* bounds,
                                   const int* modelDims, int) {
  if (metric == nullptr) return;
  walkAffine({reference, voxelTypeIndex<T>, model, voxelTypeIndex<U>, referenceDims, NmBox3i(),
              signs, start, stepX, stepY, stepZ, bounds, modelDims},
             *metric);
}

template <class T, class U>
void reg_evaluateUniformMIAffine(const T* reference, const U* model, const NmVec3i& referenceDims,
                                 const NmVec3i& signs, const NmVec3d& start, const NmVec3d& stepX,
                                 const NmVec3d& stepY, const NmVec3d& stepZ,
                                 RegMutualInformation* metric, const double* bounds,
                                 const int* modelDims, int numHistograms) {
  if (metric == nullptr) return;
  walkAffine({reference, voxelTypeIndex<T>, model, voxelTypeIndex<U>, referenceDims, NmBox3i(),
              signs, start, stepX, stepY, stepZ, bounds, modelDims},
             *metric, numHistograms);
}

template <class T, class U>
void reg_evaluateUniformCorrNonAffine(const T* reference, const U* model,
                                      const NmVec3i& referenceDims, const NmBox3i& box,
                                      const NmVec3i& signs, const NmVec3d& start,
                                      const NmVec3d& stepX, const NmVec3d& stepY,
                                      const NmVec3d& stepZ, RegCorrelationRatio* metric,
                                      const double* bounds, const int* modelDims,
                                      RegNonAffineTransform* transform, int) {
  if (metric == nullptr || transform == nullptr) return;
  walkBricks({reference, voxelTypeIndex<T>, model, voxelTypeIndex<U>, referenceDims, box, signs,
              start, stepX, stepY, stepZ, bounds, modelDims},
             *transform, *metric);
}

template <class T, class U>
void reg_evaluateUniformMINonAffine(const T* reference, const U* model,
                                    const NmVec3i& referenceDims, const NmBox3i& box,
                                    const NmVec3i& signs, const NmVec3d& start,
                                    const NmVec3d& stepX, const NmVec3d& stepY,
                                    const NmVec3d& stepZ, RegMutualInformation* metric,
                                    const double* bounds, const int* modelDims,
                                    RegNonAffineTransform* transform, int numHistograms) {
  if (metric == nullptr || transform == nullptr) return;
  walkBricks({reference, voxelTypeIndex<T>, model, voxelTypeIndex<U>, referenceDims, box, signs,
              start, stepX, stepY, stepZ, bounds, modelDims},
             *transform, *metric, numHistograms);
}

template <class T, class U>
void reg_evaluateUniform(const T* reference, const U* model, const NmVec3i& referenceDims,
                         const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                         const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                         RegMetric* metric, const double* bounds, const int* modelDims,
                         RegNonAffineTransform* transform, int numHistograms) {
  if (auto* const difference = dynamic_cast<RegMeanSquaredDifference*>(metric))
    return reg_evaluateUniformMSD(reference, model, referenceDims, box, signs, start, stepX, stepY,
                                  stepZ, difference, bounds, modelDims, transform, numHistograms);
  auto* const correlation = dynamic_cast<RegCorrelationRatio*>(metric);
  auto* const information = dynamic_cast<RegMutualInformation*>(metric);
  if (correlation != nullptr && transform != nullptr)
    return reg_evaluateUniformCorrNonAffine(reference, model, referenceDims, box, signs, start,
                                            stepX, stepY, stepZ, correlation, bounds, modelDims,
                                            transform, numHistograms);
  if (correlation != nullptr)
    return reg_evaluateUniformCorrAffine(reference, model, referenceDims, signs, start, stepX,
                                         stepY, stepZ, correlation, bounds, modelDims,
                                         numHistograms);
  if (information != nullptr && transform != nullptr)
    return reg_evaluateUniformMINonAffine(reference, model, referenceDims, box, signs, start, stepX,
                                          stepY, stepZ, information, bounds, modelDims, transform,
                                          numHistograms);
  if (information != nullptr)
    reg_evaluateUniformMIAffine(reference, model, referenceDims, signs, start, stepX, stepY, stepZ,
                                information, bounds, modelDims, numHistograms);
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
