#include "tests/network/NetworkTest.h"
#include "tests/support/NoticeListener.h"

#include <QDir>
#include <QGroupBox>
#include <QMetaMethod>

#include <cmath>

namespace {

/// The captions of a pane: every text of a label but the dots between octets.
QStringList captionsOf(const AdapterPane& pane)
{
    QStringList captions;
    for (const QLabel* label : pane.findChildren<QLabel*>()) {
        if (label->text().size() > 1) { // no dot, no lamp
            captions << label->text();
        }
    }
    return captions;
}

/// Share of light that a colour gives back, from 0 (black) to 1 (white), as an eye sees it.
double luminance(const QColor& color)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

/// Contrast between the lightest and the darkest pixel of what a widget shows: 1 for none, 21 for
/// black on white.
double contrastOf(QWidget& widget)
{
    // With what shines through it.
    const QRect place(widget.mapTo(widget.window(), QPoint()), widget.size());
    const QImage picture = widget.window()->grab(place).toImage();
    double lightest = 0;
    double darkest = 1;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double light = luminance(picture.pixelColor(x, y));
            lightest = std::max(lightest, light);
            darkest = std::min(darkest, light);
        }
    }
    return (lightest + 0.05) / (darkest + 0.05);
}

} // namespace

/// The page as it is made, shown and refreshed.
class TestNetworkPage : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void methods_areInTheirOrder();
    void fields_areToldByIdentity();
    void captions_inTheirOrder();
    void look_isThePanels();
    void tabs_oneForEachAdapter_data();
    void tabs_oneForEachAdapter();
    void tabs_clickSwitchesAndBeepsOnce();
    void sizes_followTheScreenWidth_data();
    void sizes_followTheScreenWidth();
    void mac_canBeReadInEveryState();
    void start_static_runsInOrder();
    void start_oneAdapter_touchesNoEth1();
    void start_storedOff_changesNoInterface();
    void start_storedOn_isAsAbsent();
    void start_dynamic_startsTheClient();
    void start_fillsTheFields();
    void start_writesNoRecord();
    void refresh_followsTheRegisters();
    void refresh_withoutChange_runsNothing();
    void refresh_keepsTheChosenGateway();
    void refresh_oneAdapter_leavesTheOtherAlone();
    void language_changesEveryText_data();
    void language_changesEveryText();
    void beeps_data();
    void beeps();
    void manyPages_leaveNothing();
};

void TestNetworkPage::methods_areInTheirOrder()
{
    const QMetaObject& page = NetworkSettings::staticMetaObject;
    QStringList methods;
    for (int at = page.methodOffset(); at < page.methodCount(); ++at) {
        methods << QString::fromLatin1(page.method(at).methodSignature());
    }
    QCOMPARE(methods,
             QStringList({line("updateEEData(EEInfoDetail::Flash_WR_1&,"
                               "Settings::FlashWR1DataType)"),
                          line("onChangeLanguage(Settings::Language)"),
                          line("onDisableNetworkSwitched()"), line("onSetDefaultGateway()"),
                          line("onSetTest()"), line("onSetCombobox(int)"),
                          line("onSetAdapterCombobox(int)"), line("onTabBarSwitched(int)"),
                          line("slotdhcp()"), line("slotdhcp1()"), line("ping_test()")}));
    QCOMPARE(page.method(page.methodOffset()).methodType(), QMetaMethod::Signal);
    QCOMPARE(page.method(page.methodOffset() + 1).methodType(), QMetaMethod::Slot);
    QCOMPARE(page.superClass()->className(), "QTableView");
}

void TestNetworkPage::fields_areToldByIdentity()
{
    NetworkPage world;
    world.started();
    const NetworkSettings& page = world.page();
    using Asks = bool (NetworkSettings::*)(Index, QLineEdit*) const;
    const Asks asks[] = {&NetworkSettings::isConfigIp, &NetworkSettings::isConfigMask,
                         &NetworkSettings::isConfigGateway, &NetworkSettings::isConfigFirstDns,
                         &NetworkSettings::isConfigBackupDns};
    for (const int owner : {0, 1}) {
        const QList<QLineEdit*> fields = world.pane(owner).fields();
        QCOMPARE(fields.size(), 20);
        for (int field = 0; field < fields.size(); ++field) {
            for (const int adapter : {0, 1}) {
                int value = 0;
                for (const Asks ask : asks) {
                    QCOMPARE((page.*ask)(Index(adapter), fields.at(field)),
                             adapter == owner && value == field / 4);
                    ++value;
                }
            }
        }
        QVERIFY(!page.isConfigIp(Index(owner), &world.macField(owner)));
        QVERIFY(!page.isConfigIp(Index(owner), nullptr));
    }
}

