#include "foundation/sampling/axisTaps.h"
#include "foundation/sampling/lanczosSums.h"
#include "foundation/simd/lanesAvx512.h"

namespace voxreg::detail {

namespace avx512 {
namespace {
#include "foundation/sampling/lanczosSums.inl"
}  // namespace
}  // namespace avx512

constexpr LanczosSums avx512LanczosSums = avx512::makeLanczosSums();

}  // namespace voxreg::detail
