#include "tests/network/NetworkPage.h"

#include <QMessageBox>
#include <QProcess>

namespace {

/// What a command prints.
QString output(const char* command)
{
    QProcess shell;
    shell.start("/bin/sh"_s, {"-c"_s, QString::fromLatin1(command)});
    shell.waitForFinished();
    return QString::fromLatin1(shell.readAllStandardOutput());
}

/// Address and prefix length of an adapter as the kernel has them.
QString address(const char* name)
{
    return output(qPrintable("ip -4 -o addr show %1"_s.arg(QString::fromLatin1(name))))
        .section("inet "_s, 1)
        .section(QLatin1Char(' '), 0, 0);
}

bool isUp(const char* name)
{
    return output(qPrintable("ip -o link show %1"_s.arg(QString::fromLatin1(name))))
        .contains(QRegularExpression("[<,]UP[,>]"_s));
}

QStringList defaultRoutes()
{
    QStringList routes;
    for (const QString& route :
         output("ip route show default").split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        routes << route.simplified();
    }
    return routes;
}

/// What the box says that opens within the next seconds; empty when none does.
QString nextBox()
{
    const Hands::Answers answers;
    for (int wait = 0; wait < 100 && answers.boxes().isEmpty(); ++wait) {
        QTest::qWait(100);
    }
    return answers.only().text;
}

} // namespace

/// The page on adapters, routes, leases and hosts that are there.
class TestLiveNetwork : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void entry_reachesTheKernel();
    void entry_inTheWindow_reachesImageRegisterAndKernel();
    void dynamic_takesTheLease_data();
    void dynamic_takesTheLease();
    void dynamic_lateAnswer_isStillTaken();
    void dynamic_gatewayIsTheFirstHost();
    void dynamic_noAnswer_pageStaysUsable();
    void dynamic_pulledCable_leaseIsTakenWhenItIsBack();
    void switch_takesTheInterfaceDownAndUp();
    void test_tellsWhetherTheOutsideAnswers_data();
    void test_tellsWhetherTheOutsideAnswers();

private:
    void chooseDynamic(int adapter);

    std::unique_ptr<NetworkPage> m_world;
};

void TestLiveNetwork::init()
{
    QFile::remove(settingsPath);
    for (const int bit : {20, 21}) {
        PanelWorld::setAreaBit("/hmi_data/sfb.dat"_s, bit, false);
    }
    PanelWorld::patchFile("/hmi_data/sfw.dat"_s, 180, QByteArray(1, '\0')); // no preference
    PanelWorld::writeFile("/etc/resolv.conf"_s, QByteArray());
    m_world = std::make_unique<NetworkPage>();
    m_world->record.eth0_ip = 0x0A01A8C0;
    m_world->record.eth0_gateway = 0x0101A8C0;
    m_world->record.eth1_ip = 0x0A02A8C0;
    m_world->record.eth1_mask = 0x00FFFFFF;
    m_world->record.eth1_gateway = 0x0102A8C0;
    m_world->started();
}

void TestLiveNetwork::cleanup()
{
    m_world->page().killudhcpc(NetworkSettings::Eth0);
    m_world->page().killudhcpc(NetworkSettings::Eth1);
    m_world.reset();
    output("plant dhcp 1 on; plant lease 1 usual; plant outside up; rm -f /var/run/udhcpc*.pid");
}

void TestLiveNetwork::entry_reachesTheKernel()
{
    QCOMPARE(address("eth0"), "192.168.1.10/24"_s);
    // With equal metrics, the kernel puts the newest first.
    QCOMPARE(defaultRoutes(), QStringList({"default via 192.168.2.1 dev eth1 metric 1"_s,
                                           "default via 192.168.1.1 dev eth0 metric 1"_s}));
    QVERIFY(m_world->enter(m_world->field(0, AdapterPane::Ip, 3), "77"_s));
    QCOMPARE(address("eth0"), "192.168.1.77/24"_s);
    m_world->pane(0).defaultBox().setCurrentIndex(2);
    QCOMPARE(defaultRoutes(), QStringList({"default via 192.168.2.1 dev eth1"_s,
                                           "default via 192.168.1.1 dev eth0 metric 1"_s}));
    QVERIFY(m_world->enter(m_world->field(0, AdapterPane::Mask, 2), "0"_s));
    QCOMPARE(address("eth0"), "192.168.1.77/16"_s);
}

