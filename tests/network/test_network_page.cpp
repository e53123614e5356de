#include "network/ChoiceBox.h"
#include "network/PaneTabs.h"
#include "tests/network/NetworkTest.h"
#include "tests/support/NoticeListener.h"

#include <QDir>
#include <QGroupBox>
#include <QMetaMethod>
#include <QPainter>
#include <QStyledItemDelegate>

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
    void choice_isPaintedAsAFieldWithAnArrow_data();
    void choice_isPaintedAsAFieldWithAnArrow();
    void choice_isPaintedToThePixel_data();
    void choice_isPaintedToThePixel();
    void choices_canBeHitWithAFinger();
    void panes_haveTheirPlaceBeforeTheyAreShown();
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
             QStringList({"updateEEData(EEInfoDetail::Flash_WR_1&,"
                          "Settings::FlashWR1DataType)"_s,
                          "onChangeLanguage(Settings::Language)"_s, "onDisableNetworkSwitched()"_s,
                          "onSetDefaultGateway()"_s, "onSetTest()"_s, "onSetCombobox(int)"_s,
                          "onSetAdapterCombobox(int)"_s, "onTabBarSwitched(int)"_s, "slotdhcp()"_s,
                          "slotdhcp1()"_s, "ping_test()"_s}));
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
        const QStringList left{"Disable Network"_s, "Network:"_s, "Gateway:0.0.0.0"_s, "Setting:"_s,
                               "OuterNet State:"_s};
        const QStringList right{"IP Address:"_s,       "Subnet Mask:"_s,       "Gateway:"_s,
                                "First DNS Server:"_s, "Backup DNS Server:"_s, "MAC Address:"_s};
        QCOMPARE(captionsOf(pane), left + right);
        QCOMPARE(pane.findChild<QGroupBox*>()->title(), "Default gateway info"_s);
        world.tabs().setCurrentIndex(adapter);
        QVERIFY(world.networkLabel(adapter).geometry().right() <
                world.gatewayLabel(adapter).geometry().left());
        QCOMPARE(pane.defaultButton().text(), "Set as default gateway"_s);
        QCOMPARE(pane.testButton().text(), "test"_s);
        for (const auto value : {AdapterPane::Ip, AdapterPane::Mask, AdapterPane::Gateway,
                                 AdapterPane::FirstDns, AdapterPane::BackupDns}) {
            int dots = 0;
            for (const QLabel* label : pane.row(value).findChildren<QLabel*>()) {
                dots += label->text() == "."_s ? 1 : 0;
            }
            QCOMPARE(dots, 3);
        }
    }
}

