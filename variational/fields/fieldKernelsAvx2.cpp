#include "variational/fields/fieldKernels.h"
#include "variational/fields/floatLanesAvx2.h"

namespace voxreg::detail {

namespace avx2 {
namespace {
#include "variational/fields/fieldKernelTable.inl"
}  // namespace
}  // namespace avx2

constexpr FieldKernels avx2FieldKernels = avx2::makeFieldKernels();

}  // namespace voxreg::detail
