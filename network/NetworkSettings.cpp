#include "network/NetworkSettings.h"

#include "adapters/AdapterMode.h"
#include "adapters/AdapterSwitch.h"
#include "adapters/AddressRecord.h"
#include "adapters/DefaultRoutes.h"
#include "adapters/DottedQuad.h"
#include "adapters/PingTest.h"
#include "adapters/RunningAdapter.h"
#include "common/KeyBeep.h"
#include "common/Message.h"
#include "common/PanelFont.h"
#include "common/Translation.h"
#include "device/DeviceScreen.h"
#include "device/Latin1.h"
#include "device/ResolverFile.h"
#include "dialogs/AskNumber.h"
#include "network/AdapterPane.h"
#include "network/LiveAddress.h"

#include <QEvent>
#include <QFile>
#include <QTabBar>
#include <QVBoxLayout>

namespace {

constexpr int pointSize = 13;
constexpr int dhcpPollMs = 100;
constexpr int highestOctet = 255;

/// "%1" is the height of a tab in pixels.
constexpr QLatin1String tabStyle =
    "QTabBar::tab{width:173px;height:%1px;background:rgb(210, 210, 210);"
    "border-top-left-radius:8px;border-top-right-radius:8px;}"
    "QTabBar::tab:selected{background:rgb(246, 246, 246);}"
    "QTabWidget::pane{background:rgb(246, 246, 246);border:0px;}"_l1;

// clang-format off
constexpr NetworkSizes screens[] = {
    // screen, button height, default button, combo box, tab, field, row gap
    {    800,             40,            300,        25,  25,    26,       0},
    {   1024,             50,            400,        42,  45,    38,       2},
    {   1280,             50,            400,        42,  45,    38,       2},
    {   1920,             70,            500,        60,  45,    56,       2},
    {      0,             50,            300,        30,  45,    30,       2}, // any other
};
// clang-format on

} // namespace

