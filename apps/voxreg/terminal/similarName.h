#pragma once

#include <string>
#include <vector>

namespace host {

/// The name with the fewest insertions, deletions, replacements and swaps of adjacent letters from
/// `name`; empty if all need more than half its length.
std::string similarName(const std::string& name, const std::vector<std::string>& names);

}  // namespace host
