#pragma once

/// The scale of the backlight: 32 levels, as operators see them, over the raw values that the
/// platform's tools and the device record have. Raw 0 is dark and no level.
namespace Brightness {

inline constexpr int lowestLevel = 1;
inline constexpr int highestLevel = 32;
inline constexpr int lowestRaw = 76;
inline constexpr int rawPerLevel = 4;

/// Raw value of a level; also of one beyond the scale, which goes on in the same steps.
constexpr int rawOf(int level)
{
    return lowestRaw + (level - lowestLevel) * rawPerLevel;
}

inline constexpr int highestRaw = rawOf(highestLevel);
static_assert(highestRaw == 200);

/// Level that a raw value belongs to: 76 to 79 give 1, 200 to 203 give 32. It is 0 below 76 and
/// goes on above the scale (255 gives 45), as the device may have been given any value.
constexpr int levelOf(int raw)
{
    return raw < lowestRaw ? 0 : (raw - lowestRaw) / rawPerLevel + lowestLevel;
}

/// Whether a raw value is exactly that of a level of the scale.
constexpr bool isLevel(int raw)
{
    return raw >= lowestRaw && raw <= highestRaw && rawOf(levelOf(raw)) == raw;
}

} // namespace Brightness
