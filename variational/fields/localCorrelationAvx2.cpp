#include "variational/fields/localCorrelationKernels.h"

namespace voxreg::detail {

namespace avx2 {
namespace {
#include "variational/fields/localCorrelationRows.inl"
}  // namespace
}  // namespace avx2

constexpr LocalCorrelationKernels avx2LocalCorrelation = avx2::makeLocalCorrelation();

}  // namespace voxreg::detail
