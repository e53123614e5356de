#include "panelctl/Wording.h"

namespace Wording {

std::string counted(std::size_t count, const std::string& noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string anyOf(const std::vector<std::string>& words)
{
    std::string text;
    for (std::size_t at = 0; at < words.size(); ++at) {
        const bool isLast = at + 1 == words.size();
        text += (at == 0 ? "" : isLast ? " or " : ", ") + words[at];
    }
    return text;
}

} // namespace Wording