void TestNetworkPage::captions_inTheirOrder()
{
    NetworkPage world;
    world.started();
    for (const int adapter : {0, 1}) {
        AdapterPane& pane = world.pane(adapter);
        const QStringList left{line("Disable Network"), line("Network:"), line("Gateway:0.0.0.0"),
                               line("Setting:"), line("OuterNet State:")};
        const QStringList right{line("IP Address:"),        line("Subnet Mask:"),
                                line("Gateway:"),           line("First DNS Server:"),
                                line("Backup DNS Server:"), line("MAC Address:")};
        QCOMPARE(captionsOf(pane), left + right);
        QCOMPARE(pane.findChild<QGroupBox*>()->title(), line("Default gateway info"));
        world.tabs().setCurrentIndex(adapter);
        QVERIFY(world.networkLabel(adapter).geometry().right() <
                world.gatewayLabel(adapter).geometry().left());
        QCOMPARE(pane.defaultButton().text(), line("Set as default gateway"));
        QCOMPARE(pane.testButton().text(), line("test"));
        for (const auto value : {AdapterPane::Ip, AdapterPane::Mask, AdapterPane::Gateway,
                                 AdapterPane::FirstDns, AdapterPane::BackupDns}) {
            int dots = 0;
            for (const QLabel* label : pane.row(value).findChildren<QLabel*>()) {
                dots += label->text() == line(".") ? 1 : 0;
            }
            QCOMPARE(dots, 3);
        }
    }
}

void TestNetworkPage::look_isThePanels()
{
    NetworkPage world;
    world.started();
    const QString family =
        QFontDatabase::applicationFontFamilies(
            QFontDatabase::addApplicationFont(QStringLiteral("/hmi/default.ttf")))
            .value(0);
    QVERIFY(!family.isEmpty());
    QCOMPARE(world.tabs().tabBar()->font().family(), family);
    for (const char* part :
         {"width:173px", "background:rgb(210, 210, 210)", "border-top-left-radius:8px",
          "border-top-right-radius:8px", "QTabBar::tab:selected{background:rgb(246, 246, 246);}",
          "QTabWidget::pane{background:rgb(246, 246, 246);border:0px;}"}) {
        QVERIFY2(world.tabs().styleSheet().contains(line(part)), part);
    }
    for (const int adapter : {0, 1}) {
        AdapterPane& pane = world.pane(adapter);
        QCOMPARE(pane.defaultButton().objectName(), line("BlueButton"));
        QCOMPARE(pane.testButton().objectName(), line("TestButton"));
        QCOMPARE(pane.modeBox().font().family(), family);
        QVERIFY(world.macField(adapter).isReadOnly());
        for (const QLineEdit* field : pane.fields()) {
            QCOMPARE(field->styleSheet(), line("QLineEdit{border-width:0;border-style:outset}"));
            QCOMPARE(field->alignment(), Qt::Alignment(Qt::AlignCenter));
            QCOMPARE(field->font().family(), family);
        }
    }
}

void TestNetworkPage::tabs_oneForEachAdapter_data()
{
    QTest::addColumn<int>("adapters");
    QTest::newRow("one") << 1;
    QTest::newRow("two") << 2;
}

void TestNetworkPage::tabs_oneForEachAdapter()
{
    QFETCH(int, adapters);
    NetworkPage world(adapters);
    world.started();
    QCOMPARE(world.page().supportEth2(), adapters - 1);
    QCOMPARE(world.tabs().count(), adapters);
    for (int at = 0; at < adapters; ++at) {
        QCOMPARE(world.tabs().tabText(at), QStringLiteral("wired network%1").arg(at));
    }
    const QStringList choices{line("Auto"), line("wired network0"), line("wired network1")};
    for (int at = 0; at < 2; ++at) {
        QCOMPARE(choicesOf(world.pane(at).defaultBox()), choices.mid(0, adapters + 1));
        QCOMPARE(choicesOf(world.pane(at).modeBox()),
                 QStringList({line("Static IP"), line("Dynamic IP")}));
    }
    QVERIFY(world.pane(0).isVisible());
    QVERIFY(!world.pane(1).isVisible());
}

