#include "foundation/NmDArray.h"

#include <cinttypes>
#include <cstddef>

#include "foundation/NmLogFile.h"

namespace voxreg::detail {

std::int64_t grownCapacity(std::int64_t needed, std::int64_t size) {
  const std::int64_t grown = static_cast<std::int64_t>(1.5 * static_cast<double>(size));
  return needed > grown ? needed : grown;
}

std::int64_t addedCount(std::int64_t a, std::int64_t b) {
  if (a > std::numeric_limits<std::int64_t>::max() - b) throw NmMemoryException();
  return a + b;
}

std::size_t elementBytes(std::int64_t count, std::size_t elementSize) {
  const auto n = static_cast<std::uint64_t>(count);
  if (n > static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max()) / elementSize)
    throw NmMemoryException();
  return static_cast<std::size_t>(n * elementSize);
}

void reportBadArgument(const char* operation, std::int64_t pos, std::int64_t n) {
  getTheLogInstance().errorf("%s: bad position %" PRId64 " or count %" PRId64, operation, pos, n);
}

}  // namespace voxreg::detail
