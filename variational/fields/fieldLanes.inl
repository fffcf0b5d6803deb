#pragma once

// Included once per instruction set, inside a namespace that holds that set's FloatLanes. Nothing
// here may use functions that are shared with the rest of the library.

using Floats = FloatLanes::Floats;
using Ints = FloatLanes::Ints;

static constexpr int width = FloatLanes::width;

[[gnu::always_inline]] static inline Floats load(const float* p) {
  Floats v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}

[[gnu::always_inline]] static inline void store(float* p, Floats v) {
  __builtin_memcpy(p, &v, sizeof v);
}

/// The first n of a group, and zeros.
static inline Floats loadSome(const float* p, int n) {
  float values[width] = {};
  for (int i = 0; i < n; ++i) values[i] = p[i];
  return load(values);
}

static inline void storeSome(float* p, Floats v, int n) {
  float values[width];
  store(values, v);
  for (int i = 0; i < n; ++i) p[i] = values[i];
}

/// As many of a group as there are.
[[gnu::always_inline]] static inline Floats loadUpTo(const float* p, int n) {
  return n >= width ? load(p) : loadSome(p, n);
}

[[gnu::always_inline]] static inline void storeUpTo(float* p, Floats v, int n) {
  if (n >= width)
    store(p, v);
  else
    storeSome(p, v, n);
}

[[gnu::always_inline]] static inline Floats all(float value) {
  return Floats{} + value;
}

/// Where the group at `i` of n values starts: the last of a row reaches back over the one before,
/// if there is one, so that no group is cut except in rows shorter than it.
[[gnu::always_inline]] static inline int groupStart(int i, int n) {
  return i + width > n && n >= width ? n - width : i;
}
