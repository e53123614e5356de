#include "tests/network/NetworkTest.h"
#include "tests/support/NoticeListener.h"

/// Default routes and the choice of the default adapter.
class TestNetworkRoutes : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void routes_followTheRegister_data();
    void routes_followTheRegister();
    void routes_choosing_runsTheSlotOncePerBox();
    void routes_button_storesTheAdapterNumber_data();
    void routes_button_storesTheAdapterNumber();
    void routes_unknownPreference_isIgnored();
};

void TestNetworkRoutes::routes_followTheRegister_data()
{
    QTest::addColumn<int>("preference");
    QTest::addColumn<int>("metric0");
    QTest::addColumn<int>("metric1");
    QTest::newRow("none") << 0 << 1 << 1;
    QTest::newRow("eth0") << 1 << 0 << 1;
    QTest::newRow("eth1") << 2 << 1 << 0;
    QTest::newRow("no adapter") << 9 << 1 << 1;
}

void TestNetworkRoutes::routes_followTheRegister()
{
    QFETCH(int, preference);
    QFETCH(int, metric0);
    QFETCH(int, metric1);
    NetworkPage world;
    world.started();
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, char(preference)));
    world.page().updateDefaultGatewayFromReg();
    const QStringList expected = routes("192.168.1.1"_s, metric0, "10.0.0.1"_s, metric1);
    QCOMPARE(PanelWorld::commands(), expected);
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\0'));
    PanelWorld::clearCommands();
    world.page().setGateway(preference); // and as given
    QCOMPARE(PanelWorld::commands(), expected);
}

void TestNetworkRoutes::routes_choosing_runsTheSlotOncePerBox()
{
    for (const int chosen : {0, 1}) {
        NetworkPage world;
        world.started();
        NoticeListener runtime(noticePipe);
        world.settings.setValue("General/buzzer"_s, "on"_s);
        Looks looks("route", "od -An -tu1 -N1 -j180 /hmi_data/sfw.dat");
        world.pane(chosen).defaultBox().setCurrentIndex(1);
        // Each time the routes come first, then the register.
        QCOMPARE(looks.take(), repeated(4, "0"_s) + repeated(4, "1"_s));
        const QStringList rebuilt = routes("192.168.1.1"_s, 0, "10.0.0.1"_s, 1);
        // The second box follows and runs the slot as well; only the first one beeps.
        QCOMPARE(PanelWorld::commands(), QStringList(beep) + rebuilt + rebuilt);
        QCOMPARE(world.pane(0).defaultBox().currentIndex(), 1);
        QCOMPARE(world.pane(1).defaultBox().currentIndex(), 1);
        QCOMPARE(storedPreference(), '\1');
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({78, 78}));
        PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\0'));
        PanelWorld::clearCommands();
    }
}

void TestNetworkRoutes::routes_button_storesTheAdapterNumber_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<QString>("gateway");
    QTest::addColumn<int>("metric0");
    QTest::newRow("eth0") << 0 << "192.168.1.1"_s << 1;
    QTest::newRow("eth1") << 1 << "10.0.0.1"_s << 0;
}

void TestNetworkRoutes::routes_button_storesTheAdapterNumber()
{
    QFETCH(int, adapter);
    QFETCH(QString, gateway);
    QFETCH(int, metric0);
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    const QByteArray before = PanelWorld::fileContent(byteArea);
    for (const int shown : {0, 1}) {
        world.gatewayLabel(shown).clear();
        world.networkLabel(shown).clear();
    }
    world.pane(adapter).defaultButton().click();
    QByteArray expected = before;
    expected[preferenceByte] = char(adapter);
    QCOMPARE(PanelWorld::fileContent(byteArea), expected); // one byte of the four passed
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({78}));
    QCOMPARE(PanelWorld::commands(), routes("192.168.1.1"_s, metric0, "10.0.0.1"_s, 1));
    for (const int shown : {0, 1}) {
        QCOMPARE(world.gatewayLabel(shown).text(), "Gateway:"_s + gateway);
        QCOMPARE(world.networkLabel(shown).text(), "Network:"_s);
    }
}

void TestNetworkRoutes::routes_unknownPreference_isIgnored()
{
    NetworkPage world(1);
    world.started();
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\2'));
    world.page().refresh();
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(storedPreference(), '\2');
}

QTEST_MAIN(TestNetworkRoutes)
#include "test_network_routes.moc"
