#pragma once

#include <cstdarg>

#include "foundation/NmDArray.h"

/// Character string: `data` is zero-terminated text, and the terminator counts in `size`.
class NmString : public NmDArray<char> {
 public:
  /// printf-style text; the integer is ignored.
  NmString(int, const char* format, ...) __attribute__((format(printf, 3, 4)));

  /// Replaces the text by a formatted one.
  void vprintf(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
};
