#pragma once

#include <array>

/// Keeps the numbers 0, 1 and 2 from meaning something else.
///
/// While it lives, those of the three that the host has closed lead to /dev/null. Without that a
/// pipe or file opened meanwhile would get such a number, and what anybody prints would go into it;
/// a command run meanwhile would open its own files there, to the same effect. Those that are open
/// are not touched.
class StandardDescriptors
{
public:
    StandardDescriptors();
    ~StandardDescriptors();
    StandardDescriptors(const StandardDescriptors&) = delete;
    StandardDescriptors& operator=(const StandardDescriptors&) = delete;

private:
    std::array<bool, 3> m_lent = {}; ///< Whether this number was closed, and leads to /dev/null.
};