void TestNetworkPage::tabs_clickSwitchesAndBeepsOnce()
{
    NetworkPage world;
    world.started();
    world.settings.setValue(line("General/buzzer"), line("on"));
    QTabBar* bar = world.tabs().tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(1).center());
    QCOMPARE(world.tabs().currentIndex(), 1);
    QVERIFY(world.pane(1).isVisible());
    QCOMPARE(PanelWorld::commands(), QStringList(beep));
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(1).center());
    QCOMPARE(PanelWorld::commands(), QStringList({beep, beep})); // shown already, pressed again
    world.tabs().setCurrentIndex(0);
    QVERIFY(world.pane(0).isVisible());
    QCOMPARE(PanelWorld::commands(), QStringList({beep, beep})); // nobody pressed
}

void TestNetworkPage::sizes_followTheScreenWidth_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<QList<int>>("sizes"); // button, default button, combo box, tab
    QTest::newRow("800") << 800 << QList<int>{40, 300, 25, 25};
    QTest::newRow("1024") << 1024 << QList<int>{50, 400, 42, 45};
    QTest::newRow("1280") << 1280 << QList<int>{50, 400, 42, 45};
    QTest::newRow("1920") << 1920 << QList<int>{70, 500, 60, 45};
    QTest::newRow("other") << 1366 << QList<int>{50, 300, 30, 45};
}

void TestNetworkPage::sizes_followTheScreenWidth()
{
    QFETCH(int, width);
    QFETCH(QList<int>, sizes);
    const char packed[] = {char(width & 0xFF), char((width >> 8) << 4)};
    PanelWorld::patchImage(256 + 14, QByteArray(packed, 2));
    NetworkPage world;
    world.started();
    for (int at = 0; at < 2; ++at) {
        AdapterPane& pane = world.pane(at);
        QCOMPARE(pane.testButton().size(), QSize(100, sizes.at(0)));
        QCOMPARE(pane.defaultButton().size(), QSize(sizes.at(1), sizes.at(0)));
        QCOMPARE(pane.modeBox().height(), sizes.at(2));
        QCOMPARE(pane.defaultBox().height(), sizes.at(2));
    }
    QCOMPARE(world.tabs().tabBar()->tabRect(0).size(), QSize(173, sizes.at(3)));
}

void TestNetworkPage::mac_canBeReadInEveryState()
{
    NetworkPage world;
    world.started();
    for (const int adapter : {0, 1}) {
        AdapterPane& pane = world.pane(adapter);
        world.tabs().setCurrentIndex(adapter);
        constexpr double readable = 4.5;
        QVERIFY(contrastOf(world.macField(adapter)) >= readable);
        pane.modeBox().setCurrentIndex(1);
        QVERIFY(!world.macField(adapter).isEnabled());
        QVERIFY(contrastOf(world.macField(adapter)) >= readable);
        pane.disableSwitch().click();
        QVERIFY(contrastOf(world.macField(adapter)) >= readable);
    }
}

void TestNetworkPage::start_static_runsInOrder()
{
    PanelWorld::writeFile(settingsPath, QByteArray());
    PanelWorld::writeFile(line("/var/run/udhcpc0.pid"), "321\n");
    PanelWorld::writeFile(line("/var/run/udhcpc1.pid"), "322\n");
    Looks looks("ifconfig", "cat /hmi/Config/system_settings.ini");
    NetworkPage world;
    world.init();
    // Each adapter's switch is in the file before the next adapter's turn.
    QCOMPARE(looks.take(), QStringList({QString(), line("[Network0] enable=true")}));
    QStringList expected = {line("/root/plat-intf/readee")};
    expected << line("kill 321") << line("ifconfig eth0 192.168.0.5 up")
             << routes(line("192.168.1.1"), 1, line("0.0.0.0"), 1);
    expected << line("kill 322") << line("ifconfig eth1 10.0.0.6 up") << usualRoutes();
    QStringList commands = PanelWorld::commands();
    QCOMPARE(commands, expected);
    QCOMPARE(world.settings.value(line("Network0/enable")).toBool(), true);
    QCOMPARE(world.settings.value(line("Network1/enable")).toBool(), true);
}

void TestNetworkPage::start_oneAdapter_touchesNoEth1()
{
    NetworkPage world(1);
    world.init();
    QVERIFY(!PanelWorld::commands().join(QLatin1Char('\n')).contains(line("ifconfig eth1")));
    QVERIFY(!world.settings.contains(line("Network1/enable")));
    PanelWorld::clearCommands();
    QVERIFY(world.enter(world.field(0, AdapterPane::Mask, 3), line("0")));
    QCOMPARE(PanelWorld::commands().mid(2), usualRoutes()); // both, all the same
}

