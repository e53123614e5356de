#include "tests/network/NetworkPage.h"

#include <QMessageBox>
#include <QProcess>

namespace {

QString line(const char* text)
{
    return QString::fromLatin1(text);
}

/// What a command prints.
QString output(const char* command)
{
    QProcess shell;
    shell.start(line("/bin/sh"), {line("-c"), line(command)});
    shell.waitForFinished();
    return QString::fromLatin1(shell.readAllStandardOutput());
}

/// Address and prefix length of an adapter as the kernel has them.
QString address(const char* name)
{
    return output(qPrintable(QStringLiteral("ip -4 -o addr show %1").arg(line(name))))
        .section(line("inet "), 1)
        .section(QLatin1Char(' '), 0, 0);
}

bool isUp(const char* name)
{
    return output(qPrintable(QStringLiteral("ip -o link show %1").arg(line(name))))
        .contains(QRegularExpression(line("[<,]UP[,>]")));
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
    QString text;
    const auto find = [&text] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box) {
            text = box->text();
            box->close();
        }
        return box != nullptr;
    };
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, find);
    look.start(50);
    for (int wait = 0; wait < 100 && text.isEmpty(); ++wait) {
        QTest::qWait(100);
    }
    return text;
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
        PanelWorld::setAreaBit(line("/hmi_data/sfb.dat"), bit, false);
    }
    PanelWorld::patchFile(line("/hmi_data/sfw.dat"), 180, QByteArray(1, '\0')); // no preference
    PanelWorld::writeFile(line("/etc/resolv.conf"), QByteArray());
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
    QCOMPARE(address("eth0"), line("192.168.1.10/24"));
    // With equal metrics, the kernel puts the newest first.
    QCOMPARE(defaultRoutes(), QStringList({line("default via 192.168.2.1 dev eth1 metric 1"),
                                           line("default via 192.168.1.1 dev eth0 metric 1")}));
    QVERIFY(m_world->enter(m_world->field(0, AdapterPane::Ip, 3), line("77")));
    QCOMPARE(address("eth0"), line("192.168.1.77/24"));
    m_world->pane(0).defaultBox().setCurrentIndex(2);
    QCOMPARE(defaultRoutes(), QStringList({line("default via 192.168.2.1 dev eth1"),
                                           line("default via 192.168.1.1 dev eth0 metric 1")}));
    QVERIFY(m_world->enter(m_world->field(0, AdapterPane::Mask, 2), line("0")));
    QCOMPARE(address("eth0"), line("192.168.1.77/16"));
}

void TestLiveNetwork::entry_inTheWindow_reachesImageRegisterAndKernel()
{
    Settings window(nullptr);
    window.init();
    window.show();
    window.findChild<QPushButton*>(line("networkPushButton"))->click();
    auto* page = window.findChild<NetworkSettings*>();
    const QByteArray before = PanelWorld::image();
    QCOMPARE(defaultRoutes(), QStringList(line("default via 192.168.1.1 dev eth0 metric 1")));
    const auto fields = page->findChildren<QLineEdit*>();
    const auto third = std::find_if(fields.begin(), fields.end(), [page](QLineEdit* field) {
        return page->isConfigIp(NetworkSettings::Eth0, field) && field->text() == line("1");
    });
    QVERIFY(third != fields.end());
    QVERIFY(NetworkPage::enter(*third, line("7")));
    QByteArray expected = before;
    expected.replace(41, 4, QByteArray("\xC0\xA8\x07\x0A", 4));
    QCOMPARE(PanelWorld::image(), expected);
    QCOMPARE(address("eth0"), line("192.168.7.10/24"));
    QCOMPARE(PanelWorld::fileContent(line("/tmp/smw.dat")).mid(751, 8),
             QByteArray("\xC0\xA8\x07\x0A\0\0\0\0", 8));
    // The new address does not reach the old gateway: of the routes that the page asks for, the
    // kernel takes the other one.
    QCOMPARE(defaultRoutes(), QStringList(line("default via 192.168.2.1 dev eth1 metric 1")));
}

