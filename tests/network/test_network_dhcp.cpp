#include "tests/network/Cable.h"
#include "tests/network/NetworkTest.h"
#include "tests/support/NoticeListener.h"

/// DHCP clients and what they lease.
class TestNetworkDhcp : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void dhcp_dynamicAndBack_data();
    void dhcp_dynamicAndBack();
    void dhcp_switchedOff_asksOnlyForEth1();
    void dhcp_withoutABox_isOfTheAdapterGiven();
    void dhcp_chosenWithoutABox_isOfEth1();
    void dhcp_box_saysWhichAdapter();
    void dhcp_twice_killsTheFirstClient();
    void dhcp_noLease_keepsPolling_data();
    void dhcp_noLease_keepsPolling();
    void lease_isStoredAsIfTyped_data();
    void lease_isStoredAsIfTyped();
    void lease_afterStart_isTaken();
    void poll_endsWithDynamicMode_data();
    void poll_endsWithDynamicMode();
    void liveAddress_isTheFirstOfAReadyAdapter();
};

void TestNetworkDhcp::dhcp_dynamicAndBack_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<quint32>("notice");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("gateway");
    QTest::newRow("eth0") << 0 << 67U << "192.168.0.5"_s
                          << "192.168.1.1"_s;
    QTest::newRow("eth1") << 1 << 76U << "10.0.0.6"_s
                          << "10.0.0.1"_s;
}

void TestNetworkDhcp::dhcp_dynamicAndBack()
{
    QFETCH(int, adapter);
    QFETCH(quint32, notice);
    QFETCH(QString, address);
    QFETCH(QString, gateway);
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    world.settings.setValue("General/buzzer"_s, "on"_s);
    const QString number = QString::number(adapter);
    PanelWorld::writeFile(resolver, "nameserver 8.8.8.8 # eth" + number.toLatin1());
    AdapterPane& pane = world.pane(adapter);
    pane.modeBox().setCurrentIndex(1);
    QTRY_COMPARE(
        PanelWorld::commands(),
        QStringList(
            {beep, "udhcpc -i eth%1 -t 100 -T 1 -A 1 -p /var/run/udhcpc%1.pid"_s.arg(number)}));
    QVERIFY(PanelWorld::areaBit(bitArea, dhcpBit[adapter]));
    QVERIFY(!PanelWorld::areaBit(bitArea, dhcpBit[1 - adapter]));
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({notice}));
    for (const QLineEdit* field : pane.fields()) {
        QCOMPARE(field->text(), "0"_s);
        QVERIFY(!field->isEnabled());
    }
    QVERIFY(!world.macField(adapter).isEnabled());
    QVERIFY(world.field(1 - adapter, AdapterPane::Ip, 0)->isEnabled());

    PanelWorld::writeFile("/var/run/udhcpc%1.pid"_s.arg(number), "321\n");
    PanelWorld::clearCommands();
    pane.modeBox().setCurrentIndex(0);
    QCOMPARE(PanelWorld::commands(),
             QStringList({beep, "kill 321"_s, "ifconfig eth%1 %2 up"_s.arg(number, address)}));
    QVERIFY(QFile::exists("/var/run/udhcpc%1.pid"_s.arg(number)));
    QCOMPARE(world.text(adapter, AdapterPane::Ip), address);
    QCOMPARE(world.text(adapter, AdapterPane::Gateway), gateway);
    QCOMPARE(world.text(adapter, AdapterPane::FirstDns), "8.8.8.8"_s);
    for (const QLineEdit* field : pane.fields()) {
        QVERIFY(field->isEnabled());
    }
    QVERIFY(world.macField(adapter).isEnabled());
    QVERIFY(!PanelWorld::areaBit(bitArea, dhcpBit[adapter]));
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({notice}));
}

void TestNetworkDhcp::dhcp_switchedOff_asksOnlyForEth1()
{
    for (const int adapter : {0, 1}) {
        NetworkPage world;
        world.started();
        world.pane(adapter).disableSwitch().click();
        PanelWorld::clearCommands();
        PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], true); // by the runtime
        world.page().refresh();
        QCOMPARE(world.pane(adapter).modeBox().currentIndex(), 1);
        QTRY_COMPARE(PanelWorld::commands().filter("udhcpc -i eth1"_s).size(), adapter);
        QCOMPARE(PanelWorld::commands().filter("udhcpc -i eth0"_s).size(), 0);
        QVERIFY(PanelWorld::areaBit(bitArea, dhcpBit[adapter]));
        const Cable cable(adapter);
        QTest::qWait(severalPolls);
        QCOMPARE(world.told.size(), adapter == 1 ? 3 : 0);
        resetPanel();
    }
}