void TestNetworkPage::start_storedOff_changesNoInterface()
{
    QSettings(settingsPath, QSettings::IniFormat).setValue(line("Network1/enable"), false);
    NetworkPage world;
    world.init();
    QVERIFY(!PanelWorld::commands().join(QLatin1Char('\n')).contains(line("ifconfig eth1")));
    QVERIFY(!world.field(1, AdapterPane::Ip, 0)->isEnabled());
    QVERIFY(!world.macField(1).isEnabled());
    QVERIFY(!world.pane(1).modeBox().isEnabled());
    QCOMPARE(world.pane(1).disableSwitch().styleSheet(),
             line("border-image:url(:/Resources/switch_on.png);"));
    QCOMPARE(world.pane(0).disableSwitch().styleSheet(),
             line("border-image:url(:/Resources/switch_off.png);"));
    QVERIFY(PanelWorld::areaBit(bitArea, disabledBit[1]));
    QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[0]));
    for (const int shown : {0, 1}) {
        auto* list = qobject_cast<QListView*>(world.pane(shown).defaultBox().view());
        QVERIFY(list->isRowHidden(2));
        QVERIFY(!list->isRowHidden(1));
    }
    QCOMPARE(QSettings(settingsPath, QSettings::IniFormat).value(line("Network1/enable")).toBool(),
             false);
    // What is stored can be read, all the same.
    QCOMPARE(world.text(1, AdapterPane::Ip), line("10.0.0.6"));
    QCOMPARE(world.text(1, AdapterPane::Mask), line("255.0.0.0"));
    QCOMPARE(world.text(1, AdapterPane::Gateway), line("10.0.0.1"));
}

void TestNetworkPage::start_storedOn_isAsAbsent()
{
    for (const int adapter : {0, 1}) {
        QSettings(settingsPath, QSettings::IniFormat)
            .setValue(QStringLiteral("Network%1/enable").arg(adapter), true);
        PanelWorld::setAreaBit(bitArea, disabledBit[adapter], true);
    }
    NetworkPage world;
    world.init();
    QCOMPARE(
        PanelWorld::commands().filter(line("ifconfig")),
        QStringList({line("ifconfig eth0 192.168.0.5 up"), line("ifconfig eth1 10.0.0.6 up")}));
    for (const int adapter : {0, 1}) {
        QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[adapter]));
        QVERIFY(world.pane(adapter).modeBox().isEnabled());
    }
}

void TestNetworkPage::start_dynamic_startsTheClient()
{
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\nnameserver 2.2.2.2 # eth1\n");
    const QString addresses[] = {line("192.168.0.5"), line("10.0.0.6")};
    const QString gateways[] = {line("192.168.1.1"), line("10.0.0.1")};
    for (const int adapter : {0, 1}) {
        PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], true);
        QSettings(settingsPath, QSettings::IniFormat).setValue(line("General/buzzer"), line("on"));
        NoticeListener runtime(noticePipe);
        NetworkPage world;
        world.init();
        // The stored state is no choice of the operator: no key click, nothing for the runtime.
        QCOMPARE(runtime.takeNumbers(), QList<quint32>());
        QVERIFY(!PanelWorld::commands().contains(beep));
        const QString client =
            QStringLiteral("udhcpc -i eth%1 -t 100 -T 1 -A 1 -p /var/run/udhcpc%1.pid")
                .arg(adapter);
        QTRY_COMPARE(PanelWorld::commands().filter(line("udhcpc")), QStringList(client));
        QCOMPARE(PanelWorld::commands().filter(line("ifconfig")),
                 QStringList(QStringLiteral("ifconfig eth%1 %2 up")
                                 .arg(QString::number(1 - adapter), addresses[1 - adapter])));
        QCOMPARE(world.pane(adapter).modeBox().currentIndex(), 1);
        QVERIFY(world.pane(adapter).modeBox().isEnabled());
        // Locked, with what is stored until the lease arrives; servers are stored nowhere.
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QCOMPARE(world.text(adapter, AdapterPane::Ip), addresses[adapter]);
        QCOMPARE(world.text(adapter, AdapterPane::Gateway), gateways[adapter]);
        QCOMPARE(world.text(adapter, AdapterPane::FirstDns), line("0.0.0.0"));
        resetPanel();
        PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\nnameserver 2.2.2.2 # eth1\n");
    }
}

