#include "displacementError.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "HostError.h"
#include "solidShapes.h"

namespace host {

std::vector<PointPair> readPointPairs(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw HostError(path + " does not exist");
  std::vector<PointPair> pairs;
  for (std::string text; std::getline(file, text);) {
    std::istringstream line(text);
    PointPair p;
    line >> p.reference.x >> p.reference.y >> p.reference.z >> p.model.x >> p.model.y >> p.model.z;
    if (!line || !(line >> std::ws).eof())
      throw HostError(path + " is not a file of lines with six numbers");
    pairs.push_back(p);
  }
  if (pairs.empty()) throw HostError(path + " holds no points");
  return pairs;
}

DisplacementError displacementError(const std::vector<PointPair>& truth,
                                    const BrickTransform& transform, const NiftiVolume& reference,
                                    const NiftiVolume& model) {
  const BrickMap map(transform);
  const NmMat4d toReference = reference.frame.toWorld.inverse();
  std::vector<double> distances;
  for (const PointPair& pair : truth) {
    NmVec3d place;
    toReference.multVecMatrix(pair.reference, place);
    place = map.at(place);
    model.frame.toWorld.multVecMatrix(place, place);
    distances.push_back(length(difference(place, pair.model)));
  }
  DisplacementError error;
  if (distances.empty()) return error;
  std::sort(distances.begin(), distances.end());
  for (const double distance : distances) error.mean += distance;
  error.mean /= static_cast<double>(distances.size());
  error.percentile95 = distances[(distances.size() - 1) * 95 / 100];
  error.maximum = distances.back();
  return error;
}

}  // namespace host
