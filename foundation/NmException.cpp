#include "foundation/NmException.h"

#include <cstdio>

NmException::NmException(const char* text) {
  std::snprintf(text_, sizeof text_, "%s", text == nullptr ? "" : text);
}
NmException::~NmException() = default;

NmMemoryException::NmMemoryException(const char* text) : NmException(text) {}
NmMemoryException::~NmMemoryException() = default;
