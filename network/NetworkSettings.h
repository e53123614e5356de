#pragma once

#include "adapters/AdapterTable.h"
#include "device/EEInfoDetail.h"
#include "network/PaneTabs.h"
#include "settings/Settings.h"

#include <QPointer>
#include <QSettings>
#include <QStringList>
#include <QTableView>
#include <QTimer>
#include <QTranslator>

#include <array>

class AdapterPane;
class QFile;
class QLineEdit;

/// The Network page of the settings window: addresses, DHCP, DNS servers, default gateway and the
/// switch of up to two Ethernet adapters, and a connectivity test.
///
/// Every finished entry is applied at once: to the running system by shell commands, to the
/// device's record through updateEEData, and to the system registers. The page has no way to take
/// an entry back. The adapter of an entry is that of the tab shown. Commands block until they end;
/// DHCP clients and the connectivity test run in the background. GUI thread only; no errors are
/// reported.
class NetworkSettings : public QTableView
{
    Q_OBJECT

public:
    enum networkIndexType : quint32 { Eth0 = 0, Eth1 = 1 };
    enum dnsType : quint32 { FirstDns = 0, BackupDns = 1 };

    /// Builds the widgets of both adapters. Applies nothing.
    explicit NetworkSettings(QWidget* parent = nullptr);

    /// Builds the tabs, brings every adapter shown to its stored state, fills the page and connects
    /// it. Called once by the window.
    /// @param fontId   application font of every text
    /// @param record   copied; later changes to it are not seen
    /// @param hardware copied; says whether there is a second adapter
    /// @param settings the panel's settings file, owned by the window: "Network0/enable" and
    ///                 "Network1/enable" (bool, absent means on) are kept in it
    void init(int fontId, EEInfoDetail::Flash_WR_1& record, EEInfoDetail::Flash_ROnly& hardware,
              QSettings* settings);

    /// Connects the signals of the controls with the slots below. Called once, by init().
    void connectSlots();

    /// Whether there is a second adapter: 0 or 1.
    int supportEth2() const;

    /// Sets every text again in the current language, and every combo box to its register. A combo
    /// box that changes thereby acts as if the operator had chosen.
    void refresh();

    /// Lays out what is on the tabs, which a hidden page may put off until nobody waits; see
    /// AdapterPane::place(). The one without a tab, too, which has to have its style at its end.
    void placePanes();

    /// A press on an enabled field opens the keypad, one on a button sounds the key click. Events
    /// are passed on.
    bool eventFilter(QObject* watched, QEvent* event) override;

    /// Sounds the key click, runs the keypad (0 to 255) for a field and applies what was entered.
    /// Blocks until it is closed.
    void doModal(QLineEdit* edit);

    // Whether a field is one of the four of that value of that adapter.

    bool isConfigIp(networkIndexType adapter, QLineEdit* edit) const;
    bool isConfigMask(networkIndexType adapter, QLineEdit* edit) const;
    bool isConfigGateway(networkIndexType adapter, QLineEdit* edit) const;
    bool isConfigFirstDns(networkIndexType adapter, QLineEdit* edit) const;
    bool isConfigBackupDns(networkIndexType adapter, QLineEdit* edit) const;

    // Addresses. Adapters other than 0 and 1 are ignored; they have empty lists.

    /// Applies the value that @p edit is a field of. A field of another adapter is not applied: it
    /// only rebuilds the default routes.
    void updateSystemAndSaveToEE(networkIndexType adapter, QLineEdit* edit);

    /// Set the running adapter's address or mask, dotted text.
    void setIP(networkIndexType adapter, QString address);
    void setMask(networkIndexType adapter, QString mask);

    /// Store a value, first octet in the least significant byte: record, updateEEData, register.
    void setIPToEE(networkIndexType adapter, unsigned int value);
    void setMaskToEE(networkIndexType adapter, unsigned int value);
    void setGatewayToEE(networkIndexType adapter, unsigned int value);

    /// The stored values as four decimal texts, and the MAC address as six texts of two lower-case
    /// hexadecimal digits.
    QStringList getIPFromEE(networkIndexType adapter);
    QStringList getMaskFromEE(networkIndexType adapter);
    QStringList getGatewayFromEE(networkIndexType adapter);
    QStringList getMacFromEE(networkIndexType adapter);

    /// Show the stored values in the fields.
    void updateIPData(networkIndexType adapter);
    void updateMaskData(networkIndexType adapter);
    void updateGatewayData(networkIndexType adapter);

    /// First IPv4 address and its mask as the running system has them on an interface that is up
    /// and has a link; otherwise empty.
    QStringList getipAddress(QString interfaceName) const;

    /// Whether two addresses are the same, octet by octet.
    bool isConflictIp(QString a1, QString a2, QString a3, QString a4, QString b1, QString b2,
                      QString b3, QString b4) const;
    /// Tells the operator when both adapters would have the same address with @p value in an
    /// address field. Nothing here calls it: equal addresses are accepted.
    void checkConflictIp(QLineEdit* edit, int value);

    // DHCP.

    /// Ends the adapter's client and starts a new one in the background.
    void udhcpc(networkIndexType adapter);
    /// Ends the adapter's client, if its pid file names one.
    void killudhcpc(networkIndexType adapter);
    /// Switches an adapter to dynamic or static mode. The adapter is that of the combo box whose
    /// signal is being handled; outside of one it is @p adapter.
    void updateDHCPConfig(networkIndexType adapter, bool dynamic);

    // DNS servers, in the resolver file only.

