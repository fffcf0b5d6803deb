#include "files/jsonNumbers.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "terminal/HostError.h"

namespace host {

using nlohmann::json;

std::vector<double> numbersOf(const json& document, const char* name, std::size_t count) {
  auto numbers = document.at(name).get<std::vector<double>>();
  const bool areFinite =
      std::all_of(numbers.begin(), numbers.end(), [](double x) { return std::isfinite(x); });
  if (numbers.size() != count || !areFinite)
    throw HostError(std::string(name) + " does not hold " + std::to_string(count) + " numbers");
  return numbers;
}

NmVec3i countsOf(const json& document, const char* name, int most) {
  NmVec3i result;
  int axis = 0;
  for (const double count : numbersOf(document, name, 3)) {
    if (!(count >= 1.0 && count <= most && count == std::floor(count)))
      throw HostError("there must be 1 to " + std::to_string(most) + " " + name + " on an axis");
    result[axis++] = static_cast<int>(count);
  }
  return result;
}

NmMat4d matrixOf(const json& document, const char* name) {
  const std::vector<double> elements = numbersOf(document, name, 16);
  NmMat4d matrix;
  for (std::size_t i = 0; i < 16; ++i) matrix.m[i / 4][i % 4] = elements[i];
  NmMat4d inverse;
  if (!inverse.affine_inverse(matrix, inverse))
    throw HostError(std::string(name) + " has no inverse");
  return matrix;
}

json numbersOf(const NmMat4d& matrix) {
  return std::vector<double>(matrix.m[0], matrix.m[0] + 16);
}

}  // namespace host
