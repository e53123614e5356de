#pragma once

#include "plugin/SettingsInterface.h"

#include <QObject>

/// The root object of the plugin library.
class SettingsPlugin : public QObject, public SettingsInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "cn.zarvo.SettingsInterface")
    Q_INTERFACES(SettingsInterface)

public:
    explicit SettingsPlugin(QObject* parent = nullptr);

    QDialog* createInstance() override;
};
