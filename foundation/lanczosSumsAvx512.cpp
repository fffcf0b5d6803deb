#include "foundation/axisTaps.h"
#include "foundation/lanczosSums.h"
#include "foundation/lanesAvx512.h"

namespace voxreg::detail {

namespace avx512 {
namespace {
#include "foundation/lanczosSums.inl"
}  // namespace
}  // namespace avx512

constexpr LanczosSums avx512LanczosSums = avx512::makeLanczosSums();

}  // namespace voxreg::detail
