#pragma once

#include "device/Latin1.h"

/// How a key that is pressed with a finger looks: those of the keypad, those of a message.
inline constexpr QLatin1String keyStyle =
    "QPushButton {border-image:url(:/Resources/button_up.png);color:white;}"
    "QPushButton:pressed {border-image:url(:/Resources/button_down.png);color:white;}"_l1;
