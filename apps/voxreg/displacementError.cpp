#include "displacementError.h"

#include <algorithm>
#include <cmath>
#include <fstream>

#include "HostError.h"

namespace host {

std::vector<PointPair> readPointPairs(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw HostError("cannot read " + path);
  std::vector<PointPair> points;
  std::vector<double> numbers;
  for (double number; file >> number && std::isfinite(number);) {
    numbers.push_back(number);
    if (numbers.size() < 6) continue;
    points.push_back({{numbers[0], numbers[1], numbers[2]}, {numbers[3], numbers[4], numbers[5]}});
    numbers.clear();
  }
  if (!file.eof() || !numbers.empty() || points.empty())
    throw HostError(path + " does not hold lines of six numbers");
  return points;
}

DisplacementError displacementError(const GridTransform& transform,
                                    const std::vector<PointPair>& points) {
  std::vector<double> distances;
  DisplacementError error;
  for (const PointPair& pair : points) {
    const NmVec3d found = transform.ofWorld(pair.reference);
    distances.push_back(
        std::hypot(found.x - pair.model.x, found.y - pair.model.y, found.z - pair.model.z));
    error.mean += distances.back() / static_cast<double>(points.size());
  }
  std::sort(distances.begin(), distances.end());
  error.percentile95 = distances[(distances.size() * 95 + 99) / 100 - 1];
  error.maximum = distances.back();
  return error;
}

}  // namespace host
