#include "tests/network/Cable.h"
#include "tests/network/NetworkTest.h"
#include "tests/network/Obstacles.h"
#include "tests/support/NoticeListener.h"

#include <QDir>
#include <QFileInfo>

#include <memory>

/// Adapters switched off and on.
class TestNetworkSwitch : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void switch_offAndOn_static_data();
    void switch_offAndOn_static();
    void switch_on_static_readsTheServersFirst();
    void switch_withoutAButton_isOfEth1();
    void switch_on_dynamic();
    void switch_on_takesTheModeAnew_data();
    void switch_on_takesTheModeAnew();
    void switch_off_leavesTheDefaultChoice();
    void switch_off_keepsTheOtherAsDefault_data();
    void switch_off_keepsTheOtherAsDefault();
    void switch_settingsNotWritable_loseNothing_data();
    void switch_settingsNotWritable_loseNothing();
};

void TestNetworkSwitch::switch_offAndOn_static_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<QString>("address");
    QTest::newRow("eth0") << 0 << "192.168.0.5"_s;
    QTest::newRow("eth1") << 1 << "10.0.0.6"_s;
}

void TestNetworkSwitch::switch_offAndOn_static()
{
    QFETCH(int, adapter);
    QFETCH(QString, address);
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    AdapterPane& pane = world.pane(adapter);
    pane.disableSwitch().click();
    QCOMPARE(switchInFile(adapter), "false"_s); // at once: no event has been handled since
    QCOMPARE(PanelWorld::commands(), QStringList({"ifconfig eth%1 down"_s.arg(adapter), "sync"_s}));
    QCOMPARE(pane.disableSwitch().styleSheet(), "border-image:url(:/Resources/switch_on.png);"_s);
    QVERIFY(PanelWorld::areaBit(bitArea, disabledBit[adapter]));
    QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[1 - adapter]));
    for (const QLineEdit* field : pane.fields()) {
        QCOMPARE(field->text(), "0"_s);
        QVERIFY(!field->isEnabled());
    }
    QVERIFY(!world.macField(adapter).isEnabled());
    QVERIFY(!pane.modeBox().isEnabled());
    QVERIFY(world.pane(1 - adapter).modeBox().isEnabled());
    for (const int shown : {0, 1}) {
        QComboBox& box = world.pane(shown).defaultBox();
        QCOMPARE(hiddenChoices(box), QList<int>({adapter + 1}));
        for (const int choice : {0, 1, 2}) { // nor with a wheel
            QCOMPARE(box.model()->flags(box.model()->index(choice, 0)).testFlag(Qt::ItemIsEnabled),
                     choice != adapter + 1);
        }
    }
    PanelWorld::clearCommands();
    PanelWorld::writeFile("/var/run/udhcpc%1.pid"_s.arg(adapter), "321\n");
    pane.disableSwitch().click();
    QCOMPARE(switchInFile(adapter), "true"_s);
    QCOMPARE(PanelWorld::commands(),
             QStringList(
                 {"kill 321"_s, "ifconfig eth%1 %2 up"_s.arg(QString::number(adapter), address)}) +
                 usualRoutes());
    for (const int shown : {0, 1}) {
        QCOMPARE(hiddenChoices(world.pane(shown).defaultBox()), QList<int>());
    }
    QCOMPARE(pane.disableSwitch().styleSheet(), "border-image:url(:/Resources/switch_off.png);"_s);
    QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[adapter]));
    QVERIFY(pane.modeBox().isEnabled());
    for (const QLineEdit* field : pane.fields()) {
        QVERIFY(field->isEnabled());
    }
    QVERIFY(world.macField(adapter).isEnabled());
    QCOMPARE(world.text(adapter, AdapterPane::Ip), address);
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
}

void TestNetworkSwitch::switch_on_static_readsTheServersFirst()
{
    NetworkPage world;
    world.started();
    world.pane(1).disableSwitch().click();
    PanelWorld::clearCommands();
    PanelWorld::writeFile("/var/run/udhcpc1.pid"_s, "321\n");
    QVERIFY(QFile::remove(backup)); // which is asked for each time that a server is read
    const BusyTool touch("touch", ". /panel/lib/record\nrecord \"touch $*\"\nexit");
    world.pane(1).disableSwitch().click();
    const QStringList servers = repeated(2, "touch /etc/resolvbak.conf"_s);
    QCOMPARE(PanelWorld::commands(), servers + QStringList("kill 321"_s) + servers +
                                         QStringList("ifconfig eth1 10.0.0.6 up"_s) +
                                         usualRoutes());
}

