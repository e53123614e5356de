#pragma once

#include "device/Latin1.h"

/// How a switch of the pages looks.
constexpr QLatin1String switchStyle(bool on)
{
    return on ? "border-image:url(:/Resources/switch_on.png);"_l1
              : "border-image:url(:/Resources/switch_off.png);"_l1;
}