void TestLiveNetwork::chooseDynamic(int adapter)
{
    // Without the old address, which the first look for a lease takes when the client starts
    // slowly.
    output(qPrintable(QStringLiteral("ifconfig eth%1 0.0.0.0").arg(adapter)));
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
    const QString segment = QStringLiteral("192.168.%1.").arg(adapter + 1);
    const QString router = segment + line("1");
    PanelWorld::writeFile(line("/etc/resolv.conf"), kept + '\n');
    chooseDynamic(adapter);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->told.size(), 3, 20000);
    const QString ip = m_world->text(adapter, AdapterPane::Ip);
    QVERIFY2(ip.startsWith(router) && ip != segment + line("10"), qPrintable(ip));
    QCOMPARE(address(name.constData()), ip + line("/24"));
    QCOMPARE(m_world->text(adapter, AdapterPane::Mask), line("255.255.255.0"));
    QCOMPARE(m_world->text(adapter, AdapterPane::Gateway), router);
    QCOMPARE(m_world->text(adapter, AdapterPane::FirstDns), router);
    QCOMPARE(m_world->text(adapter, AdapterPane::BackupDns), line("203.0.113.10"));
    QVERIFY(!m_world->field(adapter, AdapterPane::Ip, 0)->isEnabled());
    QVERIFY(PanelWorld::fileContent(line("/etc/resolv.conf")).contains(kept));
    QVERIFY(defaultRoutes().contains(
        QStringLiteral("default via %1 dev eth%2 metric 1").arg(router).arg(adapter)));
    // Static again: the lease stays, as it is the record's now.
    m_world->pane(adapter).modeBox().setCurrentIndex(0);
    QCOMPARE(m_world->text(adapter, AdapterPane::Ip), ip);
    QTRY_COMPARE(output("ps -o comm | grep -c udhcpc").trimmed(), line("0"));
    QCOMPARE(address(name.constData()), ip + line("/24"));
}

void TestLiveNetwork::dynamic_lateAnswer_isStillTaken()
{
    output("plant dhcp 1 late 3");
    chooseDynamic(1);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->told.size(), 3, 30000);
    QCOMPARE(address("eth1"), m_world->text(1, AdapterPane::Ip) + line("/24"));
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
    QCOMPARE(m_world->text(1, AdapterPane::Ip), line("0.0.0.0"));
    output("plant link 1 down");
    QTest::qWait(1000);
    output("plant link 1 up");
    QVERIFY(m_world->enter(m_world->field(0, AdapterPane::Ip, 3), line("9")));
    QCOMPARE(address("eth0"), line("192.168.1.9/24"));
    m_world->pane(1).modeBox().setCurrentIndex(0);
    QCOMPARE(m_world->text(1, AdapterPane::Ip), line("192.168.2.10"));
}

void TestLiveNetwork::dynamic_pulledCable_leaseIsTakenWhenItIsBack()
{
    output("plant dhcp 1 off");
    chooseDynamic(1);
    QTRY_COMPARE(output("ps -o comm | grep -cx udhcpc").trimmed(), line("1"));
    output("plant link 1 down; plant dhcp 1 on");
    QTest::qWait(1000);
    QCOMPARE(m_world->told.size(), 0);
    QCOMPARE(m_world->text(1, AdapterPane::Ip), line("0.0.0.0"));
    output("plant link 1 up");
    QTRY_COMPARE_WITH_TIMEOUT(m_world->told.size(), 3, 30000);
    QCOMPARE(address("eth1"), m_world->text(1, AdapterPane::Ip) + line("/24"));
}

void TestLiveNetwork::switch_takesTheInterfaceDownAndUp()
{
    QVERIFY(isUp("eth0"));
    m_world->pane(0).disableSwitch().click();
    QVERIFY(!isUp("eth0"));
    m_world->pane(0).disableSwitch().click();
    QVERIFY(isUp("eth0"));
    QCOMPARE(address("eth0"), line("192.168.1.10/24"));
}

void TestLiveNetwork::test_tellsWhetherTheOutsideAnswers_data()
{
    QTest::addColumn<QString>("plant");
    QTest::addColumn<QString>("text");
    QTest::newRow("up") << line("plant outside up") << line("test successful");
    QTest::newRow("down") << line("plant outside down") << line("test failed");
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
        pingRuns = output("ps -o comm | grep -cx ping").trimmed() == line("1");
    }
    QVERIFY(pingRuns || text == line("test successful"));
    QCOMPARE(nextBox(), text);
}

QTEST_MAIN(TestLiveNetwork)
#include "test_live_network.moc"
