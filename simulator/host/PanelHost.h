#pragma once

#include "simulator/host/HomePage.h"
#include "simulator/host/NoticeReader.h"
#include "simulator/host/ShadeKeeper.h"
#include "simulator/host/StateWatch.h"

#include <QDialog>
#include <QObject>
#include <QPluginLoader>

#include <memory>

class SettingsInterface;

/// The runtime of the simulated panel: finds the settings plugin, shows its dialog full screen,
/// and reacts to it as a runtime does.
class PanelHost : public QObject
{
    Q_OBJECT

public:
    /// @param pluginFolder where the plugin is looked for, by its interface identifier
    explicit PanelHost(QString pluginFolder);
    ~PanelHost() override;

    /// What a runtime sets for all its windows: style, font, and that it does not end with them.
    static void setLook();

    /// Shows the home page. False, with a message on it, when there is no plugin to be loaded.
    bool start();

    /// The file of the plugin in @p folder, found without loading any; empty when there is none.
    static QString findPlugin(const QString& folder);

    /// Makes a dialog and shows it full screen; an earlier one is deleted.
    void openSettings();
    QDialog* settings() const { return m_settings.get(); }

private:
    void closeSettings();
    void onRegisterNotice(const QList<quint32>& words);
    void onAreaNotice(const QList<quint32>& words);
    void wakeUp();
    void describeOnRequest();

    QPluginLoader m_loader;
    SettingsInterface* m_plugin = nullptr;
    std::unique_ptr<QDialog> m_settings;
    HomePage m_home;
    ShadeKeeper m_shades;
    StateWatch m_state;
    NoticeReader m_registerNotices;
    NoticeReader m_areaNotices;
    QTimer m_requests;
    QString m_pluginFolder;
};
