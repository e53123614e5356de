#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// How messages count things and list words.
namespace Wording {

/// "1 error", "3 errors", "0 bytes". For nouns whose plural ends in s.
std::string counted(std::size_t count, const std::string& noun);

/// The words as a choice: "off or on", "auto, eth0 or eth1".
std::string anyOf(const std::vector<std::string>& words);

} // namespace Wording
