#include "commands/displacementError.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>

#include "files/inputFile.h"
#include "terminal/HostError.h"

namespace host {

namespace {

bool isFinite(double number) {
  return std::isfinite(number);
}

}  // namespace

std::vector<PointPair> readPointPairs(const std::string& path) {
  std::istringstream file(inputText(path));
  std::vector<PointPair> pairs;
  for (std::string text; std::getline(file, text);) {
    std::istringstream line(text);
    double numbers[6];
    for (double& number : numbers) line >> number;
    if (!line || !(line >> std::ws).eof() || !std::all_of(numbers, numbers + 6, isFinite))
      throw HostError(path + " does not hold lines of six numbers");
    pairs.push_back({{numbers[0], numbers[1], numbers[2]}, {numbers[3], numbers[4], numbers[5]}});
  }
  if (pairs.empty()) throw HostError(path + " holds no points");
  return pairs;
}

PlaceError displacementError(const voxreg::Transform& transform,
                             const std::vector<PointPair>& points) {
  std::vector<double> distances;
  distances.reserve(points.size());
  for (const PointPair& pair : points) {
    const NmVec3d found = transform(pair.reference);
    distances.push_back(
        std::hypot(found.x - pair.model.x, found.y - pair.model.y, found.z - pair.model.z));
  }
  return placeErrorOf(std::move(distances));
}

}  // namespace host
