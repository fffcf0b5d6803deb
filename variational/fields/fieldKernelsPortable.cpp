#include "variational/fields/fieldKernels.h"
#include "variational/fields/floatLanesPortable.h"

namespace voxreg::detail {

namespace portable {
namespace {
#include "variational/fields/fieldKernelTable.inl"
}  // namespace
}  // namespace portable

constexpr FieldKernels portableFieldKernels = portable::makeFieldKernels();

}  // namespace voxreg::detail