void TestNetworkDhcp::dhcp_withoutABox_isOfTheAdapterGiven()
{
    for (const int adapter : {0, 1}) {
        NetworkPage world;
        world.started();
        NoticeListener runtime(noticePipe);
        world.page().updateDHCPConfig(Index(adapter), true);
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({adapter ? 76U : 67U}));
        QVERIFY(PanelWorld::areaBit(bitArea, dhcpBit[adapter]));
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QVERIFY(world.field(1 - adapter, AdapterPane::Ip, 0)->isEnabled());
        QTRY_COMPARE(PanelWorld::commands(),
                     QStringList("udhcpc -i eth%1 -t 100 -T 1 -A 1 -p /var/run/udhcpc%1.pid"_s.arg(
                         adapter)));
        resetPanel();
    }
}

void TestNetworkDhcp::dhcp_chosenWithoutABox_isOfEth1()
{
    PanelWorld::setAreaBit(bitArea, dhcpBit[1], true);
    NetworkPage world;
    world.started();
    world.settings.setValue("General/buzzer"_s, "on"_s);
    PanelWorld::writeFile("/var/run/udhcpc1.pid"_s, "322\n");
    world.page().onSetCombobox(0);
    QCOMPARE(world.pane(1).modeBox().currentIndex(), 0);
    // The box follows first, and does the same by itself. The client of the start may be written
    // down at any time.
    const QStringList once{"kill 322"_s, "ifconfig eth1 10.0.0.6 up"_s};
    QCOMPARE(PanelWorld::commands().filter(QRegularExpression("kill|setbeep|up$"_s)),
             QStringList({beep, beep}) + once + once);
}

void TestNetworkDhcp::dhcp_box_saysWhichAdapter()
{
    for (const int adapter : {0, 1}) {
        NetworkPage world;
        world.started();
        NetworkSettings& page = world.page();
        QComboBox& box = world.pane(adapter).modeBox();
        QVERIFY(
            disconnect(&box, SIGNAL(currentIndexChanged(int)), &page, SLOT(onSetCombobox(int))));
        connect(&box, QOverload<int>::of(&QComboBox::currentIndexChanged), &page,
                [&page, adapter](int index) { // the other adapter's number
                    page.updateDHCPConfig(Index(1 - adapter), index != 0);
                });
        NoticeListener runtime(noticePipe);
        // Synchronous signs of a client's start and of static mode.
        PanelWorld::writeFile("/var/run/udhcpc0.pid"_s, "321\n");
        PanelWorld::writeFile("/var/run/udhcpc1.pid"_s, "322\n");
        const QString kill = adapter ? "kill 322"_s : "kill 321"_s;
        box.setCurrentIndex(1);
        QCOMPARE(PanelWorld::commands().filter("kill"_s), QStringList(kill));
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({adapter ? 76U : 67U}));
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QVERIFY(world.field(1 - adapter, AdapterPane::Ip, 0)->isEnabled());
        box.setCurrentIndex(0);
        QCOMPARE(PanelWorld::commands().filter("kill"_s), QStringList({kill, kill}));
        QVERIFY(world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        // Of the number given, it asks only whether that adapter is switched off.
        world.pane(1 - adapter).disableSwitch().click();
        PanelWorld::clearCommands();
        runtime.takeNumbers();
        box.setCurrentIndex(1);
        QCOMPARE(PanelWorld::commands().filter("kill"_s),
                 adapter ? QStringList(kill) : QStringList());
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({adapter ? 76U : 67U}));
        resetPanel();
    }
}