void TestNetworkPage::start_fillsTheFields()
{
    NetworkPage world;
    world.started();
    QCOMPARE(world.text(0, AdapterPane::Ip), line("192.168.0.5"));
    QCOMPARE(world.text(0, AdapterPane::Mask), line("255.255.255.0"));
    QCOMPARE(world.text(0, AdapterPane::Gateway), line("192.168.1.1"));
    QCOMPARE(world.text(1, AdapterPane::Ip), line("10.0.0.6"));
    QCOMPARE(world.text(1, AdapterPane::Mask), line("255.0.0.0"));
    QCOMPARE(world.text(1, AdapterPane::Gateway), line("10.0.0.1"));
    QCOMPARE(world.macField(0).text(), line("02:0a:ff:00:10:bc"));
    QCOMPARE(world.macField(1).text(), line("02:01:02:03:04:05"));
    QCOMPARE(world.networkLabel(0).text(), line("Network:"));
    QCOMPARE(world.gatewayLabel(1).text(), line("Gateway:0.0.0.0"));
}

void TestNetworkPage::start_writesNoRecord()
{
    NetworkPage world;
    world.init();
    QCOMPARE(world.told.size(), 0);
}

void TestNetworkPage::refresh_followsTheRegisters()
{
    NetworkPage world;
    world.started();
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\1'));
    PanelWorld::setAreaBit(bitArea, dhcpBit[1], true);
    world.page().refresh();
    QCOMPARE(world.pane(0).modeBox().currentIndex(), 0);
    QCOMPARE(world.pane(1).modeBox().currentIndex(), 1);
    QCOMPARE(world.pane(0).defaultBox().currentIndex(), 1);
    QCOMPARE(world.pane(1).defaultBox().currentIndex(), 1);
    QCOMPARE(PanelWorld::commands().filter(line("route add")).size(), 4);
    QTRY_COMPARE(PanelWorld::commands().filter(line("udhcpc -i eth1")).size(), 1);
}

