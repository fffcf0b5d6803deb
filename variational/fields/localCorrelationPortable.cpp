#include "variational/fields/localCorrelationKernels.h"

namespace voxreg::detail {

namespace portable {
namespace {
#include "variational/fields/localCorrelationRows.inl"
}  // namespace
}  // namespace portable

constexpr LocalCorrelationKernels portableLocalCorrelation = portable::makeLocalCorrelation();

}  // namespace voxreg::detail
