#include "terminal/similarName.h"

#include <algorithm>

namespace host {

namespace {

/// Damerau's edit distance, with each character changed at most once.
std::size_t distanceBetween(const std::string& a, const std::string& b) {
  const std::size_t width = b.size() + 1;
  std::vector<std::size_t> cost((a.size() + 1) * width);
  const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& { return cost[i * width + j]; };
  for (std::size_t i = 0; i <= a.size(); ++i)
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        at(i, j) = i + j;
        continue;
      }
      const std::size_t replaced = at(i - 1, j - 1) + (a[i - 1] == b[j - 1] ? 0 : 1);
      at(i, j) = std::min({at(i - 1, j) + 1, at(i, j - 1) + 1, replaced});
      const bool isSwap = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwap) at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
    }
  return at(a.size(), b.size());
}

}  // namespace

std::string similarName(const std::string& name, const std::vector<std::string>& names) {
  std::string nearest;
  std::size_t least = name.size() / 2;
  for (const std::string& candidate : names) {
    const std::size_t distance = distanceBetween(name, candidate);
    if (distance > least || (distance == least && !nearest.empty())) continue;
    least = distance;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace host
