#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace host {

/// The options of a command and of its groups under their long names without dashes, with the given
/// value or the default.
nlohmann::json optionValues(const CLI::App& command);

}  // namespace host