    /// Address of a server in an open file: "0.0.0.0" when there is none, empty when its line has
    /// no second word.
    void getDns(QFile& file, networkIndexType adapter, dnsType type, QString& out);
    /// Rewrites a file with the server set. One that cannot be opened is left alone.
    void replaceDns(QFile& file, networkIndexType adapter, dnsType type, QString address);
    /// Octets of a server, "0" four times when there is none; empty when the resolver file cannot
    /// be opened. A missing resolver file is made from its backup, a missing backup empty.
    QStringList getDNSFromSys(networkIndexType adapter, dnsType type);
    /// Rewrites the resolver file with the server set; its backup stays as it is.
    void setDNSToSys(networkIndexType adapter, dnsType type, QString address);
    /// Shows a server in its fields.
    void updateDNSData(networkIndexType adapter, dnsType type);

    // Default routes, built from the gateway fields of both adapters.

    /// Rebuilds both routes.
    /// @param preference 0 none, 1 eth0, 2 eth1; -1 as the default-adapter register has it
    void setGateway(int preference);
    /// setGateway(-1)
    void updateDefaultGatewayFromReg();
    /// Shows the default gateway that was chosen last with a button in an adapter's group.
    void updateDefaultGateway(networkIndexType adapter);
    /// Shows the caption beside it.
    void updateDefaultNetwork(networkIndexType adapter);

    // Switching adapters off and on.

    /// Switches an adapter off; takes the interface down as well when @p applies is 1.
    void disableNetworkConfig(networkIndexType adapter, int applies);
    /// Switches an adapter on, in the mode stored for it.
    void enableNetworkConfig(networkIndexType adapter);
    /// Blanks and locks the fields. Runs nothing.
    void disableNetwork(networkIndexType adapter);
    /// Unlocks and fills the fields and brings the interface up with its stored address.
    void enableNetwork(networkIndexType adapter);

signals:
    /// The fields that @p wr1DataType names hold new values in the page's record.
    void updateEEData(EEInfoDetail::Flash_WR_1& wr1Data, Settings::FlashWR1DataType wr1DataType);

public slots:
    /// Loads and installs the page's translator and refreshes.
    void onChangeLanguage(Settings::Language language);

    // The adapter of a slot without an argument for it is that of the sender: eth0 when one of
    // eth0's widgets has sent the signal, eth1 otherwise, also without a sender.

    /// Turns the switch of an adapter over, off as disableNetworkConfig(adapter, 1) does.
    void onDisableNetworkSwitched();
    /// Shows the gateway of an adapter as the default one on both tabs, stores the adapter's number
    /// in the default-adapter register and rebuilds the routes. The register counts from one, so
    /// eth0's button prefers no adapter, and eth1's button eth0.
    void onSetDefaultGateway();
    /// Sounds the key click and starts the connectivity test, anew when one is running already.
    void onSetTest();
    /// A choice of the address mode: sounds the key click and switches to it, dynamic for every
    /// index but 0. Negative ones, which a box without an item has, are ignored.
    void onSetCombobox(int index);
    /// A choice of the default adapter, 0 for none: shows it on both tabs, rebuilds the routes and
    /// stores it. Only eth0's box sounds the key click. The other box follows and runs all of this
    /// once more. Negative ones are ignored.
    void onSetAdapterCombobox(int index);
    /// Sounds the key click; the tabs change by themselves.
    void onTabBarSwitched(int index);
    /// Looks whether eth0 has an address by now, ten times a second, and takes it over.
    void slotdhcp();
    /// The same for eth1.
    void slotdhcp1();
    /// Tells the result of the connectivity test in a box and blocks until it is closed. Does
    /// nothing while such a box is open.
    void ping_test();

private:
    /// What the page keeps of one adapter besides its widgets.
    struct AdapterState
    {
        bool disabled = false;
        QTimer dhcpPoll;
        QStringList ip;
        QStringList mask;
        QStringList gateway;
        QStringList mac;
        std::array<QStringList, 2> dns;
    };

    AdapterPane& pane(networkIndexType adapter) { return *m_panes.at(adapter); }
    const AdapterPane& pane(networkIndexType adapter) const { return *m_panes.at(adapter); }
    AdapterState& state(networkIndexType adapter) { return m_states.at(adapter); }
    /// Eth0 when the sender of the signal being handled is eth0's widget, otherwise Eth1.
    networkIndexType senderAdapter(const QObject& widgetOfEth0) const;

    void buildTabs();
    void restoreSwitch(networkIndexType adapter);
    void fill(networkIndexType adapter);
    void showTexts();
    QString adapterName(int adapter) const;

    /// Record, window, register: in this order.
    void store(const StoredQuad& place, quint32 value, Settings::FlashWR1DataType type);
    QStringList stored(const StoredQuad& place) const;

    void startClient(networkIndexType adapter);
    /// Stores the live address of an adapter as if it had been entered, as soon as it has one, and
    /// looks no more. It is taken as it is: also an earlier one that a client which starts slowly
    /// has not removed before the first look.
    void takeLease(networkIndexType adapter);

    void showPingResult(bool success);

    std::array<AdapterPane*, 2> m_panes{};
    std::array<AdapterState, 2> m_states;
    PaneTabs m_tabs;
    QStringList m_defaultGateway; ///< Octets of the gateway chosen last with a button.
    QTimer m_pingTimer;
    int m_pingRuns = 0; ///< Tests started; tells a result whether it is still the newest.
    bool m_pingBoxOpen = false;
    QTranslator m_translator;
    QPointer<QSettings> m_settings;
    EEInfoDetail::Flash_WR_1 m_record;
    EEInfoDetail::Flash_ROnly m_hardware;
    int m_fontId = -1;
    int m_adapterCount = 1;
};
