#pragma once

/// The stages of evaluating a brick grid, on doubles or on vectors of them. They are inlined
/// wherever they are used, so that a kernel compiled for one instruction set shares no code with
/// the rest.
namespace voxreg::detail {

/// The brick and fraction of a coordinate in brick units on an axis of n bricks. Outside [0, n] the
/// outermost brick continues; NaN takes brick 0 with a NaN fraction.
struct BrickPlace {
  int brick;
  double fraction;
};

[[gnu::always_inline]] static inline BrickPlace placeInBricks(double g, int n) {
  const int brick = g >= n ? n - 1 : g >= 1.0 ? static_cast<int>(g) : 0;
  return {brick, g - brick};
}

/// Number of doubles of a brick, of its slice (four vectors) and of its row (two vectors).
inline constexpr int brickDoubles = 24;
inline constexpr int sliceDoubles = 12;
inline constexpr int rowDoubles = 6;

/// Terms and broadcast numbers as plain doubles.
struct PlainTerms {
  const double* terms;

  [[gnu::always_inline]] double operator()(int e) const { return terms[e]; }
};
struct PlainSpread {
  [[gnu::always_inline]] double operator()(double value) const { return value; }
};

/// Eliminates the third coordinate from a brick's terms; `fraction` is that within the brick.
/// `term` returns a term of the brick as a Value: a double, or a vector of them.
template <class Value, class Term>
[[gnu::always_inline]] static inline void takeSlice(Term term, Value fraction, Value* slice) {
  for (int e = 0; e < sliceDoubles; ++e) slice[e] = term(e) + fraction * term(e + sliceDoubles);
}

/// Converts a slice from world units to (position + offset) * scale. Only the constant vector takes
/// the offset, since the others multiply coordinates. `spread` broadcasts a double to a Value.
template <class Value, class Spread>
[[gnu::always_inline]] static inline void scaleSlice(const double* offset, const double* scale,
                                                     Spread spread, Value* slice) {
  for (int c = 0; c < 3; ++c) slice[c] = slice[c] + spread(offset[c]);
  for (int t = 0; t < 4; ++t)
    for (int c = 0; c < 3; ++c) slice[3 * t + c] = slice[3 * t + c] * spread(scale[c]);
}

/// Eliminates the second coordinate from a brick's slice, whose terms `term` returns.
template <class Value, class Term>
[[gnu::always_inline]] static inline void takeRow(Term term, Value fraction, Value* row) {
  for (int e = 0; e < rowDoubles; ++e) row[e] = term(e) + fraction * term(e + rowDoubles);
}

}  // namespace voxreg::detail
