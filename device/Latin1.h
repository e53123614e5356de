#pragma once

#include <QLatin1String>

/// Fixed texts of the product, as "..."_l1 instead of QStringLiteral: Qt copies them, where a
/// literal would leave pointers into this library with a host that has unloaded it.
constexpr QLatin1String operator""_l1(const char* text, std::size_t size)
{
    return QLatin1String(text, static_cast<int>(size));
}
