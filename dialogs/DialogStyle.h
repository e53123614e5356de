#pragma once

#include "device/Latin1.h"

/// Style sheets that the modal dialogs share; the close button is the window's, too.
namespace DialogStyle {

inline constexpr QLatin1String titleBar =
    "QFrame#titleBarFrame{border-image:url(:/Resources/titleBar.png)}"_l1;
inline constexpr QLatin1String closeButton =
    "QPushButton{border-image: url(:/Resources/close.png); "
    "background-color: rgba(255, 255, 255, 0);color:white;}"_l1;

} // namespace DialogStyle