NetworkSettings::NetworkSettings(QWidget* parent)
    : QTableView(parent), m_defaultGateway(DottedQuad::zero()), m_record{}, m_hardware{}
{
    for (AdapterPane*& pane : m_panes) {
        pane = new AdapterPane(this);
        pane->hide();
        QList<QWidget*> watched = {&pane->disableSwitch(), &pane->defaultButton(),
                                   &pane->testButton()};
        for (QLineEdit* field : pane->fields()) {
            watched << field;
        }
        for (QWidget* widget : qAsConst(watched)) {
            widget->installEventFilter(this);
        }
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(&m_tabs);
    DefaultRoutes::load();
}

// Construction.

void NetworkSettings::init(int fontId, EEInfoDetail::Flash_WR_1& record,
                           EEInfoDetail::Flash_ROnly& hardware, QSettings* settings)
{
    m_fontId = fontId;
    m_record = record;
    m_hardware = hardware;
    m_settings = settings;
    buildTabs();
    for (int adapter = 0; adapter < m_adapterCount; ++adapter) {
        restoreSwitch(networkIndexType(adapter));
    }
    // Of both adapters: the routes are built from the fields, also of the one without a tab.
    for (const networkIndexType adapter : {Eth0, Eth1}) {
        fill(adapter);
    }
    connectSlots();
}

int NetworkSettings::supportEth2() const
{
    return EEInfoDetail::hasSecondAdapter(m_hardware) ? 1 : 0;
}

void NetworkSettings::buildTabs()
{
    const NetworkSizes& sizes = forScreen(screens, deviceScreenWidth());
    const QFont font = PanelFont::font(m_fontId, pointSize, QFont::Normal);
    m_adapterCount = supportEth2() + 1;
    m_tabs.setStyleSheet(QString(tabStyle).arg(sizes.tabHeight));
    m_tabs.tabBar()->setFont(font);
    m_tabs.tabBar()->setUsesScrollButtons(false);
    for (int adapter = 0; adapter < m_adapterCount; ++adapter) {
        m_tabs.insertTab(adapter, m_panes.at(std::size_t(adapter)), adapterName(adapter));
    }
    for (AdapterPane* pane : m_panes) {
        pane->setLook(font, sizes);
    }
    showTexts();
}

void NetworkSettings::placePanes()
{
    for (AdapterPane* pane : m_panes) {
        pane->place();
    }
}

void NetworkSettings::restoreSwitch(networkIndexType adapter)
{
    const bool off = AdapterSwitch::isOff(m_settings, int(adapter));
    state(adapter).disabled = off;
    pane(adapter).showDisabled(off);
    if (off) {
        disableNetworkConfig(adapter, 0);
    } else {
        enableNetworkConfig(adapter);
    }
}

void NetworkSettings::fill(networkIndexType adapter)
{
    updateIPData(adapter);
    updateMaskData(adapter);
    updateGatewayData(adapter);
    pane(adapter).showMac(getMacFromEE(adapter).join(QLatin1Char(':')));
}

void NetworkSettings::connectSlots()
{
    connect(&m_pingTimer, SIGNAL(timeout()), this, SLOT(ping_test()));
    connect(&state(Eth0).dhcpPoll, SIGNAL(timeout()), this, SLOT(slotdhcp()));
    connect(&state(Eth1).dhcpPoll, SIGNAL(timeout()), this, SLOT(slotdhcp1()));
    for (AdapterPane* pane : m_panes) {
        connect(&pane->disableSwitch(), SIGNAL(clicked()), this, SLOT(onDisableNetworkSwitched()));
        connect(&pane->defaultButton(), SIGNAL(clicked()), this, SLOT(onSetDefaultGateway()));
        connect(&pane->modeBox(), SIGNAL(currentIndexChanged(int)), this, SLOT(onSetCombobox(int)));
        connect(&pane->defaultBox(), SIGNAL(currentIndexChanged(int)), this,
                SLOT(onSetAdapterCombobox(int)));
        connect(&pane->testButton(), SIGNAL(clicked()), this, SLOT(onSetTest()));
    }
    connect(&m_tabs, SIGNAL(tabBarClicked(int)), this, SLOT(onTabBarSwitched(int)));
}

void NetworkSettings::refresh()
{
    showTexts();
    for (int adapter = 0; adapter < m_adapterCount; ++adapter) {
        const auto index = networkIndexType(adapter);
        pane(index).showMode(AdapterMode::isDynamic(adapter));
        // Read for each adapter: a mode box that changes acts at once, and time passes.
        const int preference = DefaultRoutes::storedPreference();
        for (AdapterPane* pane : m_panes) {
            pane->showDefault(preference);
        }
    }
}

void NetworkSettings::onChangeLanguage(Settings::Language language)
{
    Translation::load(m_translator, language);
    Translation::install(m_translator);
    refresh();
}

QString NetworkSettings::adapterName(int adapter) const
{
    return tr("wired network") + QString::number(adapter);
}

void NetworkSettings::showTexts()
{
    PaneTexts texts;
    texts.disableNetwork = tr("Disable Network");
    texts.defaultGatewayInfo = tr("Default gateway info");
    texts.setting = tr("Setting:");
    texts.staticIp = tr("Static IP");
    texts.dynamicIp = tr("Dynamic IP");
    texts.rows = QStringList{tr("IP Address:"), tr("Subnet Mask:"), tr("Gateway:"),
                             tr("First DNS Server:"), tr("Backup DNS Server:")};
    texts.setAsDefaultGateway = tr("Set as default gateway");
    texts.outerNetState = tr("OuterNet State:");
    texts.test = tr("test");
    texts.macAddress = tr("MAC Address:");
    texts.defaultAdapters << tr("Auto");
    for (int adapter = 0; adapter < m_adapterCount; ++adapter) {
        texts.defaultAdapters << adapterName(adapter);
        m_tabs.setTabText(adapter, adapterName(adapter));
    }
    for (const networkIndexType adapter : {Eth0, Eth1}) {
        pane(adapter).setTexts(texts);
        updateDefaultNetwork(adapter);
        updateDefaultGateway(adapter);
    }
}

// Entries.

bool NetworkSettings::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress) {
        const QPointer<NetworkSettings> page(this);
        auto* edit = qobject_cast<QLineEdit*>(watched);
        if (edit && edit->isEnabled()) {
            doModal(edit);
        } else if (qobject_cast<QPushButton*>(watched)) {
            KeyBeep::soundIfOn(m_settings);
        }
        if (!page) {
            return true; // the host has deleted the window while the keypad was open
        }
    }
    return QTableView::eventFilter(watched, event);
}

