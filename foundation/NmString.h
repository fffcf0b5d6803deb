#pragma once

#include <cstdarg>

#include "foundation/NmDArray.h"

/// Character string: `data` is zero-terminated text, and `size` includes the terminator.
class NmString : public NmDArray<char> {
 public:
  /// printf-style text; the integer is ignored.
  NmString(int, const char* format, ...) __attribute__((format(printf, 3, 4)));

  /// Replaces the text with a formatted one.
  void vprintf(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
};
