#include "foundation/NmDArray.h"

#include "foundation/NmLogFile.h"

namespace voxreg::detail {

long grownCapacity(long needed, long size) {
  const long grown = static_cast<long>(1.5 * static_cast<double>(size));
  return needed > grown ? needed : grown;
}

long addedCount(long a, long b) {
  if (a > std::numeric_limits<long>::max() - b) throw NmMemoryException();
  return a + b;
}

unsigned long elementBytes(long count, unsigned long elementSize) {
  const auto n = static_cast<unsigned long>(count);
  if (n > static_cast<unsigned long>(std::numeric_limits<long>::max()) / elementSize)
    throw NmMemoryException();
  return n * elementSize;
}

void reportBadArgument(const char* operation, long pos, long n) {
  getTheLogInstance().errorf("%s: bad position %ld or count %ld", operation, pos, n);
}

}  // namespace voxreg::detail
