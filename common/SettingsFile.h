#pragma once

#include <QSettings>

/// The settings file of the panel, /hmi/Config/system_settings.ini.
///
/// It is opened only while closed standard descriptors lead to /dev/null, whenever that is: when it
/// is made, when a change is written from the event loop, and when it goes. Who calls sync() itself
/// holds a StandardDescriptors meanwhile, as that is no virtual function.
class SettingsFile : public QSettings
{
    Q_OBJECT

public:
    SettingsFile();
    ~SettingsFile() override;
    Q_DISABLE_COPY_MOVE(SettingsFile)

protected:
    bool event(QEvent* event) override;
};
