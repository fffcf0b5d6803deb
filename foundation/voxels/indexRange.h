#pragma once

#include <cstdint>

namespace voxreg::detail {

/// Indices from `first` up to, but excluding, `end`; none where `end` is not above `first`.
struct IndexRange {
  std::int64_t first = 0;
  std::int64_t end = 0;

  bool isEmpty() const { return end <= first; }
  std::int64_t count() const { return isEmpty() ? 0 : end - first; }
  bool operator==(const IndexRange&) const = default;
};

}  // namespace voxreg::detail