void TestNetworkPage::look_isThePanels()
{
    NetworkPage world;
    world.started();
    const QString family = QFontDatabase::applicationFontFamilies(
                               QFontDatabase::addApplicationFont("/hmi/default.ttf"_s))
                               .value(0);
    QVERIFY(!family.isEmpty());
    QCOMPARE(world.tabs().tabBar()->font().family(), family);
    QVERIFY(!world.tabs().tabBar()->usesScrollButtons()); // no finger hits these
    for (const char* part :
         {"width:173px", "background:rgb(210, 210, 210)", "border-top-left-radius:8px",
          "border-top-right-radius:8px", "QTabBar::tab:selected{background:rgb(246, 246, 246);}",
          "QTabWidget::pane{background:rgb(246, 246, 246);border:0px;}"}) {
        QVERIFY2(world.tabs().styleSheet().contains(QString::fromLatin1(part)), part);
    }
    for (const int adapter : {0, 1}) {
        AdapterPane& pane = world.pane(adapter);
        QCOMPARE(pane.defaultButton().objectName(), "BlueButton"_s);
        QCOMPARE(pane.testButton().objectName(), "TestButton"_s);
        QCOMPARE(pane.modeBox().font().family(), family);
        QVERIFY(world.macField(adapter).isReadOnly());
        // Wherever there is more room, rows and boxes keep their height.
        const auto policy = [](const QWidget& part) {
            return qMakePair(part.sizePolicy().horizontalPolicy(),
                             part.sizePolicy().verticalPolicy());
        };
        const auto row = qMakePair(QSizePolicy::Preferred, QSizePolicy::Fixed);
        QCOMPARE(policy(pane.row(AdapterPane::Ip)), row);
        QCOMPARE(policy(*pane.findChild<QGroupBox*>()), row);
        QCOMPARE(policy(pane.modeBox()), qMakePair(QSizePolicy::Expanding, QSizePolicy::Fixed));
        for (const QLineEdit* field : pane.fields()) {
            QCOMPARE(field->styleSheet(), "QLineEdit{border-width:0;border-style:outset}"_s);
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
        QCOMPARE(world.tabs().tabText(at), "wired network%1"_s.arg(at));
    }
    const QStringList choices{"Auto"_s, "wired network0"_s, "wired network1"_s};
    for (int at = 0; at < 2; ++at) {
        QCOMPARE(choicesOf(world.pane(at).defaultBox()), choices.mid(0, adapters + 1));
        QCOMPARE(choicesOf(world.pane(at).modeBox()), QStringList({"Static IP"_s, "Dynamic IP"_s}));
    }
    QVERIFY(world.pane(0).isVisible());
    QVERIFY(!world.pane(1).isVisible());
}

void TestNetworkPage::tabs_clickSwitchesAndBeepsOnce()
{
    NetworkPage world;
    world.started();
    world.settings.setValue("General/buzzer"_s, "on"_s);
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
    PanelWorld::setScreenWidth(width);
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

void TestNetworkPage::choice_isPaintedAsAFieldWithAnArrow_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::newRow("enabled") << true;
    QTest::newRow("disabled") << false;
}

void TestNetworkPage::choice_isPaintedAsAFieldWithAnArrow()
{
    QFETCH(bool, enabled);
    ChoiceBox box(nullptr);
    box.resize(200, 41);
    box.setEnabled(enabled);
    const QImage picture = box.grab().toImage();
    const QRgb arrow = enabled ? qRgb(24, 103, 147) : qRgb(150, 150, 150);
    const QRgb inside = enabled ? qRgb(255, 255, 255) : qRgb(236, 236, 236);
    for (const QPoint& edge : {QPoint(0, 20), QPoint(199, 20), QPoint(100, 0), QPoint(100, 40)}) {
        QCOMPARE(picture.pixel(edge), qRgb(163, 198, 218));
    }
    for (const QPoint& place : {QPoint(1, 20), QPoint(198, 20), QPoint(100, 1), QPoint(100, 39),
                                QPoint(100, 20), QPoint(4, 4)}) {
        QCOMPARE(picture.pixel(place), inside);
    }
    // Corners are round, and every slanted edge is smooth.
    const auto isPlain = [&](int x, int y) {
        const QRgb pixel = picture.pixel(x, y);
        return pixel == inside || pixel == arrow || pixel == qRgb(163, 198, 218);
    };
    QVERIFY(picture.pixel(0, 0) != qRgb(163, 198, 218));
    QVERIFY(!isPlain(1, 1));
    QVERIFY(!isPlain(178, 19));
    // From 17 to 24, 6 to each side of 182.
    const QRect painted(QPoint(176, 17), QPoint(187, 23));
    for (int y = 2; y < 39; ++y) {
        for (int x = 150; x < 190; ++x) {
            if (!painted.contains(x, y)) {
                QCOMPARE(picture.pixel(x, y), inside);
            }
        }
    }
    for (const QPoint& place :
         {QPoint(178, 17), QPoint(185, 17), QPoint(181, 20), QPoint(182, 20)}) {
        QCOMPARE(picture.pixel(place), arrow);
    }
    QVERIFY(picture.pixel(182, 23) != inside);
    QVERIFY(picture.pixel(176, 17) != inside);
}

void TestNetworkPage::choice_isPaintedToThePixel_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<int>("height");
    for (const int height : {25, 42, 60, 61}) {
        QTest::addRow("enabled %d", height) << true << height;
        QTest::addRow("disabled %d", height) << false << height;
    }
}

void TestNetworkPage::choice_isPaintedToThePixel()
{
    QFETCH(bool, enabled);
    QFETCH(int, height);
    ChoiceBox box(nullptr);
    box.addItem("Static IP"_s);
    box.resize(200, height);
    box.setEnabled(enabled);
    const QImage seen = box.grab().toImage();

    QImage expected(seen.size(), seen.format());
    expected.fill(box.palette().color(QPalette::Window));
    QPainter painter(&expected);
    painter.setFont(box.font());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QColor(163, 198, 218));
    painter.setBrush(enabled ? QColor(Qt::white) : QColor(236, 236, 236));
    painter.drawRoundedRect(QRectF(0.5, 0.5, 199, height - 1), 6, 6);
    painter.setPen(enabled ? QColor(Qt::black) : QColor(150, 150, 150));
    painter.drawText(QRect(10, 0, 154, height), Qt::AlignVCenter, "Static IP"_s);
    painter.setPen(Qt::NoPen);
    painter.setBrush(enabled ? QColor(24, 103, 147) : QColor(150, 150, 150));
    const double below = (height + 7) / 2.0;
    painter.drawPolygon(
        QPolygonF({QPointF(176, below - 7), QPointF(188, below - 7), QPointF(182, below)}));
    painter.end();
    QCOMPARE(seen, expected);
}

