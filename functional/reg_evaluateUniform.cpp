#include "functional/reg_evaluateUniform.h"

#include <algorithm>
#include <cstdint>

#include "foundation/NmDArray.h"
#include "functional/kernels/walk.h"
#include "metrics/RegMeanSquaredDifference.h"

namespace {

using voxreg::detail::kernels;
using voxreg::detail::Walk;

long numVoxels(const NmBox3i& box) {
  if (box.xmax < box.xmin || box.ymax < box.ymin || box.zmax < box.zmin) return 0;
  return (box.xmax - box.xmin + 1L) * (box.ymax - box.ymin + 1L) * (box.zmax - box.zmin + 1L);
}

NmBox3i cut(const NmBox3i& box, const NmVec3i& dims) {
  return {std::max(box.xmin, 0), std::min(box.xmax, dims.x - 1),
          std::max(box.ymin, 0), std::min(box.ymax, dims.y - 1),
          std::max(box.zmin, 0), std::min(box.zmax, dims.z - 1)};
}

/// A walk with the scratch memory of the rows that a kernel works on.
class ScratchedWalk {
 public:
  template <class T, class U>
  ScratchedWalk(const T* reference, const U* model, const NmVec3i& referenceDims,
                const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                const double* bounds, const int* modelDims) {
    walk.reference = reference;
    walk.referenceType = voxreg::detail::voxelTypeIndex<T>;
    walk.model = model;
    walk.box = cut(box, referenceDims);
    for (int axis = 0; axis < 3; ++axis) {
      walk.referenceDims[axis] = referenceDims[axis];
      walk.modelDims[axis] = modelDims[axis];
      walk.start[axis] = start[axis];
      walk.step[0][axis] = stepX[axis];
      walk.step[1][axis] = stepY[axis];
      walk.step[2][axis] = stepZ[axis];
      walk.signs[axis] = signs[axis];
      walk.bounds[axis][0] = bounds[2 * axis];
      walk.bounds[axis][1] = bounds[2 * axis + 1];
    }
    constexpr long alignment = 64 / sizeof(double);
    scratch_.resize(static_cast<long>(voxreg::detail::scratchDoubles(referenceDims.x)) + alignment);
    const auto address = reinterpret_cast<std::uintptr_t>(scratch_.data);
    walk.scratch = scratch_.data + (64 - address % 64) % 64 / sizeof(double);
  }

  Walk walk;

 private:
  NmDArray<double> scratch_;
};

template <class T, class U>
bool canWalk(const T* reference, const U* model, const NmVec3i& referenceDims, const int* modelDims,
             const void* metric) {
  return reference != nullptr && model != nullptr && metric != nullptr && modelDims != nullptr &&
         std::min({referenceDims.x, referenceDims.y, referenceDims.z}) >= 1 &&
         std::min({modelDims[0], modelDims[1], modelDims[2]}) >= 1;
}

}  // namespace

template <class T, class U>
void reg_evaluateUniformMSD(const T* reference, const U* model, const NmVec3i& referenceDims,
                            const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                            const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                            RegMeanSquaredDifference* metric, const double* bounds,
                            const int* modelDims, RegNonAffineTransform* transform, int) {
  if (!canWalk(reference, model, referenceDims, modelDims, metric)) return;
  if (transform != nullptr) return;
  NmBox3i slices = {0, referenceDims.x - 1, 0, referenceDims.y - 1, box.zmin, box.zmax};
  const ScratchedWalk scratched(reference, model, referenceDims, slices, signs, start, stepX, stepY,
                                stepZ, bounds, modelDims);
  voxreg::detail::DifferenceSums sums;
  kernels().affineDifference[voxreg::detail::voxelTypeIndex<U>](scratched.walk, sums);
  metric->sumNegSquaredDiff += sums.negSquaredDiff;
  metric->numSamples += sums.count;
  metric->numTotalSamples += numVoxels(scratched.walk.box);
}

template <class T, class U>
void reg_evaluateUniform(const T* reference, const U* model, const NmVec3i& referenceDims,
                         const NmBox3i& box, const NmVec3i& signs, const NmVec3d& start,
                         const NmVec3d& stepX, const NmVec3d& stepY, const NmVec3d& stepZ,
                         RegMetric* metric, const double* bounds, const int* modelDims,
                         RegNonAffineTransform* transform, int numHistograms) {
  if (auto* const difference = dynamic_cast<RegMeanSquaredDifference*>(metric))
    reg_evaluateUniformMSD(reference, model, referenceDims, box, signs, start, stepX, stepY, stepZ,
                           difference, bounds, modelDims, transform, numHistograms);
}

#define VOXREG_KERNEL_PAIR(T, U)                                                                \
  template void reg_evaluateUniformMSD<T, U>(                                                   \
      const T*, const U*, const NmVec3i&, const NmBox3i&, const NmVec3i&, const NmVec3d&,       \
      const NmVec3d&, const NmVec3d&, const NmVec3d&, RegMeanSquaredDifference*, const double*, \
      const int*, RegNonAffineTransform*, int);                                                 \
  template void reg_evaluateUniform<T, U>(const T*, const U*, const NmVec3i&, const NmBox3i&,   \
                                          const NmVec3i&, const NmVec3d&, const NmVec3d&,       \
                                          const NmVec3d&, const NmVec3d&, RegMetric*,           \
                                          const double*, const int*, RegNonAffineTransform*, int);
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
