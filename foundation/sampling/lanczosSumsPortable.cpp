#include "foundation/sampling/axisTaps.h"
#include "foundation/sampling/lanczosSums.h"
#include "foundation/simd/lanesPortable.h"

namespace voxreg::detail {

namespace portable {
namespace {
#include "foundation/sampling/lanczosSums.inl"
}  // namespace
}  // namespace portable

constexpr LanczosSums portableLanczosSums = portable::makeLanczosSums();

}  // namespace voxreg::detail
