#include "variational/fields/localCorrelationKernels.h"

namespace voxreg::detail {

namespace avx512 {
namespace {
#include "variational/fields/localCorrelationRows.inl"
}  // namespace
}  // namespace avx512

constexpr LocalCorrelationKernels avx512LocalCorrelation = avx512::makeLocalCorrelation();

}  // namespace voxreg::detail
