#include "common/KeyBeep.h"

#include "device/EEInfoHandle.h"

#include <QSettings>
#include <QString>

namespace {

QString buzzerText(const QSettings* settings)
{
    return settings ? settings->value(QLatin1String(KeyBeep::settingsKey)).toString() : QString();
}

} // namespace

namespace KeyBeep {

bool isOn(const QSettings* settings)
{
    return buzzerText(settings) == QLatin1String("on");
}

bool isOff(const QSettings* settings)
{
    return buzzerText(settings) == QLatin1String("off");
}

void store(QSettings* settings, bool on)
{
    if (settings) {
        settings->setValue(QLatin1String(settingsKey),
                           on ? QLatin1String("on") : QLatin1String("off"));
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
