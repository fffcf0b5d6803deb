#pragma once

#include <cstdint>
#include <cstdlib>

#include "resampling/RegResamplerContribList.h"

namespace voxreg::detail {

/// Owner of an array of RegResampler::filter_contrib.
class ContribLists {
 public:
  ContribLists(RegResamplerContribList* lists, int count) : lists_(lists), count_(count) {}
  ContribLists(const ContribLists&) = delete;
  ContribLists& operator=(const ContribLists&) = delete;
  ~ContribLists() {
    for (int i = 0; lists_ != nullptr && i < count_; ++i) std::free(lists_[i].taps);
    std::free(lists_);
  }

  RegResamplerContribList& operator[](std::int64_t i) { return lists_[i]; }
  const RegResamplerContribList& operator[](std::int64_t i) const { return lists_[i]; }
  int size() const { return count_; }

  RegResamplerContribList* release() {
    RegResamplerContribList* const released = lists_;
    lists_ = nullptr;
    return released;
  }

 private:
  RegResamplerContribList* lists_;
  int count_;
};

}  // namespace voxreg::detail