void NetworkSettings::doModal(QLineEdit* edit)
{
    KeyBeep::soundIfOn(m_settings);
    const QPointer<NetworkSettings> page(this);
    const auto octet = askNumber(m_fontId, {0, highestOctet}, edit->text().toInt(), m_settings);
    if (!octet || !page) {
        return;
    }
    edit->setText(QString::number(*octet));
    updateSystemAndSaveToEE(networkIndexType(m_tabs.currentIndex()), edit);
}

NetworkSettings::networkIndexType NetworkSettings::senderAdapter(const QObject& widgetOfEth0) const
{
    return sender() == &widgetOfEth0 ? Eth0 : Eth1;
}

bool NetworkSettings::isConfigIp(networkIndexType adapter, QLineEdit* edit) const
{
    return isAdapter(int(adapter)) && pane(adapter).row(AdapterPane::Ip).contains(edit);
}

bool NetworkSettings::isConfigMask(networkIndexType adapter, QLineEdit* edit) const
{
    return isAdapter(int(adapter)) && pane(adapter).row(AdapterPane::Mask).contains(edit);
}

bool NetworkSettings::isConfigGateway(networkIndexType adapter, QLineEdit* edit) const
{
    return isAdapter(int(adapter)) && pane(adapter).row(AdapterPane::Gateway).contains(edit);
}

bool NetworkSettings::isConfigFirstDns(networkIndexType adapter, QLineEdit* edit) const
{
    return isAdapter(int(adapter)) && pane(adapter).row(AdapterPane::FirstDns).contains(edit);
}

bool NetworkSettings::isConfigBackupDns(networkIndexType adapter, QLineEdit* edit) const
{
    return isAdapter(int(adapter)) && pane(adapter).row(AdapterPane::BackupDns).contains(edit);
}

void NetworkSettings::updateSystemAndSaveToEE(networkIndexType adapter, QLineEdit* edit)
{
    if (isConfigIp(adapter, edit)) {
        const OctetRow& row = pane(adapter).row(AdapterPane::Ip);
        setIP(adapter, row.text());
        setIPToEE(adapter, row.value());
    } else if (isConfigMask(adapter, edit)) {
        const OctetRow& row = pane(adapter).row(AdapterPane::Mask);
        setMask(adapter, row.text());
        setMaskToEE(adapter, row.value());
    } else if (isConfigGateway(adapter, edit)) {
        // Before it is stored, as an address is; the routes are built again after every entry.
        setGateway(DefaultRoutes::preferenceOfRegister);
        setGatewayToEE(adapter, pane(adapter).row(AdapterPane::Gateway).value());
    } else if (isConfigFirstDns(adapter, edit)) {
        setDNSToSys(adapter, FirstDns, pane(adapter).row(AdapterPane::FirstDns).text());
    } else if (isConfigBackupDns(adapter, edit)) {
        setDNSToSys(adapter, BackupDns, pane(adapter).row(AdapterPane::BackupDns).text());
    }
    updateDefaultGatewayFromReg();
}

// Addresses.

void NetworkSettings::setIP(networkIndexType adapter, QString address)
{
    RunningAdapter(int(adapter)).setAddress(address);
}

void NetworkSettings::setMask(networkIndexType adapter, QString mask)
{
    RunningAdapter(int(adapter)).setMask(mask);
}

void NetworkSettings::setIPToEE(networkIndexType adapter, unsigned int value)
{
    if (isAdapter(int(adapter))) {
        store(adapterTable.at(adapter).ip, value, Settings::WR1_IP);
    }
}

void NetworkSettings::setMaskToEE(networkIndexType adapter, unsigned int value)
{
    if (isAdapter(int(adapter))) {
        store(adapterTable.at(adapter).mask, value, Settings::WR1_MASK);
    }
}

void NetworkSettings::setGatewayToEE(networkIndexType adapter, unsigned int value)
{
    if (isAdapter(int(adapter))) {
        store(adapterTable.at(adapter).gateway, value, Settings::WR1_GATEWAY);
    }
}

void NetworkSettings::store(const StoredQuad& place, quint32 value, Settings::FlashWR1DataType type)
{
    AddressRecord::setValue(m_record, place, value);
    emit updateEEData(m_record, type);
    place.mirror.write(value);
}

QStringList NetworkSettings::stored(const StoredQuad& place) const
{
    return DottedQuad::toOctets(AddressRecord::value(m_record, place));
}

QStringList NetworkSettings::getIPFromEE(networkIndexType adapter)
{
    return isAdapter(int(adapter)) ? state(adapter).ip = stored(adapterTable.at(adapter).ip)
                                   : QStringList();
}

