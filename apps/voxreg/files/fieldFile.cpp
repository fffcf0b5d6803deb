#include "files/fieldFile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "files/NiftiWriter.h"
#include "files/ZipReader.h"
#include "files/niftiHeader.h"
#include "terminal/HostError.h"

namespace host {

namespace {

using voxreg::DisplacementField;
using voxreg::DisplacementMap;

/// The frame has its origin at the first node and its axes along those of the grid.
DisplacementMap mapOn(const voxreg::WorldGrid& grid, const std::string& path) {
  constexpr double mostNodes = 2147483648.0;
  DisplacementMap map;
  double count = 1.0;
  for (int a = 0; a < 3; ++a) {
    const NmVec3d& axis = grid.axis[a];
    count *= static_cast<double>(grid.dims[a]);
    if (count > mostNodes) throw HostError(path + " has more than 2147483648 nodes");
    map.field.dims[a] = static_cast<int>(std::min<std::int64_t>(grid.dims[a], INT32_MAX));
    map.field.spacing[a] = std::hypot(axis.x, axis.y, axis.z);
    for (int w = 0; w < 3; ++w) map.toWorld.m[a][w] = axis[w] / map.field.spacing[a];
    map.toWorld.m[3][a] = grid.origin[a];
  }
  map.field.values.resize(3 * static_cast<std::size_t>(count));
  return map;
}

void readValues(ZipReader& file, const NiftiHeader& header, std::vector<float>& values) {
  file.skip(header.offset);
  file.read(values.data(), values.size() * sizeof(float));
  if (header.isSwapped) nifti_swap_4bytes(static_cast<std::int64_t>(values.size()), values.data());
  file.finish();
  const ValueScale scale = scaleOf(*header.image);
  if (!scale.isIdentity())
    for (float& value : values)
      value = static_cast<float>(static_cast<double>(value) * scale.slope + scale.intercept);
  if (!std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); }))
    throw HostError(file.path() + " holds displacements that are not finite");
}

/// In the world, along an axis of the map's frame; of unit length where there is one node.
NmVec3d stepAlong(const DisplacementMap& map, int axis) {
  const DisplacementField& field = map.field;
  const double length = field.dims[axis] > 1 ? field.spacing[axis] : 1.0;
  const auto& direction = map.toWorld.m[axis];
  return {length * direction[0], length * direction[1], length * direction[2]};
}

std::shared_ptr<nifti_image> headerOf(const DisplacementMap& map) {
  const NmVec3i& dims = map.field.dims;
  const std::int64_t fileDims[8] = {5, dims.x, dims.y, dims.z, 1, 3, 1, 1};
  std::shared_ptr<nifti_image> image =
      owned(nifti_make_new_nim(fileDims, DT_FLOAT32, /*data_fill=*/0));
  nifti_image& header = *image;
  header.nifti_type = NIFTI_FTYPE_NIFTI1_1;
  header.intent_code = NIFTI_INTENT_DISPVECT;
  header.xyz_units = NIFTI_UNITS_MM;
  header.sform_code = NIFTI_XFORM_SCANNER_ANAT;
  double* const sizes[] = {&header.dx, &header.dy, &header.dz};
  NmVec3d origin;
  map.toWorld.multVecMatrix(map.field.origin, origin);
  for (int a = 0; a < 3; ++a) {
    const NmVec3d step = stepAlong(map, a);
    *sizes[a] = header.pixdim[a + 1] = std::hypot(step.x, step.y, step.z);
    for (int w = 0; w < 3; ++w) header.sto_xyz.m[w][a] = step[w];
    header.sto_xyz.m[a][3] = origin[a];
  }
  header.sto_xyz.m[3][3] = 1.0;
  return image;
}

/// Component `c` of the displacement by a map's matrix at a node, in the world.
double byMatrix(const NmMat4d& referenceToModel, const NmVec3d& node, int c) {
  NmVec3d moved;
  referenceToModel.multVecMatrix(node, moved);
  return moved[c] - node[c];
}

void writeComponent(NiftiWriter& file, const DisplacementMap& map, int component) {
  const DisplacementField& field = map.field;
  const NmVec3i& n = field.dims;
  const NmVec3d step = stepAlong(map, 0);
  std::vector<float> row(static_cast<std::size_t>(n.x));
  const float* next = field.values.data() + std::int64_t{component} * n.x * n.y * n.z;
  for (int z = 0; z < n.z; ++z)
    for (int y = 0; y < n.y; ++y) {
      NmVec3d start;
      map.toWorld.multVecMatrix(NmVec3d(field.origin.x, field.origin.y + y * field.spacing.y,
                                        field.origin.z + z * field.spacing.z),
                                start);
      for (int x = 0; x < n.x; ++x) {
        const NmVec3d node(start.x + x * step.x, start.y + x * step.y, start.z + x * step.z);
        row[static_cast<std::size_t>(x)] = static_cast<float>(
            static_cast<double>(*next++) + byMatrix(map.referenceToModel, node, component));
      }
      file.write(row.data(), row.size() * sizeof(float));
    }
}

}  // namespace

DisplacementMap readField(const std::string& path) {
  ZipReader file(path);
  const NiftiHeader header = readNiftiHeader(file, NiftiContent::field);
  if (header.isPair) throw HostError(path + " does not hold its displacements itself");
  requirePlausibleSize(file, header);
  try {
    DisplacementMap map = mapOn(gridOf(*header.image), path);
    readValues(file, header, map.field.values);
    if (!map.isValid()) throw HostError("the header of " + path + " has no usable geometry");
    return map;
  } catch (const std::bad_alloc&) {
    throw HostError(path + " does not fit into memory", HostError::failedRun);
  }
}

void writeField(OutputFiles& outputs, const std::string& path, const DisplacementMap& map) {
  if (!map.isValid()) throw HostError("the field has no place everywhere", HostError::failedRun);
  NiftiWriter file(outputs, path, *headerOf(map));
  for (int c = 0; c < 3; ++c) writeComponent(file, map, c);
  file.finish();
}

}  // namespace host