void TestNetworkPage::refresh_withoutChange_runsNothing()
{
    NetworkPage world;
    world.started();
    for (int round = 0; round < 3; ++round) {
        world.page().refresh();
    }
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetworkPage::refresh_keepsTheChosenGateway()
{
    NetworkPage world;
    world.started();
    world.pane(1).defaultButton().click();
    world.page().onChangeLanguage(Settings::Chinese);
    QCOMPARE(world.gatewayLabel(0).text(), QStringLiteral("    网关：10.0.0.1"));
    QCOMPARE(world.tabs().tabText(1), QStringLiteral("有线网络1"));
    QCOMPARE(world.pane(0).modeBox().itemText(1), QStringLiteral("动态IP"));
    QCOMPARE(world.pane(1).defaultBox().itemText(0), QStringLiteral("自动"));
    QCOMPARE(world.page().findChild<QGroupBox*>()->title(), QStringLiteral("默认上网卡信息："));
    world.page().onChangeLanguage(Settings::English);
    QCOMPARE(world.tabs().tabText(0), line("network0"));
    QCOMPARE(world.gatewayLabel(0).text(), line("Gateway:10.0.0.1"));
}

void TestNetworkPage::refresh_oneAdapter_leavesTheOtherAlone()
{
    PanelWorld::setAreaBit(bitArea, dhcpBit[1], true);
    NetworkPage world(1);
    world.started();
    NoticeListener runtime(noticePipe);
    PanelWorld::writeFile(line("/var/run/udhcpc1.pid"), "322\n"); // a client's start ends this one
    world.page().refresh();
    QCOMPARE(world.pane(1).modeBox().currentIndex(), 0);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
}

void TestNetworkPage::language_changesEveryText_data()
{
    QTest::addColumn<int>("language");
    QTest::addColumn<QStringList>("captions");
    QTest::addColumn<QStringList>("others"); // the group's title, the buttons
    QTest::addColumn<QStringList>("modes");
    QTest::addColumn<QStringList>("adapters");
    QTest::newRow("Chinese") << int(Settings::Chinese)
                             << QStringLiteral("禁用网络：|网络：|    网关：0.0.0.0|设置：|"
                                               "外网Ping测试：|IP地址：|子网掩码：|    网关：|"
                                               "DNS1：|DNS2：|MAC地址：")
                                    .split(QLatin1Char('|'))
                             << QStringList{QStringLiteral("默认上网卡信息："),
                                            QStringLiteral("设为默认上网卡"),
                                            QStringLiteral("测试")}
                             << QStringList{QStringLiteral("静态IP"), QStringLiteral("动态IP")}
                             << QStringList{QStringLiteral("自动"), QStringLiteral("有线网络0"),
                                            QStringLiteral("有线网络1")};
    QTest::newRow("English") << int(Settings::English)
                             << QStringList{line("Disable Network:"),
                                            line("Network:"),
                                            line("Gateway:0.0.0.0"),
                                            line("Setting:"),
                                            line("OuterNet Ping Test:"),
                                            line("IP Address:"),
                                            line("Subnet Mask:"),
                                            line("Gateway:"),
                                            line("DNS1:"),
                                            line("DNS2:"),
                                            line("MAC Address:")}
                             << QStringList{line("Default Network Adapter Info:"),
                                            line("Set Default Network Adapter"), line("test")}
                             << QStringList{line("Static IP"), line("Dynamic IP")}
                             << QStringList{line("Auto"), line("network0"), line("network1")};
}

void TestNetworkPage::language_changesEveryText()
{
    QFETCH(int, language);
    QFETCH(QStringList, captions);
    QFETCH(QStringList, others);
    QFETCH(QStringList, modes);
    QFETCH(QStringList, adapters);
    NetworkPage world;
    world.started();
    world.page().onChangeLanguage(language == Settings::Chinese ? Settings::English
                                                                : Settings::Chinese);
    world.page().onChangeLanguage(Settings::Language(language));
    for (const int shown : {0, 1}) {
        AdapterPane& pane = world.pane(shown);
        QCOMPARE(captionsOf(pane), captions);
        QCOMPARE(QStringList({pane.findChild<QGroupBox*>()->title(), pane.defaultButton().text(),
                              pane.testButton().text()}),
                 others);
        QCOMPARE(choicesOf(pane.modeBox()), modes);
        QCOMPARE(choicesOf(pane.defaultBox()), adapters);
        QCOMPARE(world.tabs().tabText(shown), adapters.at(shown + 1));
    }
    QCOMPARE(PanelWorld::commands(), QStringList()); // no text counts as a choice
}

void TestNetworkPage::beeps_data()
{
    QTest::addColumn<QString>("keyClick");
    QTest::addColumn<int>("count");
    QTest::newRow("on") << line("on") << 1;
    QTest::newRow("off") << line("off") << 0;
    QTest::newRow("absent") << QString() << 0;
}

void TestNetworkPage::beeps()
{
    QFETCH(QString, keyClick);
    QFETCH(int, count);
    NetworkPage world;
    world.started();
    if (!keyClick.isNull()) {
        world.settings.setValue(line("General/buzzer"), keyClick);
    }
    const auto beepsOf = [](auto&& action) {
        PanelWorld::clearCommands();
        action();
        return PanelWorld::commands().count(beep);
    };
    QCOMPARE(beepsOf([&] { NetworkPage::press(&world.pane(0).disableSwitch()); }), count);
    QCOMPARE(beepsOf([&] { NetworkPage::press(&world.pane(1).defaultButton()); }), count);
    QCOMPARE(beepsOf([&] { NetworkPage::press(&world.pane(0).testButton()); }), count);
    QCOMPARE(beepsOf([&] { world.page().onTabBarSwitched(1); }), count);
    QCOMPARE(beepsOf([&] { world.page().onSetTest(); }), count);
    QCOMPARE(beepsOf([&] { world.pane(0).modeBox().setCurrentIndex(1); }), count);
    // The field's own: keys that are not pressed, only clicked by the program, do not beep.
    QLineEdit* field = world.field(1, AdapterPane::Ip, 0);
    bool opened = false;
    QCOMPARE(beepsOf([&] { opened = NetworkPage::enter(field, line("1")); }), count);
    QVERIFY(opened);
}

void TestNetworkPage::manyPages_leaveNothing()
{
    const auto descriptors = [] { return QDir(line("/proc/self/fd")).count(); };
    NetworkPage().started();
    const uint before = descriptors();
    const int widgets = QApplication::allWidgets().size();
    for (int round = 0; round < 50; ++round) {
        NetworkPage().started();
    }
    QCOMPARE(QApplication::allWidgets().size(), widgets);
    QCOMPARE(descriptors(), before);
}

QTEST_MAIN(TestNetworkPage)
#include "test_network_page.moc"