void TestLiveNetwork::entry_inTheWindow_reachesImageRegisterAndKernel()
{
    Settings window(nullptr);
    window.init();
    window.show();
    window.findChild<QPushButton*>("networkPushButton"_s)->click();
    auto* page = window.findChild<NetworkSettings*>();
    const QByteArray before = PanelWorld::image();
    QCOMPARE(defaultRoutes(), QStringList("default via 192.168.1.1 dev eth0 metric 1"_s));
    const auto fields = page->findChildren<QLineEdit*>();
    const auto third = std::find_if(fields.begin(), fields.end(), [page](QLineEdit* field) {
        return page->isConfigIp(NetworkSettings::Eth0, field) && field->text() == "1"_s;
    });
    QVERIFY(third != fields.end());
    QVERIFY(NetworkPage::enter(*third, "7"_s));
    QByteArray expected = before;
    expected.replace(41, 4, QByteArray("\xC0\xA8\x07\x0A", 4));
    QCOMPARE(PanelWorld::image(), expected);
    QCOMPARE(address("eth0"), "192.168.7.10/24"_s);
    QCOMPARE(PanelWorld::fileContent("/tmp/smw.dat"_s).mid(751, 8),
             QByteArray("\xC0\xA8\x07\x0A\0\0\0\0", 8));
    // The new address does not reach the old gateway: of the routes that the page asks for, the
    // kernel takes the other one.
    QCOMPARE(defaultRoutes(), QStringList("default via 192.168.2.1 dev eth1 metric 1"_s));
}

void TestLiveNetwork::chooseDynamic(int adapter)
{
    // Without the old address, which the first look for a lease takes when the client starts
    // slowly.
    output(qPrintable("ifconfig eth%1 0.0.0.0"_s.arg(adapter)));
    m_world->pane(adapter).modeBox().setCurrentIndex(1);
}

void TestLiveNetwork::dynamic_takesTheLease_data()
{
    QTest::addColumn<int>("adapter");
    QTest::newRow("eth0") << 0;
    QTest::newRow("eth1") << 1;
}

void TestLiveNetwork::dynamic_takesTheLease()
{
    QFETCH(int, adapter);
    const QByteArray name = "eth" + QByteArray::number(adapter);
    const QByteArray kept = "nameserver 1.2.3.4 # eth" + QByteArray::number(1 - adapter);
    const QString segment = "192.168.%1."_s.arg(adapter + 1);
    const QString router = segment + "1"_s;
    PanelWorld::writeFile("/etc/resolv.conf"_s, kept + '\n');
    chooseDynamic(adapter);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->told.size(), 3, 20000);
    const QString ip = m_world->text(adapter, AdapterPane::Ip);
    QVERIFY2(ip.startsWith(router) && ip != segment + "10"_s, qPrintable(ip));
    QCOMPARE(address(name.constData()), ip + "/24"_s);
    QCOMPARE(m_world->text(adapter, AdapterPane::Mask), "255.255.255.0"_s);
    QCOMPARE(m_world->text(adapter, AdapterPane::Gateway), router);
    QCOMPARE(m_world->text(adapter, AdapterPane::FirstDns), router);
    QCOMPARE(m_world->text(adapter, AdapterPane::BackupDns), "203.0.113.10"_s);
    QVERIFY(!m_world->field(adapter, AdapterPane::Ip, 0)->isEnabled());
    QVERIFY(PanelWorld::fileContent("/etc/resolv.conf"_s).contains(kept));
    QVERIFY(
        defaultRoutes().contains("default via %1 dev eth%2 metric 1"_s.arg(router).arg(adapter)));
    // Static again: the lease stays, as it is the record's now.
    m_world->pane(adapter).modeBox().setCurrentIndex(0);
    QCOMPARE(m_world->text(adapter, AdapterPane::Ip), ip);
    QTRY_COMPARE(output("ps -o comm | grep -c udhcpc").trimmed(), "0"_s);
    QCOMPARE(address(name.constData()), ip + "/24"_s);
}

