#pragma once

#include <voxreg.h>

#include <nlohmann/json.hpp>
#include <vector>

namespace host {

/// Each reads a member of a document and throws HostError or nlohmann's exception if it is not what
/// it should be: `count` finite numbers;
std::vector<double> numbersOf(const nlohmann::json& document, const char* name, std::size_t count);

/// a whole number from 1 to `most` for each axis, called `name` in texts as well;
NmVec3i countsOf(const nlohmann::json& document, const char* name, int most);

/// an affine matrix that has an inverse, 16 numbers by rows.
NmMat4d matrixOf(const nlohmann::json& document, const char* name);

nlohmann::json numbersOf(const NmMat4d& matrix);

}  // namespace host