void TestNetworkPage::choices_canBeHitWithAFinger()
{
    NetworkPage world;
    world.started();
    for (const int adapter : {0, 1}) {
        for (ChoiceBox* box : {&world.pane(adapter).modeBox(), &world.pane(adapter).defaultBox()}) {
            QCOMPARE(box->view()->styleSheet(), "QAbstractItemView::item{min-height:40px;}"_s);
            QCOMPARE(box->view()->parentWidget()->styleSheet(), "/**/"_s);
            QVERIFY(box->view()->sizeHintForRow(0) >= 40);
            QCOMPARE(box->itemDelegate()->metaObject()->className(), "QStyledItemDelegate");
        }
    }
}

void TestNetworkPage::panes_haveTheirPlaceBeforeTheyAreShown()
{
    PaneTabs tabs;
    tabs.resize(300, 200); // without a page there is nothing to be placed
    QResizeEvent resized(tabs.size(), QSize());
    QApplication::sendEvent(&tabs, &resized);
    auto* pane = new QWidget;
    tabs.addTab(pane, "first"_s);
    QApplication::sendEvent(&tabs, &resized);
    const QSize hidden = pane->parentWidget()->size();
    tabs.show();
    QCoreApplication::processEvents();
    QCOMPARE(pane->parentWidget()->size(), hidden);
    tabs.resize(400, 260);
    QCoreApplication::processEvents();
    QCOMPARE(pane->parentWidget()->size(), hidden + QSize(100, 60));
}

void TestNetworkPage::start_static_runsInOrder()
{
    PanelWorld::writeFile(settingsPath, QByteArray());
    PanelWorld::writeFile("/var/run/udhcpc0.pid"_s, "321\n");
    PanelWorld::writeFile("/var/run/udhcpc1.pid"_s, "322\n");
    Looks looks("ifconfig", "cat /hmi/Config/system_settings.ini");
    NetworkPage world;
    world.init();
    // Each adapter's switch is in the file before the next adapter's turn.
    QCOMPARE(looks.take(), QStringList({QString(), "[Network0] enable=true"_s}));
    QStringList expected = {"/root/plat-intf/readee"_s};
    expected << "kill 321"_s
             << "ifconfig eth0 192.168.0.5 up"_s << routes("192.168.1.1"_s, 1, "0.0.0.0"_s, 1);
    expected << "kill 322"_s
             << "ifconfig eth1 10.0.0.6 up"_s << usualRoutes();
    QStringList commands = PanelWorld::commands();
    QCOMPARE(commands, expected);
    QCOMPARE(world.settings.value("Network0/enable"_s).toBool(), true);
    QCOMPARE(world.settings.value("Network1/enable"_s).toBool(), true);
}

void TestNetworkPage::start_oneAdapter_touchesNoEth1()
{
    NetworkPage world(1);
    world.init();
    QVERIFY(!PanelWorld::commands().join(QLatin1Char('\n')).contains("ifconfig eth1"_s));
    QVERIFY(!world.settings.contains("Network1/enable"_s));
    PanelWorld::clearCommands();
    QVERIFY(world.enter(world.field(0, AdapterPane::Mask, 3), "0"_s));
    QCOMPARE(PanelWorld::commands().mid(2), usualRoutes()); // both, all the same
}

