#pragma once

#include <QString>

/// Fixed texts of the tests, as "..."_s. A test program is never unloaded, so its
/// texts may lie in it; the product has "..."_l1.
inline QString operator""_s(const char* text, std::size_t size)
{
    return QString::fromUtf8(text, static_cast<int>(size));
}
