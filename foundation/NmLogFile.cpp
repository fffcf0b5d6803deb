#include "foundation/NmLogFile.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "foundation/NmException.h"
#include "foundation/NmHandableThreaded.h"
#include "foundation/NmString.h"

namespace {

void writeToStandardError(const char* text, std::size_t length) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(length), text);
}

}  // namespace

/// A sink that stays alive while a line is on its way to it.
class NmLogFile::SinkHolder : public NmHandableThreaded {
 public:
  explicit SinkHolder(Sink taken) : sink(std::move(taken)) {}

  Sink copy() const {
    try {
      return sink;
    } catch (const std::bad_alloc&) {
      throw NmMemoryException();
    }
  }

  const Sink sink;
};

NmLogFile::NmLogFile() = default;
NmLogFile::~NmLogFile() = default;

NmLogFile& getTheLogInstance() {
  // Never destroyed, since objects that end after main may still log. Not on the heap, whose
  // exhaustion may be the first line.
  alignas(NmLogFile) static unsigned char place[sizeof(NmLogFile)];
  static NmLogFile& log = *new (place) NmLogFile;
  return log;
}

NmHandle<NmLogFile::SinkHolder> NmLogFile::presentSink() {
  const std::lock_guard guard(mutex_);
  return sink_;
}

// Whatever may fail, or run code of the host, is done before the exchange and outside the mutex.
NmLogFile::Sink NmLogFile::setSink(Sink sink) {
  NmHandle<SinkHolder> next;
  if (sink) next = new SinkHolder(std::move(sink));
  for (;;) {
    const NmHandle<SinkHolder> present = presentSink();
    Sink before = present != nullptr ? present->copy() : Sink();
    const std::lock_guard guard(mutex_);
    if (sink_ != present) continue;
    sink_ = next;
    return before;
  }
}

void NmLogFile::printf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  try {
    write(false, format, arguments);
  } catch (...) {
    va_end(arguments);
    throw;
  }
  va_end(arguments);
}

void NmLogFile::errorf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  try {
    write(true, format, arguments);
  } catch (...) {
    va_end(arguments);
    throw;
  }
  va_end(arguments);
}

// Logging never fails: if memory is short, a line is cut to what fits on the stack.
void NmLogFile::write(bool isError, const char* format, va_list arguments) {
  char brief[256];
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(brief, sizeof brief, format, again);
  va_end(again);
  if (length < 0) return writeLines(isError, format);
  if (static_cast<std::size_t>(length) < sizeof brief) return writeLines(isError, brief);
  NmDArray<char> whole;
  try {
    whole.resize(static_cast<std::int64_t>(length) + 1);
  } catch (const NmMemoryException&) {
    return writeLines(isError, brief);
  }
  std::vsnprintf(whole.data, static_cast<std::size_t>(whole.size), format, arguments);
  writeLines(isError, whole.data);
}

void NmLogFile::writeLines(bool isError, const char* text) {
  const NmHandle<SinkHolder> sink = presentSink();
  do {
    const std::size_t length = std::strcspn(text, "\r\n");
    std::string line;
    bool fits = sink != nullptr;
    try {
      if (fits) line.assign(text, length);
    } catch (const std::bad_alloc&) {
      fits = false;
    }
    if (fits)
      sink->sink(isError, line);
    else
      writeToStandardError(text, length);
    text += length;
    if (*text == '\r') ++text;
    if (*text == '\n') ++text;
  } while (*text != '\0');
}
