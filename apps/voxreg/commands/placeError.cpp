#include "commands/placeError.h"

#include <algorithm>
#include <numeric>

namespace host {

PlaceError placeErrorOf(std::vector<double> distances) {
  if (distances.empty()) return {};
  const std::size_t rank = (distances.size() * 95 + 99) / 100 - 1;
  const auto at = distances.begin() + static_cast<std::ptrdiff_t>(rank);
  const double sum = std::accumulate(distances.begin(), distances.end(), 0.0);
  std::nth_element(distances.begin(), at, distances.end());
  return {sum / static_cast<double>(distances.size()), *at, *std::max_element(at, distances.end())};
}

}  // namespace host
