#pragma once

namespace voxreg::detail {

/// Two lanes, in the vector extension that GCC and Clang share. Every operation is the scalar one
/// per lane.
using Pair = double __attribute__((vector_size(16)));

inline bool hasZero(double value) {
  return value == 0.0;
}

inline bool hasZero(Pair values) {
  return values[0] == 0.0 || values[1] == 0.0;
}

template <class V>
V dot(const V (&a)[3], const V (&b)[3]) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Makes `row` orthogonal to `other`, whose square is given, and returns the share subtracted.
template <class V>
V takeOff(V (&row)[3], const V (&other)[3], V square) {
  const V share = dot(row, other) / square;
  for (int c = 0; c < 3; ++c) row[c] = row[c] - share * other[c];
  return share;
}

/// A 3 x 3 matrix, or two of them in lanes, whose rows are orthogonalised from the last to the
/// first.
template <class V>
struct OrthogonalRows {
  V squares[3];  ///< of the orthogonal rows
  V shares[3];   ///< of row 2 in row 1, of row 2 in row 0, of row 1 in row 0

  /// Changes `rows`. Returns false, with the members invalid, if row 2 or the rest of row 1 is 0.
  bool orthogonalise(V (&rows)[3][3]) {
    squares[2] = dot(rows[2], rows[2]);
    if (hasZero(squares[2])) return false;
    shares[0] = takeOff(rows[1], rows[2], squares[2]);
    squares[1] = dot(rows[1], rows[1]);
    if (hasZero(squares[1])) return false;
    shares[1] = takeOff(rows[0], rows[2], squares[2]);
    shares[2] = takeOff(rows[0], rows[1], squares[1]);
    squares[0] = dot(rows[0], rows[0]);
    return true;
  }
};

}  // namespace voxreg::detail
