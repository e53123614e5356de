#pragma once

#include <QtGlobal>

#include <array>
#include <cstdint>

/// The languages of the panel, one row each: everything that differs between them but the texts.
namespace Languages {

/// Values of the language register that the code names.
enum Value : std::uint32_t { Chinese = 0, English = 1 };

struct Language
{
    std::uint32_t value; ///< In the language register.
    const char* name; ///< Object name of its button in the title bar, and the source of its text.
    const char* file; ///< Its compiled translation in the bundle.
    const char* pictures; ///< Of its button: ":/Resources/NAME_selected.png", "..._unselected.png".
    const char* word;     ///< For people, at a command line.
};

/// In the order of their buttons, from the left.
inline constexpr std::array all{
    Language{Chinese, QT_TRANSLATE_NOOP("Settings", "Chinese"), ":/Languages/Translate_CN.qm",
             "left", "chinese"},
    Language{English, QT_TRANSLATE_NOOP("Settings", "English"), ":/Languages/Translate_EN.qm",
             "right", "english"},
};

/// The row of a value; nullptr for a value that stands for no language.
constexpr const Language* find(std::uint64_t value)
{
    for (const Language& language : all) {
        if (language.value == value) {
            return &language;
        }
    }
    return nullptr;
}

/// The row of values that stand for no language.
inline constexpr const Language& fallback = *find(English);

/// The row that is shown for a value.
constexpr const Language& shown(std::uint64_t value)
{
    const Language* listed = find(value);
    return listed ? *listed : fallback;
}

} // namespace Languages