void TestNetworkDhcp::dhcp_twice_killsTheFirstClient()
{
    NetworkPage world;
    world.started();
    world.page().udhcpc(NetworkSettings::Eth0);
    PanelWorld::writeFile("/var/run/udhcpc0.pid"_s, "99\n");
    world.page().udhcpc(NetworkSettings::Eth0);
    const QString client = "udhcpc -i eth0 -t 100 -T 1 -A 1 -p /var/run/udhcpc0.pid"_s;
    // Started in the background: the first may be written down after the kill.
    QTRY_COMPARE(PanelWorld::commands().size(), 3);
    QCOMPARE(PanelWorld::commands().count(client), 2);
    QVERIFY(PanelWorld::commands().contains("kill 99"_s));
    QCOMPARE(PanelWorld::commands().constLast(), client);
}

void TestNetworkDhcp::dhcp_noLease_keepsPolling_data()
{
    QTest::addColumn<int>("adapter");
    QTest::newRow("eth0") << 0;
    QTest::newRow("eth1") << 1;
}

void TestNetworkDhcp::dhcp_noLease_keepsPolling()
{
    QFETCH(int, adapter);
    NetworkPage world;
    world.started();
    TimerLog timers;
    world.pane(adapter).modeBox().setCurrentIndex(1);
    QTRY_VERIFY(timers.fired.size() >= 10); // the adapter does not exist in this panel
    QCOMPARE(timers.fired.count(pollInterval), timers.fired.size());
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(world.text(adapter, AdapterPane::Ip), "0.0.0.0"_s);
    QCOMPARE(world.page().getipAddress("eth%1"_s.arg(adapter)), QStringList());
}

void TestNetworkDhcp::lease_isStoredAsIfTyped_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<QList<int>>("recordBytes"); // address, mask, gateway
    QTest::addColumn<QList<int>>("areaBytes");
    QTest::addColumn<quint32>("notice");
    QTest::addColumn<QStringList>("routes");
    QTest::newRow("eth0") << 0 << QList<int>{41, 49, 45} << QList<int>{751, 771, 779} << 67U
                          << routes("10.1.2.1"_s, 1, "10.0.0.1"_s, 1);
    QTest::newRow("eth1") << 1 << QList<int>{174, 182, 178} << QList<int>{803, 823, 831} << 76U
                          << routes("192.168.1.1"_s, 1, "10.1.2.1"_s, 1);
}

void TestNetworkDhcp::lease_isStoredAsIfTyped()
{
    QFETCH(int, adapter);
    QFETCH(QList<int>, recordBytes);
    QFETCH(QList<int>, areaBytes);
    QFETCH(quint32, notice);
    QFETCH(QStringList, routes);
    const QList<QByteArray> values = {QByteArray("\x0A\x01\x02\x4D", 4),
                                      QByteArray("\xFF\xFF\x00\x00", 4),
                                      QByteArray("\x0A\x01\x02\x01", 4)};
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    world.pane(adapter).modeBox().setCurrentIndex(1);
    QTest::qWait(severalPolls);
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(PanelWorld::commands().size(), 1); // the client
    PanelWorld::clearCommands();
    const QString server = "nameserver %1 # eth%2\n"_s;
    PanelWorld::writeFile(
        resolver,
        (server.arg("8.8.8.8"_s).arg(adapter) + server.arg("9.9.9.9"_s).arg(adapter)).toLatin1());

    QVERIFY(QFile::remove(backup)); // which is asked for each time that a server is read
    const BusyTool touch("touch", ". /panel/lib/record\nrecord \"touch $*\"\nexit");
    QByteArray area = PanelWorld::fileContent(wordArea);
    QByteArray record(reinterpret_cast<const char*>(&world.record), sizeof world.record);
    const Cable cable(adapter);
    QTRY_COMPARE(world.told.size(), 3);
    for (int step = 0; step < 3; ++step) {
        QCOMPARE(world.told.at(step).type, step + 2);
        QCOMPARE(world.told.at(step).commands, QStringList());
        record.replace(recordBytes.at(step), 4, values.at(step));
        QCOMPARE(world.told.at(step).record, record);
        QCOMPARE(world.told.at(step).registers, area);
        area.replace(areaBytes.at(step), 8, values.at(step) + QByteArray(4, '\0'));
    }
    QCOMPARE(PanelWorld::fileContent(wordArea), area);
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({notice})); // of the mode only
    QCOMPARE(PanelWorld::commands(), repeated(2, "touch /etc/resolvbak.conf"_s) + routes);
    QCOMPARE(world.text(adapter, AdapterPane::Ip), "10.1.2.77"_s);
    QCOMPARE(world.text(adapter, AdapterPane::Mask), "255.255.0.0"_s);
    QCOMPARE(world.text(adapter, AdapterPane::Gateway), "10.1.2.1"_s);
    QCOMPARE(world.text(adapter, AdapterPane::FirstDns), "8.8.8.8"_s);
    QCOMPARE(world.text(adapter, AdapterPane::BackupDns), "9.9.9.9"_s);
    QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
    QTest::qWait(severalPolls);
    QCOMPARE(world.told.size(), 3); // nobody looks any more

    world.pane(adapter).modeBox().setCurrentIndex(0);
    QCOMPARE(world.text(adapter, AdapterPane::Ip), "10.1.2.77"_s);
}

