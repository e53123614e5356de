#pragma once

#include "dialogs/InputDialog.h"
#include "network/AdapterPane.h"
#include "network/NetworkSettings.h"
#include "tests/support/Hands.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QFontDatabase>
#include <QGroupBox>
#include <QLabel>
#include <QPointer>
#include <QTabBar>
#include <QTest>
#include <QTimer>

#include <memory>

inline const QString settingsPath = "/hmi/Config/system_settings.ini"_s;

/// The page as the window sets it up, alone on the screen, with what a press needs at hand.
class NetworkPage
{
public:
    /// What the page told the window, with what had been run until then.
    struct Told
    {
        int type;
        QStringList commands;
        QByteArray record;
        QByteArray registers; ///< The area that the addresses' registers lie in.
    };

    explicit NetworkPage(int adapters = 2) : settings(settingsPath, QSettings::IniFormat)
    {
        hardware.hw_options = adapters == 2 ? 1 : 0;
        record.eth0_ip = 0x0500A8C0;
        record.eth0_mask = 0x00FFFFFF;
        record.eth0_gateway = 0x0101A8C0;
        record.eth1_ip = 0x0600000A;
        record.eth1_mask = 0x000000FF;
        record.eth1_gateway = 0x0100000A;
        const unsigned char mac[2][6] = {{0x02, 0x0A, 0xFF, 0x00, 0x10, 0xBC},
                                         {0x02, 0x01, 0x02, 0x03, 0x04, 0x05}};
        std::copy(std::begin(mac[0]), std::end(mac[0]), record.eth0_mac);
        std::copy(std::begin(mac[1]), std::end(mac[1]), record.eth1_mac);
    }

    void init()
    {
        const int fontId = QFontDatabase::addApplicationFont("/hmi/default.ttf"_s);
        QObject::connect(
            &page(), &NetworkSettings::updateEEData, &page(),
            [this](EEInfoDetail::Flash_WR_1& changed, auto type) {
                told << Told{int(type), PanelWorld::commands(),
                             QByteArray(reinterpret_cast<const char*>(&changed), sizeof changed),
                             PanelWorld::fileContent("/tmp/smw.dat"_s)};
            });
        page().init(fontId, record, hardware, &settings);
        page().resize(924, 382);
        page().show();
        QCoreApplication::processEvents();
    }

    /// init(), and what it ran is forgotten.
    NetworkPage& started()
    {
        init();
        PanelWorld::clearCommands();
        told.clear();
        return *this;
    }

    NetworkSettings& page() { return *m_page; }
    void deletePage() { m_page.reset(); }
    QTabWidget& tabs() { return *page().findChild<QTabWidget*>(); }
    /// By the order in which they were made; the second exists without a tab as well.
    AdapterPane& pane(int adapter)
    {
        const auto panes = page().findChildren<AdapterPane*>();
        for (AdapterPane* candidate : panes) {
            if (page().isConfigIp(NetworkSettings::networkIndexType(adapter),
                                  candidate->row(AdapterPane::Ip).fields()[0])) {
                return *candidate;
            }
        }
        qFatal("no such pane");
    }
    /// Each part by the kind and order in which it stands in its pane.
    QLineEdit& macField(int adapter) { return *pane(adapter).findChildren<QLineEdit*>().last(); }
    QLabel& networkLabel(int adapter) { return infoLabel(adapter, 0); }
    QLabel& gatewayLabel(int adapter) { return infoLabel(adapter, 1); }
    QLineEdit* field(int adapter, AdapterPane::Value value, int octet)
    {
        return pane(adapter).row(value).fields()[std::size_t(octet)];
    }
    QString text(int adapter, AdapterPane::Value value) { return pane(adapter).row(value).text(); }

    /// Enters a value in a field; an empty text closes its keypad. False when none opened.
    static bool enter(QLineEdit* edit, const QString& keys)
    {
        const bool opened = !Hands::enter(*edit, keys).isEmpty();
        QCoreApplication::processEvents();
        return opened;
    }

    QSettings settings;
    EEInfoDetail::Flash_WR_1 record{};
    EEInfoDetail::Flash_ROnly hardware{};
    QList<Told> told;

private:
    QLabel& infoLabel(int adapter, int place)
    {
        return *pane(adapter).findChild<QGroupBox*>()->findChildren<QLabel*>().at(place);
    }

    std::unique_ptr<NetworkSettings> m_page = std::make_unique<NetworkSettings>(nullptr);
};
