#pragma once

#include "functional/kernels/prefetch.inl"
#include "variational/kernels/sampleGroups.inl"

/// Prefetches what a row some way ahead will read of the model, of which a walk along rows reads
/// most cache lines once.
template <class U>
class RowPrefetch {
 public:
  explicit RowPrefetch(const Walk& walk) {
    const std::int64_t line = walk.modelDims[0];
    const std::int64_t slice = line * walk.modelDims[1];
    const double lines = rowsAhead * walk.rowStep[1];
    const bool isKnown = lines > -1.0e3 && lines < 1.0e3;
    const std::int64_t ahead =
        isKnown ? line * static_cast<std::int64_t>(lines + (lines < 0.0 ? -0.5 : 0.5)) : 0;
    const std::int64_t corners[] = {0, line, slice, slice + line};
    for (int i = 0; i < 4; ++i)
      ahead_[i] = addressOf(static_cast<const U*>(walk.model)) +
                  (ahead + corners[i]) * static_cast<std::int64_t>(sizeof(U));
  }

  /// For a group whose first voxel's sample has its cell at `corner`.
  [[gnu::always_inline]] void operator()(std::int64_t corner) const {
    for (const auto line : ahead_) prefetch(line + corner * static_cast<std::int64_t>(sizeof(U)));
  }

 private:
  static constexpr int rowsAhead = 2;  ///< empirical

  std::int64_t ahead_[4];
};