QStringList NetworkSettings::getMaskFromEE(networkIndexType adapter)
{
    return isAdapter(int(adapter)) ? state(adapter).mask = stored(adapterTable.at(adapter).mask)
                                   : QStringList();
}

QStringList NetworkSettings::getGatewayFromEE(networkIndexType adapter)
{
    return isAdapter(int(adapter))
               ? state(adapter).gateway = stored(adapterTable.at(adapter).gateway)
               : QStringList();
}

QStringList NetworkSettings::getMacFromEE(networkIndexType adapter)
{
    return isAdapter(int(adapter)) ? state(adapter).mac = AddressRecord::mac(m_record, int(adapter))
                                   : QStringList();
}

void NetworkSettings::updateIPData(networkIndexType adapter)
{
    if (isAdapter(int(adapter))) {
        pane(adapter).showValue(AdapterPane::Ip, getIPFromEE(adapter));
    }
}

void NetworkSettings::updateMaskData(networkIndexType adapter)
{
    if (isAdapter(int(adapter))) {
        pane(adapter).showValue(AdapterPane::Mask, getMaskFromEE(adapter));
    }
}

void NetworkSettings::updateGatewayData(networkIndexType adapter)
{
    if (isAdapter(int(adapter))) {
        pane(adapter).showValue(AdapterPane::Gateway, getGatewayFromEE(adapter));
    }
}

QStringList NetworkSettings::getipAddress(QString interfaceName) const
{
    return LiveAddress::of(interfaceName);
}

bool NetworkSettings::isConflictIp(QString a1, QString a2, QString a3, QString a4, QString b1,
                                   QString b2, QString b3, QString b4) const
{
    return a1 == b1 && a2 == b2 && a3 == b3 && a4 == b4;
}

void NetworkSettings::checkConflictIp(QLineEdit* edit, int value)
{
    const bool ofEth0 = isConfigIp(Eth0, edit);
    if (!ofEth0 && !isConfigIp(Eth1, edit)) {
        return;
    }
    const auto octets = [&](networkIndexType adapter) {
        QStringList texts;
        for (const QLineEdit* field : pane(adapter).row(AdapterPane::Ip).fields()) {
            texts << (field == edit ? QString::number(value) : field->text());
        }
        return texts;
    };
    const QStringList a = octets(Eth0);
    const QStringList b = octets(Eth1);
    if (isConflictIp(a.at(0), a.at(1), a.at(2), a.at(3), b.at(0), b.at(1), b.at(2), b.at(3))) {
        Message::show(this, m_fontId, QMessageBox::Information, tr("Tips"),
                      ofEth0 ? tr("IP is conflict with eth1!") : tr("IP is conflict with eth0!"),
                      QMessageBox::Ok);
    }
}

// DHCP.

void NetworkSettings::udhcpc(networkIndexType adapter)
{
    RunningAdapter(int(adapter)).startDhcpClient();
}

void NetworkSettings::killudhcpc(networkIndexType adapter)
{
    RunningAdapter(int(adapter)).stopDhcpClient();
}

void NetworkSettings::startClient(networkIndexType adapter)
{
    udhcpc(adapter);
    state(adapter).dhcpPoll.start(dhcpPollMs);
}

void NetworkSettings::onSetCombobox(int index)
{
    if (index < 0) {
        return;
    }
    KeyBeep::soundIfOn(m_settings);
    const networkIndexType adapter = senderAdapter(pane(Eth0).modeBox());
    pane(adapter).showMode(index != 0);
    updateDHCPConfig(adapter, index != 0);
}

void NetworkSettings::updateDHCPConfig(networkIndexType adapter, bool dynamic)
{
    // Of the adapter that the caller names; the box that sent the signal names the one that is
    // changed, which is another one if a caller mixes them up.
    const bool switchedOff = AdapterSwitch::isOff(m_settings, int(adapter));
    for (const networkIndexType candidate : {Eth0, Eth1}) {
        adapter = sender() == &pane(candidate).modeBox() ? candidate : adapter;
    }
    if (!isAdapter(int(adapter))) {
        return;
    }
    if (dynamic) {
        disableNetwork(adapter);
        // eth1 asks for an address even while it is switched off.
        if (adapter == Eth1 || !switchedOff) {
            startClient(adapter);
        }
    } else {
        killudhcpc(adapter);
        enableNetwork(adapter);
        state(adapter).dhcpPoll.stop();
    }
    AdapterMode::store(int(adapter), dynamic);
}

