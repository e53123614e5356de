#pragma once

#include <QLatin1String>

/// Style sheets that the modal dialogs share.
namespace DialogStyle {

inline constexpr QLatin1String
    titleBar("QFrame#titleBarFrame{border-image:url(:/Resources/titleBar.png)}");
inline constexpr QLatin1String
    closeButton("QPushButton{border-image: url(:/Resources/close.png); "
                "background-color: rgba(255, 255, 255, 0);color:white;}");

} // namespace DialogStyle
