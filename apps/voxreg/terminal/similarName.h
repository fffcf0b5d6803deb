#pragma once

#include <string>
#include <vector>

namespace host {

/// The name that takes the fewest insertions, deletions, replacements and swaps of neighbouring
/// letters to make of `name`; empty where every one would take more than half of it.
std::string similarName(const std::string& name, const std::vector<std::string>& names);

}  // namespace host
