#include "foundation/axisTaps.h"
#include "foundation/lanczosSums.h"
#include "foundation/lanesAvx2.h"

namespace voxreg::detail {

namespace avx2 {
namespace {
#include "foundation/lanczosSums.inl"
}  // namespace
}  // namespace avx2

constexpr LanczosSums avx2LanczosSums = avx2::makeLanczosSums();

}  // namespace voxreg::detail
