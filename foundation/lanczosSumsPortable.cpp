#include "foundation/axisTaps.h"
#include "foundation/lanczosSums.h"
#include "foundation/lanesPortable.h"

namespace voxreg::detail {

namespace portable {
namespace {
#include "foundation/lanczosSums.inl"
}  // namespace
}  // namespace portable

constexpr LanczosSums portableLanczosSums = portable::makeLanczosSums();

}  // namespace voxreg::detail
