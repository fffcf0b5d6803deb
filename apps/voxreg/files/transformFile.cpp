#include "files/transformFile.h"

#include <fstream>

#include "files/NiftiWriter.h"
#include "files/brickDocument.h"
#include "files/fieldFile.h"
#include "files/inputFile.h"
#include "files/latticeDocument.h"
#include "terminal/HostError.h"

namespace host {

namespace {

using nlohmann::json;

voxreg::Transform transformOf(const json& document) {
  if (document.contains("controls")) return voxreg::Transform::fromLattice(latticeOf(document));
  return voxreg::Transform::fromBricks(bricksOf(document));
}

json contentOf(const voxreg::Transform& transform) {
  if (const voxreg::BrickGrid* const bricks = transform.bricks()) return documentOf(*bricks);
  if (const voxreg::LatticeMap* const lattice = transform.lattice()) return documentOf(*lattice);
  throw HostError("only a grid of bricks or a lattice can be written as a JSON transform file",
                  HostError::failedRun);
}

void writeDocument(OutputFiles& outputs, const std::string& path, const json& document) {
  std::ofstream file(outputs.add(path));
  file << document.dump() << '\n';
  file.close();
  if (!file) OutputFiles::fail(path);
}

}  // namespace

voxreg::Transform readTransform(const std::string& path) {
  if (isNiftiName(path)) return voxreg::Transform::fromField(readField(path));
  const std::string text = inputText(path);
  try {
    return transformOf(json::parse(text));
  } catch (const json::exception&) {
    throw HostError(path + " is not a transform file");
  } catch (const HostError& error) {
    throw HostError(path + " is not a transform file: " + error.what());
  }
}

void writeTransform(OutputFiles& outputs, const std::string& path,
                    const voxreg::Transform& transform) {
  if (!isNiftiName(path)) return writeDocument(outputs, path, contentOf(transform));
  const voxreg::DisplacementMap* const field = transform.field();
  if (field == nullptr)
    throw HostError("only a field can be written as a NIfTI transform file", HostError::failedRun);
  writeField(outputs, path, *field);
}

}  // namespace host
