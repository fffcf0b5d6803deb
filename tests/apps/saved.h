#pragma once

#include <string>

#include "files/OutputFiles.h"

/// Writes a file with one of the host's writers.
template <class Value>
void saved(void (*write)(host::OutputFiles&, const std::string&, const Value&),
           const std::string& path, const Value& value) {
  host::OutputFiles outputs;
  write(outputs, path, value);
  outputs.commit();
}
