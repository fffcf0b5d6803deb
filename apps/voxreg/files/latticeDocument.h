#pragma once

#include <voxreg.h>

#include <nlohmann/json.hpp>

namespace host {

/// A lattice map as a JSON document. `latticeOf` throws HostError or nlohmann's exception for
/// anything else.
voxreg::LatticeMap latticeOf(const nlohmann::json& document);
nlohmann::json documentOf(const voxreg::LatticeMap& map);

}  // namespace host