void TestNetworkSwitch::switch_withoutAButton_isOfEth1()
{
    NetworkPage world(1);
    world.started();
    world.page().onDisableNetworkSwitched();
    QCOMPARE(PanelWorld::commands(), QStringList({"ifconfig eth1 down"_s, "sync"_s}));
    QCOMPARE(hiddenChoices(world.pane(0).defaultBox()), QList<int>());
}

void TestNetworkSwitch::switch_on_dynamic()
{
    PanelWorld::setAreaBit(bitArea, dhcpBit[1], true);
    NetworkPage world;
    world.started();
    world.pane(1).disableSwitch().click();
    PanelWorld::clearCommands();
    // The servers are read first, one after the other: each finds that a file is missing.
    QVERIFY(QFile::remove(backup));
    const BusyTool touch("touch", ". /panel/lib/record\nrecord \"touch $*\"\nexit");
    world.pane(1).disableSwitch().click();
    QTRY_COMPARE(PanelWorld::commands(),
                 repeated(2, "touch /etc/resolvbak.conf"_s) +
                     QStringList("udhcpc -i eth1 -t 100 -T 1 -A 1 -p /var/run/udhcpc1.pid"_s));
    for (const QLineEdit* field : world.pane(1).fields()) {
        QCOMPARE(field->text(), "0"_s);
        QVERIFY(!field->isEnabled());
    }
    QCOMPARE(world.pane(1).modeBox().currentIndex(), 1);
    QVERIFY(world.pane(1).modeBox().isEnabled());
    const Cable cable(1);
    QTRY_COMPARE(world.text(1, AdapterPane::Ip), "10.1.2.77"_s);
}

void TestNetworkSwitch::switch_on_takesTheModeAnew_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<bool>("dynamic"); // when it is switched on, and not when it was switched off
    QTest::newRow("eth0 static") << 0 << false;
    QTest::newRow("eth0 dynamic") << 0 << true;
    QTest::newRow("eth1 static") << 1 << false;
    QTest::newRow("eth1 dynamic") << 1 << true;
}

void TestNetworkSwitch::switch_on_takesTheModeAnew()
{
    QFETCH(int, adapter);
    QFETCH(bool, dynamic);
    PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], !dynamic);
    NetworkPage world;
    world.started();
    AdapterPane& pane = world.pane(adapter);
    pane.disableSwitch().click();
    QCOMPARE(pane.modeBox().currentIndex(), dynamic ? 0 : 1);
    PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], dynamic); // by the runtime
    world.settings.setValue("General/buzzer"_s, "on"_s);
    PanelWorld::writeFile("/var/run/udhcpc%1.pid"_s.arg(adapter), "321\n");
    PanelWorld::clearCommands();
    pane.disableSwitch().click();
    // The box follows the mode, which does the same again; but for eth0, which asks for no address
    // while it counts as switched off.
    const QString up =
        "ifconfig eth%1 %2 up"_s.arg(adapter).arg(adapter ? "10.0.0.6"_s : "192.168.0.5"_s);
    const QString kill = "kill 321"_s;
    QStringList order = {kill, beep};
    if (!dynamic) {
        order << kill << up << up;
    } else if (adapter == 1) {
        order << kill;
    }
    // A client may be written down at any time.
    QCOMPARE(PanelWorld::commands().filter(QRegularExpression("kill|setbeep|up$"_s)), order);
    QCOMPARE(pane.modeBox().currentIndex(), dynamic ? 1 : 0);
    QCOMPARE(world.field(adapter, AdapterPane::Ip, 0)->isEnabled(), !dynamic);
    QCOMPARE(PanelWorld::areaBit(bitArea, dhcpBit[adapter]), dynamic);
}

