#include "variational/fields/fieldKernels.h"
#include "variational/fields/floatLanesAvx512.h"

namespace voxreg::detail {

namespace avx512 {
namespace {
#include "variational/fields/fieldKernelTable.inl"
}  // namespace
}  // namespace avx512

constexpr FieldKernels avx512FieldKernels = avx512::makeFieldKernels();

}  // namespace voxreg::detail
