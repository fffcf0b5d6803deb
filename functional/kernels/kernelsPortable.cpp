#include "functional/kernels/lanesPortable.h"
#include "functional/kernels/walk.h"

namespace voxreg::detail {

namespace portable {
namespace {
#include "functional/kernels/rowClip.inl"
// The order below is that of use.
#include "functional/kernels/affinePositions.inl"
#include "functional/kernels/differenceAccumulator.inl"
#include "functional/kernels/trilinear.inl"
// The walk composes the pieces above.
#include "functional/kernels/rowBlockWalk.inl"
// The kernels name the compositions.
#include "functional/kernels/kernelTable.inl"
}  // namespace
}  // namespace portable

const KernelTable portableKernels = {
    {portable::affineDifference<unsigned char>, portable::affineDifference<short>,
     portable::affineDifference<unsigned short>, portable::affineDifference<int>,
     portable::affineDifference<float>, portable::affineDifference<double>}};

const KernelTable& kernels() {
  return portableKernels;
}

}  // namespace voxreg::detail
