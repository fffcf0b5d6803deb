#pragma once

#include <voxreg.h>

#include <nlohmann/json.hpp>

namespace host {

/// A grid of bricks as a JSON document. `bricksOf` throws HostError or nlohmann's exception for
/// anything else.
voxreg::BrickGrid bricksOf(const nlohmann::json& document);
nlohmann::json documentOf(const voxreg::BrickGrid& bricks);

}  // namespace host
