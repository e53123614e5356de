#pragma once

#include <QtPlugin>

class QDialog;

/// What a host asks of the settings plugin. Load the library with QPluginLoader, cast its root
/// object with qobject_cast<SettingsInterface*>, and call createInstance().
///
/// This header is all that a host needs.
class SettingsInterface
{
public:
    virtual ~SettingsInterface() = default;

    /// A new settings dialog without a parent, complete and hidden. The caller owns it: shows
    /// it, and deletes it before the library is unloaded. Closing the dialog only hides it.
    /// Needs a QApplication; call on its thread. Throws what running out of memory throws.
    virtual QDialog* createInstance() = 0;
};

Q_DECLARE_INTERFACE(SettingsInterface, "cn.zarvo.SettingsInterface")
