#include "foundation/sampling/axisTaps.h"
#include "foundation/sampling/lanczosSums.h"
#include "foundation/simd/lanesAvx2.h"

namespace voxreg::detail {

namespace avx2 {
namespace {
#include "foundation/sampling/lanczosSums.inl"
}  // namespace
}  // namespace avx2

constexpr LanczosSums avx2LanczosSums = avx2::makeLanczosSums();

}  // namespace voxreg::detail
