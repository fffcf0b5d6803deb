#pragma once

namespace voxreg::detail::portable {

/// Four floats in the vector extension that GCC and Clang share.
struct FloatLanes {
  static constexpr int width = 4;
  using Floats = float __attribute__((vector_size(16)));
  using Ints = int __attribute__((vector_size(16)));

  /// Must be called last.
  static void leave() {}

  /// Whether a lane is not 0.
  static bool any(Ints lanes) { return (lanes[0] | lanes[1] | lanes[2] | lanes[3]) != 0; }

  /// The values at some indices, and those after them.
  [[gnu::always_inline]] static void gatherPairs(const float* base, Ints index, Floats& first,
                                                 Floats& second) {
    const float* const at[width] = {base + index[0], base + index[1], base + index[2],
                                    base + index[3]};
    first = Floats{at[0][0], at[1][0], at[2][0], at[3][0]};
    second = Floats{at[0][1], at[1][1], at[2][1], at[3][1]};
  }
};

}  // namespace voxreg::detail::portable