void TestNetworkDhcp::lease_afterStart_isTaken()
{
    for (const int adapter : {0, 1}) {
        PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], true);
        TimerLog timers;
        NetworkPage world;
        world.started();
        QTRY_VERIFY(timers.fired.size() >= 2);
        QCOMPARE(timers.fired.count(pollInterval), timers.fired.size());
        const Cable cable(adapter);
        QTRY_COMPARE(world.told.size(), 3);
        QCOMPARE(world.text(adapter, AdapterPane::Ip), "10.1.2.77"_s);
        QCOMPARE(world.text(1 - adapter, AdapterPane::Ip).contains("10.1.2.77"_s), false);
        resetPanel();
    }
}

void TestNetworkDhcp::poll_endsWithDynamicMode_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<bool>("switchedOff"); // or else static
    QTest::addColumn<QStringList>("commands");
    for (const int adapter : {0, 1}) {
        const QString name = "eth%1"_s.arg(adapter);
        QTest::newRow(qPrintable(name + " off"_s))
            << adapter << true << QStringList{"ifconfig %1 down"_s.arg(name), "sync"_s};
        QTest::newRow(qPrintable(name + " static"_s))
            << adapter << false
            << QStringList{"kill 321"_s, "ifconfig %1 %2 up"_s.arg(
                                             name, adapter ? "10.0.0.6"_s : "192.168.0.5"_s)};
    }
}

void TestNetworkDhcp::poll_endsWithDynamicMode()
{
    QFETCH(int, adapter);
    QFETCH(bool, switchedOff);
    QFETCH(QStringList, commands);
    NetworkPage world;
    world.started();
    world.pane(adapter).modeBox().setCurrentIndex(1);
    QTRY_COMPARE(PanelWorld::commands().size(), 1);
    PanelWorld::clearCommands();
    PanelWorld::writeFile("/var/run/udhcpc%1.pid"_s.arg(adapter), "321\n");
    if (switchedOff) {
        world.pane(adapter).disableSwitch().click();
    } else {
        world.pane(adapter).modeBox().setCurrentIndex(0);
    }
    QCOMPARE(PanelWorld::commands(), commands); // the client outlives the switch
    const Cable cable(adapter);
    QTest::qWait(severalPolls);
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(PanelWorld::areaBit(bitArea, dhcpBit[adapter]), switchedOff);
}

void TestNetworkDhcp::liveAddress_isTheFirstOfAReadyAdapter()
{
    const NetworkSettings page;
    const QString eth0 = "eth0"_s;
    QCOMPARE(page.getipAddress(eth0), QStringList());
    Cable cable(0, "fd00::1/64"_s);
    QCOMPARE(page.getipAddress(eth0), QStringList());
    cable.addAddress("10.1.2.77/16"_s);
    cable.addAddress("10.9.9.9/8"_s);
    const QStringList first{"10.1.2.77"_s, "255.255.0.0"_s};
    QTRY_COMPARE(page.getipAddress(eth0), first); // the kernel takes its time with links
    QCOMPARE(page.getipAddress("eth1"_s), QStringList());
    cable.setFarEnd(false); // up, and no link
    QTRY_COMPARE(page.getipAddress(eth0), QStringList());
    cable.setFarEnd(true);
    QTRY_COMPARE(page.getipAddress(eth0), first);
    cable.setUp(false);
    QCOMPARE(page.getipAddress(eth0), QStringList());
}

QTEST_MAIN(TestNetworkDhcp)
#include "test_network_dhcp.moc"
