#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

/// The options of all commands. One means the same wherever it is taken.
enum class Option { Json, Notify, Image, Root, Stored, Identity, DryRun, Only, Now, Confirm };

/// How an option is typed and explained.
struct OptionRow
{
    Option option;
    const char* name;
    const char* value; ///< What it takes, for the help; null for a flag.
    const char* help;
};

/// In the order of the enumeration.
inline constexpr std::array optionRows{
    OptionRow{Option::Json, "--json", nullptr, "print JSON"},
    OptionRow{Option::Notify, "--notify", nullptr, "tell the runtime; fails when nobody hears it"},
    OptionRow{Option::Image, "--image", "FILE",
              "use an image in a file instead of the device; - is standard input"},
    OptionRow{Option::Root, "--root", "DIR", "put DIR before every path"},
    OptionRow{Option::Stored, "--stored", nullptr, "only what outlives a power cut"},
    OptionRow{Option::Identity, "--identity", nullptr, "also what belongs to this device alone"},
    OptionRow{Option::DryRun, "--dry-run", nullptr, "say what would change, and change nothing"},
    OptionRow{Option::Only, "--only", "PARTS", "only these of display,sound,network,identity"},
    OptionRow{Option::Now, "--now", nullptr,
              "let the running adapters and the backlight follow at once"},
    OptionRow{Option::Confirm, "--confirm", "SECONDS",
              "take it back unless panelctl confirm comes in time"},
};

constexpr bool optionRowsAreInOrder()
{
    for (std::size_t at = 0; at < optionRows.size(); ++at) {
        if (static_cast<std::size_t>(optionRows.at(at).option) != at) {
            return false;
        }
    }
    return true;
}
static_assert(optionRowsAreInOrder());

constexpr const OptionRow& rowOf(Option option)
{
    return optionRows.at(static_cast<std::size_t>(option));
}

/// The options that a command takes.
class OptionSet
{
public:
    constexpr OptionSet(std::initializer_list<Option> options)
    {
        for (const Option option : options) {
            m_bits |= bitOf(option);
        }
    }
    constexpr bool has(Option option) const { return (m_bits & bitOf(option)) != 0; }

private:
    static constexpr unsigned bitOf(Option option) { return 1U << static_cast<unsigned>(option); }

    unsigned m_bits = 0;
};
