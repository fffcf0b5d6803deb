#pragma once

#include "functional/kernels/lanes.inl"

/// Addresses as integers: a prefetched address may be outside a volume.
static std::int64_t addressOf(const void* p) {
  return reinterpret_cast<std::int64_t>(p);
}

static void prefetch(std::int64_t address) {
  __builtin_prefetch(reinterpret_cast<const void*>(address));
}
