#include "common/KeyBeep.h"

#include "device/EEInfoHandle.h"
#include "device/Latin1.h"
#include "device/SettingsKeys.h"

#include <QSettings>
#include <QString>

namespace {

QString buzzerText(const QSettings* settings)
{
    return settings ? settings->value(QLatin1String(SettingsKeys::buzzer)).toString() : QString();
}

} // namespace

namespace KeyBeep {

bool isOn(const QSettings* settings)
{
    return buzzerText(settings) == "on"_l1;
}

bool isOff(const QSettings* settings)
{
    return buzzerText(settings) == "off"_l1;
}

void store(QSettings* settings, bool on)
{
    if (settings) {
        settings->setValue(QLatin1String(SettingsKeys::buzzer), on ? "on"_l1 : "off"_l1);
    }
}

void sound()
{
    // The panel's key click is the tool's long beep; its short one is inaudible on a factory floor.
    EEInfoHandle::instance()->setBeep(true);
}

void soundIfOn(const QSettings* settings)
{
    if (isOn(settings)) {
        sound();
    }
}

} // namespace KeyBeep