void TestNetworkSwitch::switch_off_leavesTheDefaultChoice()
{
    NetworkPage world;
    world.started();
    world.pane(0).defaultBox().setCurrentIndex(2);
    QCOMPARE(storedPreference(), '\2');
    PanelWorld::clearCommands();
    world.pane(1).disableSwitch().click();
    // The gateway of the adapter is gone with its fields; once for each box.
    const QStringList rebuilt = routes("192.168.1.1"_s, 1, "0.0.0.0"_s, 1);
    QCOMPARE(PanelWorld::commands(),
             rebuilt + rebuilt + QStringList({"ifconfig eth1 down"_s, "sync"_s}));
    for (const int shown : {0, 1}) {
        QComboBox& box = world.pane(shown).defaultBox();
        QCOMPARE(box.currentIndex(), 0);
        QVERIFY(qobject_cast<QListView*>(box.view())->isRowHidden(2));
    }
    QCOMPARE(storedPreference(), '\0');
    world.pane(1).disableSwitch().click();
    for (const int shown : {0, 1}) {
        QComboBox& box = world.pane(shown).defaultBox();
        QVERIFY(!qobject_cast<QListView*>(box.view())->isRowHidden(2));
    }
}

void TestNetworkSwitch::switch_off_keepsTheOtherAsDefault_data()
{
    QTest::addColumn<int>("adapter"); // switched off and on again
    QTest::newRow("eth0") << 0;
    QTest::newRow("eth1") << 1;
}

void TestNetworkSwitch::switch_off_keepsTheOtherAsDefault()
{
    QFETCH(int, adapter);
    NetworkPage world;
    world.started();
    const int chosen = 2 - adapter;
    world.pane(0).defaultBox().setCurrentIndex(chosen);
    NoticeListener runtime(noticePipe);
    PanelWorld::clearCommands();
    for (const bool off : {true, false}) {
        world.pane(adapter).disableSwitch().click();
        QCOMPARE(hiddenChoices(world.pane(0).defaultBox()).contains(adapter + 1), off);
        for (const int shown : {0, 1}) {
            QCOMPARE(world.pane(shown).defaultBox().currentIndex(), chosen);
        }
        QCOMPARE(storedPreference(), char(chosen));
    }
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
    // Once, when it is switched on again: no box has run its slot.
    QCOMPARE(PanelWorld::commands().filter("route"_s),
             routes("192.168.1.1"_s, 1 - adapter, "10.0.0.1"_s, adapter));
}

void TestNetworkSwitch::switch_settingsNotWritable_loseNothing_data()
{
    QTest::addColumn<bool>("full"); // or else nobody may make a file there
    QTest::newRow("disk is full") << true;
    QTest::newRow("folder is locked") << false;
}

void TestNetworkSwitch::switch_settingsNotWritable_loseNothing()
{
    QFETCH(bool, full);
    const QFileInfo file(settingsPath);
    NetworkPage world;
    world.started();
    world.settings.setValue("General/buzzer"_s, "off"_s);
    world.settings.sync();
    const QByteArray stored = PanelWorld::fileContent(settingsPath);
    QVERIFY(stored.contains("buzzer=off"));
    const QStringList files = file.dir().entryList(QDir::Files);
    {
        const BusyTool ifconfig("ifconfig", "ulimit -S -f unlimited"); // the log has room
        const BusyTool sync("sync", "ulimit -S -f unlimited");
        const QFile::Permissions before = QFile::permissions(file.path());
        std::unique_ptr<NoRoom> noRoom;
        std::unique_ptr<NoOverride> noOverride;
        if (full) {
            noRoom = std::make_unique<NoRoom>();
        } else {
            noOverride = std::make_unique<NoOverride>();
            QVERIFY(QFile::setPermissions(file.path(), QFile::ReadOwner | QFile::ExeOwner));
        }
        world.pane(0).disableSwitch().click();
        QVERIFY(QFile::setPermissions(file.path(), before));
    }
    QCOMPARE(PanelWorld::fileContent(settingsPath), stored);
    QCOMPARE(file.dir().entryList(QDir::Files), files);
    QCOMPARE(PanelWorld::commands(), QStringList({"ifconfig eth0 down"_s, "sync"_s}));
    QVERIFY(full || PanelWorld::areaBit(bitArea, disabledBit[0]));
    QVERIFY(!world.field(0, AdapterPane::Ip, 0)->isEnabled());
    world.pane(1).disableSwitch().click();
    // What could not be stored is now, beside the new choice.
    QCOMPARE(switchInFile(0), "false"_s);
    QCOMPARE(switchInFile(1), "false"_s);
    world.pane(0).disableSwitch().click();
    world.pane(1).disableSwitch().click();
    QVERIFY(world.field(0, AdapterPane::Ip, 0)->isEnabled());
    QCOMPARE(PanelWorld::fileContent(settingsPath), stored);
}

QTEST_MAIN(TestNetworkSwitch)
#include "test_network_switch.moc"