void NetworkSettings::slotdhcp()
{
    takeLease(Eth0);
}

void NetworkSettings::slotdhcp1()
{
    takeLease(Eth1);
}

void NetworkSettings::takeLease(networkIndexType adapter)
{
    const QStringList lease =
        getipAddress(QString::fromLatin1(adapterTable.at(adapter).interfaceName));
    if (lease.isEmpty()) {
        return;
    }
    QStringList octets = DottedQuad::split(lease.at(0));
    setIPToEE(adapter, DottedQuad::fromOctets(octets));
    updateIPData(adapter);
    setMaskToEE(adapter, DottedQuad::fromOctets(DottedQuad::split(lease.at(1))));
    updateMaskData(adapter);
    // The plant's rule: the gateway is the first host of the segment, whatever the lease says.
    octets[DottedQuad::octetCount - 1] = QLatin1Char('1');
    setGatewayToEE(adapter, DottedQuad::fromOctets(octets));
    updateGatewayData(adapter);
    updateDNSData(adapter, FirstDns);
    updateDNSData(adapter, BackupDns);
    updateDefaultGatewayFromReg();
    state(adapter).dhcpPoll.stop();
}

// DNS servers.

void NetworkSettings::getDns(QFile& file, networkIndexType adapter, dnsType type, QString& out)
{
    out = ResolverFile::server(file, int(adapter), int(type));
}

void NetworkSettings::replaceDns(QFile& file, networkIndexType adapter, dnsType type,
                                 QString address)
{
    ResolverFile::replaceServer(file, int(adapter), int(type), address);
}

QStringList NetworkSettings::getDNSFromSys(networkIndexType adapter, dnsType type)
{
    if (!isAdapter(int(adapter)) || type > BackupDns) {
        return {};
    }
    ResolverFile::makeMissing();
    QString address;
    const bool isRead = ResolverFile::server(int(adapter), int(type), address);
    return state(adapter).dns.at(type) = isRead ? DottedQuad::split(address) : QStringList();
}

void NetworkSettings::setDNSToSys(networkIndexType adapter, dnsType type, QString address)
{
    QFile file(QString::fromLatin1(ResolverFile::path));
    replaceDns(file, adapter, type, address);
}

void NetworkSettings::updateDNSData(networkIndexType adapter, dnsType type)
{
    if (isAdapter(int(adapter)) && type <= BackupDns) {
        pane(adapter).showValue(type == FirstDns ? AdapterPane::FirstDns : AdapterPane::BackupDns,
                                getDNSFromSys(adapter, type));
    }
}

// Default routes.

void NetworkSettings::setGateway(int preference)
{
    DefaultRoutes::rebuild(preference, {pane(Eth0).row(AdapterPane::Gateway).text(),
                                        pane(Eth1).row(AdapterPane::Gateway).text()});
}

void NetworkSettings::updateDefaultGatewayFromReg()
{
    setGateway(DefaultRoutes::preferenceOfRegister);
}

void NetworkSettings::onSetAdapterCombobox(int index)
{
    if (index < 0) {
        return; // the register names an adapter that this panel does not have
    }
    if (sender() == &pane(Eth0).defaultBox()) {
        KeyBeep::soundIfOn(m_settings);
    }
    for (AdapterPane* pane : m_panes) {
        pane->showDefault(index);
    }
    setGateway(index);
    DefaultRoutes::storePreference(quint8(index));
}

void NetworkSettings::onSetDefaultGateway()
{
    const networkIndexType adapter = senderAdapter(pane(Eth0).defaultButton());
    m_defaultGateway = pane(adapter).row(AdapterPane::Gateway).octets();
    for (const networkIndexType shown : {Eth0, Eth1}) {
        updateDefaultNetwork(shown);
        updateDefaultGateway(shown);
    }
    DefaultRoutes::storeAdapterNumber(adapter);
    setGateway(DefaultRoutes::preferenceOfRegister);
}

void NetworkSettings::updateDefaultGateway(networkIndexType adapter)
{
    if (isAdapter(int(adapter))) {
        pane(adapter).showGateway(tr("Gateway:") + DottedQuad::join(m_defaultGateway));
    }
}

