#include "plugin/SettingsPlugin.h"

#include "dialogs/DialogRelease.h"
#include "settings/Settings.h"

#include <QApplication>

namespace {

/// The windows that live as long as the library go with it: their code would be gone when the
/// application, which ends later, takes its windows down. Without an application there are none.
void releaseWithLibrary()
{
    if (qobject_cast<QApplication*>(QCoreApplication::instance())) {
        releaseDialogs();
    }
}

} // namespace

Q_DESTRUCTOR_FUNCTION(releaseWithLibrary)

SettingsPlugin::SettingsPlugin(QObject* parent) : QObject(parent) {}

QDialog* SettingsPlugin::createInstance()
{
    auto* settings = new Settings(nullptr);
    settings->init();
    return settings;
}
