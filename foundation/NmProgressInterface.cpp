#include "foundation/NmProgressInterface.h"

#include <new>

#include "foundation/NmException.h"

NmProgressInterface::~NmProgressInterface() = default;

void NmProgressInterface::progressInfoChanged(const std::string& /*text*/) {}

void NmProgressInterface::setProgressInfo(const char* text) {
  try {
    progressInfo_ = text == nullptr ? "" : text;
  } catch (const std::bad_alloc&) {
    throw NmMemoryException();
  }
  progressInfoChanged(progressInfo_);
}
