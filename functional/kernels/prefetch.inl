/// Addresses as numbers: what is asked for ahead of time may lie beyond a volume.
static long addressOf(const void* p) {
  return reinterpret_cast<long>(p);
}

static void prefetch(long address) {
  __builtin_prefetch(reinterpret_cast<const void*>(address));
}