void TestLiveNetwork::dynamic_lateAnswer_isStillTaken()
{
    output("plant dhcp 1 late 3");
    chooseDynamic(1);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->told.size(), 3, 30000);
    QCOMPARE(address("eth1"), m_world->text(1, AdapterPane::Ip) + "/24"_s);
}

void TestLiveNetwork::dynamic_gatewayIsTheFirstHost()
{
    output("plant lease 1 10.1.2.77 255.255.0.0");
    chooseDynamic(1);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->told.size(), 3, 20000);
    QCOMPARE(m_world->told.at(0).record.mid(174, 4), QByteArray("\x0A\x01\x02\x4D", 4));
    QCOMPARE(m_world->told.at(1).record.mid(182, 4), QByteArray("\xFF\xFF\0\0", 4));
    QCOMPARE(m_world->told.at(2).record.mid(178, 4), QByteArray("\x0A\x01\x02\x01", 4));
}

void TestLiveNetwork::dynamic_noAnswer_pageStaysUsable()
{
    output("plant dhcp 1 off");
    chooseDynamic(1);
    QTest::qWait(10000);
    QCOMPARE(m_world->told.size(), 0);
    QCOMPARE(m_world->text(1, AdapterPane::Ip), "0.0.0.0"_s);
    output("plant link 1 down");
    QTest::qWait(1000);
    output("plant link 1 up");
    QVERIFY(m_world->enter(m_world->field(0, AdapterPane::Ip, 3), "9"_s));
    QCOMPARE(address("eth0"), "192.168.1.9/24"_s);
    m_world->pane(1).modeBox().setCurrentIndex(0);
    QCOMPARE(m_world->text(1, AdapterPane::Ip), "192.168.2.10"_s);
}

void TestLiveNetwork::dynamic_pulledCable_leaseIsTakenWhenItIsBack()
{
    output("plant dhcp 1 off");
    chooseDynamic(1);
    QTRY_COMPARE(output("ps -o comm | grep -cx udhcpc").trimmed(), "1"_s);
    output("plant link 1 down; plant dhcp 1 on");
    QTest::qWait(1000);
    QCOMPARE(m_world->told.size(), 0);
    QCOMPARE(m_world->text(1, AdapterPane::Ip), "0.0.0.0"_s);
    output("plant link 1 up");
    QTRY_COMPARE_WITH_TIMEOUT(m_world->told.size(), 3, 30000);
    QCOMPARE(address("eth1"), m_world->text(1, AdapterPane::Ip) + "/24"_s);
}

void TestLiveNetwork::switch_takesTheInterfaceDownAndUp()
{
    QVERIFY(isUp("eth0"));
    m_world->pane(0).disableSwitch().click();
    QVERIFY(!isUp("eth0"));
    m_world->pane(0).disableSwitch().click();
    QVERIFY(isUp("eth0"));
    QCOMPARE(address("eth0"), "192.168.1.10/24"_s);
}

void TestLiveNetwork::test_tellsWhetherTheOutsideAnswers_data()
{
    QTest::addColumn<QString>("plant");
    QTest::addColumn<QString>("text");
    QTest::newRow("up") << "plant outside up"_s
                        << "test successful"_s;
    QTest::newRow("down") << "plant outside down"_s
                          << "test failed"_s;
}

void TestLiveNetwork::test_tellsWhetherTheOutsideAnswers()
{
    QFETCH(QString, plant);
    QFETCH(QString, text);
    output(qPrintable(plant));
    m_world->pane(1).testButton().click();
    // Without an answer, the ping goes on beside the page. No events: they bring the box.
    bool pingRuns = false;
    for (int look = 0; look < 100 && !pingRuns; ++look) {
        pingRuns = output("ps -o comm | grep -cx ping").trimmed() == "1"_s;
    }
    QVERIFY(pingRuns || text == "test successful"_s);
    QCOMPARE(nextBox(), text);
}

QTEST_MAIN(TestLiveNetwork)
#include "test_live_network.moc"