void NetworkSettings::updateDefaultNetwork(networkIndexType adapter)
{
    if (isAdapter(int(adapter))) {
        pane(adapter).showNetwork(tr("Network:"));
    }
}

// Switching adapters off and on.

void NetworkSettings::onDisableNetworkSwitched()
{
    const networkIndexType adapter = senderAdapter(pane(Eth0).disableSwitch());
    bool& disabled = state(adapter).disabled;
    disabled = !disabled;
    pane(adapter).showDisabled(disabled);
    if (disabled) {
        disableNetworkConfig(adapter, 1);
    } else {
        enableNetworkConfig(adapter);
    }
}

void NetworkSettings::disableNetworkConfig(networkIndexType adapter, int applies)
{
    if (!isAdapter(int(adapter))) {
        return;
    }
    state(adapter).dhcpPoll.stop();
    disableNetwork(adapter);
    pane(adapter).setModeOffered(false);
    for (AdapterPane* pane : m_panes) {
        pane->setDefaultOffered(int(adapter), false);
    }
    if (applies == 1) {
        RunningAdapter(int(adapter)).takeDown();
    }
    AdapterSwitch::store(m_settings, int(adapter), false);
}

void NetworkSettings::enableNetworkConfig(networkIndexType adapter)
{
    if (!isAdapter(int(adapter))) {
        return;
    }
    const bool dynamic = AdapterMode::isDynamic(int(adapter));
    updateDNSData(adapter, FirstDns);
    updateDNSData(adapter, BackupDns);
    if (dynamic) {
        udhcpc(adapter);
        pane(adapter).showMode(true);
        disableNetwork(adapter);
        state(adapter).dhcpPoll.start(dhcpPollMs);
    } else {
        killudhcpc(adapter);
        pane(adapter).showMode(false);
        enableNetwork(adapter);
        setGateway(DefaultRoutes::preferenceOfRegister);
    }
    pane(adapter).setModeOffered(true);
    for (AdapterPane* pane : m_panes) {
        pane->setDefaultOffered(int(adapter), true);
    }
    AdapterSwitch::store(m_settings, int(adapter), true);
}

void NetworkSettings::disableNetwork(networkIndexType adapter)
{
    if (isAdapter(int(adapter))) {
        pane(adapter).blank();
        pane(adapter).setEditable(false);
    }
}

void NetworkSettings::enableNetwork(networkIndexType adapter)
{
    if (!isAdapter(int(adapter))) {
        return;
    }
    pane(adapter).setEditable(true);
    updateIPData(adapter);
    updateMaskData(adapter);
    updateGatewayData(adapter);
    updateDNSData(adapter, FirstDns);
    updateDNSData(adapter, BackupDns);
    RunningAdapter(int(adapter)).bringUp(state(adapter).ip);
}

// Connectivity test.

void NetworkSettings::onSetTest()
{
    KeyBeep::soundIfOn(m_settings);
    PingTest::start();
    ++m_pingRuns;
    for (AdapterPane* pane : m_panes) {
        pane->showLamp(AdapterPane::Lamp::Running);
        pane->showTestButton(AdapterPane::PingState::Running);
    }
    m_pingTimer.start(PingTest::replyWaitMs);
}

void NetworkSettings::ping_test()
{
    if (m_pingBoxOpen) {
        return; // the timer goes on under an open box; the next result waits until it is closed
    }
    const int run = m_pingRuns;
    const bool success = PingTest::replyArrived();
    for (AdapterPane* pane : m_panes) {
        pane->showLamp(success ? AdapterPane::Lamp::Success : AdapterPane::Lamp::Idle);
    }
    const QPointer<NetworkSettings> page(this);
    m_pingBoxOpen = true;
    showPingResult(success);
    if (!page) {
        return;
    }
    m_pingBoxOpen = false;
    if (run == m_pingRuns) { // no newer test was started under the box
        m_pingTimer.stop();
        for (AdapterPane* pane : m_panes) {
            pane->showTestButton(AdapterPane::PingState::Idle);
        }
    }
}

void NetworkSettings::showPingResult(bool success)
{
    Message::show(this, m_fontId, success ? QMessageBox::Information : QMessageBox::Critical,
                  QString::fromUtf8("设备详细信息"), // in every language
                  success ? tr("test successful") : tr("test failed"), QMessageBox::Ok);
}

void NetworkSettings::onTabBarSwitched(int /*index*/)
{
    KeyBeep::soundIfOn(m_settings);
}
