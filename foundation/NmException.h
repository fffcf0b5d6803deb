#pragma once

#include <exception>

/// The library's exception. It holds its text by value and allocates nothing, so it can be thrown
/// and copied when memory is exhausted; texts longer than 127 characters are truncated.
class NmException : public std::exception {
 public:
  NmException(const char* text = "");  // NOLINT(google-explicit-constructor): hosts throw texts
  NmException(const NmException&) = default;
  NmException& operator=(const NmException&) = default;
  ~NmException() override;

  const char* what() const noexcept override { return text_; }

 private:
  char text_[128] = {};
};

/// Thrown by nmmalloc and nmrealloc when memory is exhausted.
class NmMemoryException : public NmException {
 public:
  explicit NmMemoryException(const char* text = "out of memory");
  NmMemoryException(const NmMemoryException&) = default;
  NmMemoryException& operator=(const NmMemoryException&) = default;
  ~NmMemoryException() override;
};
