#include "optimizers/lineLengths.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace voxreg::detail {

LineLengths::LineLengths(double length) {
  std::fill(std::begin(lengths_), std::end(lengths_), length);
}

void LineLengths::add(double length) {
  std::copy_backward(std::begin(lengths_), std::end(lengths_) - 1, std::end(lengths_));
  lengths_[0] = length;
}

double LineLengths::newest() const {
  return lengths_[0];
}

double LineLengths::sum(int count) const {
  return std::accumulate(lengths_, lengths_ + count, 0.0);
}

double LineLengths::mean(int count) const {
  return sum(count) / count;
}

}  // namespace voxreg::detail