void TestNetworkPage::start_storedOff_changesNoInterface()
{
    QSettings(settingsPath, QSettings::IniFormat).setValue("Network1/enable"_s, false);
    NetworkPage world;
    world.init();
    QVERIFY(!PanelWorld::commands().join(QLatin1Char('\n')).contains("ifconfig eth1"_s));
    QVERIFY(!world.field(1, AdapterPane::Ip, 0)->isEnabled());
    QVERIFY(!world.macField(1).isEnabled());
    QVERIFY(!world.pane(1).modeBox().isEnabled());
    QCOMPARE(world.pane(1).disableSwitch().styleSheet(),
             "border-image:url(:/Resources/switch_on.png);"_s);
    QCOMPARE(world.pane(0).disableSwitch().styleSheet(),
             "border-image:url(:/Resources/switch_off.png);"_s);
    QVERIFY(PanelWorld::areaBit(bitArea, disabledBit[1]));
    QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[0]));
    for (const int shown : {0, 1}) {
        auto* list = qobject_cast<QListView*>(world.pane(shown).defaultBox().view());
        QVERIFY(list->isRowHidden(2));
        QVERIFY(!list->isRowHidden(1));
    }
    QCOMPARE(QSettings(settingsPath, QSettings::IniFormat).value("Network1/enable"_s).toBool(),
             false);
    // What is stored can be read, all the same.
    QCOMPARE(world.text(1, AdapterPane::Ip), "10.0.0.6"_s);
    QCOMPARE(world.text(1, AdapterPane::Mask), "255.0.0.0"_s);
    QCOMPARE(world.text(1, AdapterPane::Gateway), "10.0.0.1"_s);
}

void TestNetworkPage::start_storedOn_isAsAbsent()
{
    for (const int adapter : {0, 1}) {
        QSettings(settingsPath, QSettings::IniFormat)
            .setValue("Network%1/enable"_s.arg(adapter), true);
        PanelWorld::setAreaBit(bitArea, disabledBit[adapter], true);
    }
    NetworkPage world;
    world.init();
    QCOMPARE(PanelWorld::commands().filter("ifconfig"_s),
             QStringList({"ifconfig eth0 192.168.0.5 up"_s, "ifconfig eth1 10.0.0.6 up"_s}));
    for (const int adapter : {0, 1}) {
        QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[adapter]));
        QVERIFY(world.pane(adapter).modeBox().isEnabled());
    }
}

void TestNetworkPage::start_dynamic_startsTheClient()
{
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\nnameserver 2.2.2.2 # eth1\n");
    const QString addresses[] = {"192.168.0.5"_s, "10.0.0.6"_s};
    const QString gateways[] = {"192.168.1.1"_s, "10.0.0.1"_s};
    for (const int adapter : {0, 1}) {
        PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], true);
        QSettings(settingsPath, QSettings::IniFormat).setValue("General/buzzer"_s, "on"_s);
        NoticeListener runtime(noticePipe);
        NetworkPage world;
        world.init();
        // The stored state is no choice of the operator: no key click, nothing for the runtime.
        QCOMPARE(runtime.takeNumbers(), QList<quint32>());
        QVERIFY(!PanelWorld::commands().contains(beep));
        const QString client =
            "udhcpc -i eth%1 -t 100 -T 1 -A 1 -p /var/run/udhcpc%1.pid"_s.arg(adapter);
        QTRY_COMPARE(PanelWorld::commands().filter("udhcpc"_s), QStringList(client));
        QCOMPARE(PanelWorld::commands().filter("ifconfig"_s),
                 QStringList("ifconfig eth%1 %2 up"_s.arg(QString::number(1 - adapter),
                                                          addresses[1 - adapter])));
        QCOMPARE(world.pane(adapter).modeBox().currentIndex(), 1);
        QVERIFY(world.pane(adapter).modeBox().isEnabled());
        // Locked, with what is stored until the lease arrives; servers are stored nowhere.
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QCOMPARE(world.text(adapter, AdapterPane::Ip), addresses[adapter]);
        QCOMPARE(world.text(adapter, AdapterPane::Gateway), gateways[adapter]);
        QCOMPARE(world.text(adapter, AdapterPane::FirstDns), "0.0.0.0"_s);
        resetPanel();
        PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\nnameserver 2.2.2.2 # eth1\n");
    }
}

