#include "foundation/NmString.h"

#include <cstdint>
#include <cstdio>

NmString::NmString(int /*unused*/, const char* format, ...) {
  remax(16, 0);
  va_list arguments;
  va_start(arguments, format);
  try {
    vprintf(format, arguments);
  } catch (...) {
    va_end(arguments);
    throw;
  }
  va_end(arguments);
}

void NmString::vprintf(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  resize(length < 0 ? 1 : static_cast<std::int64_t>(length) + 1);
  data[0] = '\0';
  if (length > 0) std::vsnprintf(data, static_cast<std::size_t>(size), format, arguments);
}
