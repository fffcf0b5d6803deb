#pragma once

#include "functional/kernels/rowBlock.inl"

/// Subtracts stored values from one running sum, row by row. Each addition depends on the previous
/// one, so a few are done at a time, interleaved with work that does not depend on them.
class OrderedSum {
 public:
  double sum = 0.0;

  /// Takes rows 0 .. rows - 1 of a block: value k of row r is values[k * width + r], and `count`,
  /// the number of values per row, is a multiple of the width.
  void start(const double* values, std::int64_t count, int rows) {
    values_ = next_ = values;
    end_ = values + count * Lanes::width;
    rowsLeft_ = count > 0 ? rows : 0;
  }

  /// The next few values, if any are left.
  [[gnu::always_inline]] void operator()() {
    if (rowsLeft_ == 0) return;
    for (int i = 0; i < Lanes::width; ++i) sum -= next_[i * Lanes::width];
    next_ += Lanes::width * Lanes::width;
    if (next_ < end_) return;
    next_ = ++values_;
    --rowsLeft_;
  }

  void finish() {
    while (rowsLeft_ > 0) (*this)();
  }

 private:
  const double* values_ = nullptr;
  const double* next_ = nullptr;
  const double* end_ = nullptr;
  int rowsLeft_ = 0;
};

/// No background work.
struct Idle {
  void operator()() const {}
};