void TestNetworkPage::start_fillsTheFields()
{
    NetworkPage world;
    world.started();
    QCOMPARE(world.text(0, AdapterPane::Ip), "192.168.0.5"_s);
    QCOMPARE(world.text(0, AdapterPane::Mask), "255.255.255.0"_s);
    QCOMPARE(world.text(0, AdapterPane::Gateway), "192.168.1.1"_s);
    QCOMPARE(world.text(1, AdapterPane::Ip), "10.0.0.6"_s);
    QCOMPARE(world.text(1, AdapterPane::Mask), "255.0.0.0"_s);
    QCOMPARE(world.text(1, AdapterPane::Gateway), "10.0.0.1"_s);
    QCOMPARE(world.macField(0).text(), "02:0a:ff:00:10:bc"_s);
    QCOMPARE(world.macField(1).text(), "02:01:02:03:04:05"_s);
    QCOMPARE(world.networkLabel(0).text(), "Network:"_s);
    QCOMPARE(world.gatewayLabel(1).text(), "Gateway:0.0.0.0"_s);
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
    QCOMPARE(PanelWorld::commands().filter("route add"_s).size(), 4);
    QTRY_COMPARE(PanelWorld::commands().filter("udhcpc -i eth1"_s).size(), 1);
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
    QCOMPARE(world.gatewayLabel(0).text(), "    网关：10.0.0.1"_s);
    QCOMPARE(world.tabs().tabText(1), "有线网络1"_s);
    QCOMPARE(world.pane(0).modeBox().itemText(1), "动态IP"_s);
    QCOMPARE(world.pane(1).defaultBox().itemText(0), "自动"_s);
    QCOMPARE(world.page().findChild<QGroupBox*>()->title(), "默认上网卡信息："_s);
    world.page().onChangeLanguage(Settings::English);
    QCOMPARE(world.tabs().tabText(0), "network0"_s);
    QCOMPARE(world.gatewayLabel(0).text(), "Gateway:10.0.0.1"_s);
}

void TestNetworkPage::refresh_oneAdapter_leavesTheOtherAlone()
{
    PanelWorld::setAreaBit(bitArea, dhcpBit[1], true);
    NetworkPage world(1);
    world.started();
    NoticeListener runtime(noticePipe);
    PanelWorld::writeFile("/var/run/udhcpc1.pid"_s, "322\n"); // a client's start ends this one
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
                             << "禁用网络：|网络：|    网关：0.0.0.0|设置：|"
                                "外网Ping测试：|IP地址：|子网掩码：|    网关：|"
                                "DNS1：|DNS2：|MAC地址："_s.split(QLatin1Char('|'))
                             << QStringList{"默认上网卡信息："_s, "设为默认上网卡"_s, "测试"_s}
                             << QStringList{"静态IP"_s, "动态IP"_s}
                             << QStringList{"自动"_s, "有线网络0"_s, "有线网络1"_s};
    QTest::newRow("English") << int(Settings::English) << QStringList{"Disable Network:"_s,
                                                                      "Network:"_s,
                                                                      "Gateway:0.0.0.0"_s,
                                                                      "Setting:"_s,
                                                                      "OuterNet Ping Test:"_s,
                                                                      "IP Address:"_s,
                                                                      "Subnet Mask:"_s,
                                                                      "Gateway:"_s,
                                                                      "DNS1:"_s,
                                                                      "DNS2:"_s,
                                                                      "MAC Address:"_s}
                             << QStringList{"Default Network Adapter Info:"_s,
                                            "Set Default Network Adapter"_s, "test"_s}
                             << QStringList{"Static IP"_s, "Dynamic IP"_s}
                             << QStringList{"Auto"_s, "network0"_s, "network1"_s};
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
    QTest::newRow("on") << "on"_s << 1;
    QTest::newRow("off") << "off"_s << 0;
    QTest::newRow("absent") << QString() << 0;
}

void TestNetworkPage::beeps()
{
    QFETCH(QString, keyClick);
    QFETCH(int, count);
    NetworkPage world;
    world.started();
    if (!keyClick.isNull()) {
        world.settings.setValue("General/buzzer"_s, keyClick);
    }
    const auto beepsOf = [](auto&& action) {
        PanelWorld::clearCommands();
        action();
        return PanelWorld::commands().count(beep);
    };
    QCOMPARE(beepsOf([&] { Hands::press(world.pane(0).disableSwitch()); }), count);
    QCOMPARE(beepsOf([&] { Hands::press(world.pane(1).defaultButton()); }), count);
    QCOMPARE(beepsOf([&] { Hands::press(world.pane(0).testButton()); }), count);
    QCOMPARE(beepsOf([&] { world.page().onTabBarSwitched(1); }), count);
    QCOMPARE(beepsOf([&] { world.page().onSetTest(); }), count);
    QCOMPARE(beepsOf([&] { world.pane(0).modeBox().setCurrentIndex(1); }), count);
    QLineEdit* field = world.field(1, AdapterPane::Ip, 0);
    bool opened = false;
    // The field, and the two keys that are typed.
    QCOMPARE(beepsOf([&] { opened = NetworkPage::enter(field, "1"_s); }), 3 * count);
    QVERIFY(opened);
}

void TestNetworkPage::manyPages_leaveNothing()
{
    const auto descriptors = [] { return QDir("/proc/self/fd"_s).count(); };
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
