#include "adapters/AdapterMode.h"
#include "adapters/AdapterSwitch.h"
#include "adapters/AddressRecord.h"
#include "adapters/DefaultRoutes.h"
#include "adapters/DhcpClient.h"
#include "adapters/DottedQuad.h"
#include "adapters/PingTest.h"
#include "adapters/RunningAdapter.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QFile>
#include <QSettings>
#include <QTest>

#include <cstring>
#include <iterator>

namespace {

const QString settingsPath = "/tmp/switches.ini"_s;
const QString bitArea = "/hmi_data/sfb.dat"_s;
const QString byteArea = "/hmi_data/sfw.dat"_s;
constexpr int preferenceByte = 180;
constexpr int dhcpBit[2] = {20, 21};
constexpr int disabledBit[2] = {13, 14};
constexpr int noAdapters[] = {-1, 2};

QString line(const char* text)
{
    return QString::fromLatin1(text);
}

QByteArray bytesOf(const EEInfoDetail::Flash_WR_1& record)
{
    return QByteArray(reinterpret_cast<const char*>(&record), sizeof record);
}

} // namespace

/// The adapters without a page.
class TestAdapters : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void quad_threeShapes();
    void pid_isTakenFromDigitsOnly_data();
    void pid_isTakenFromDigitsOnly();
    void pingOutput_withTtl_isAReply();
    void adapterTable_isAsTheDeviceHasIt();
    void record_changesFourBytes_data();
    void record_changesFourBytes();
    void mac_isSixTexts();
    void mode_isBit0OfItsRegister_data();
    void mode_isBit0OfItsRegister();
    void switch_isInFileAndRegister_data();
    void switch_isInFileAndRegister();
    void switch_withoutAFile_isOn();
    void preference_hasTwoNumberings();
    void routes_areOfBothAdapters();
    void running_commandsOfOneAdapter_data();
    void running_commandsOfOneAdapter();
    void otherAdapters_doNothing();
};

void TestAdapters::init()
{
    QFile::remove(settingsPath);
    for (const char* pid : {"/var/run/udhcpc0.pid", "/var/run/udhcpc1.pid"}) {
        QFile::remove(line(pid));
    }
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\0'));
    for (const int bit : {dhcpBit[0], dhcpBit[1], disabledBit[0], disabledBit[1]}) {
        PanelWorld::setAreaBit(bitArea, bit, false);
    }
    PanelWorld::clearCommands();
}

void TestAdapters::quad_threeShapes()
{
    const QStringList octets{line("192"), line("10"), line("0"), line("5")};
    QCOMPARE(DottedQuad::fromOctets(octets), 0x05000AC0U);
    QCOMPARE(DottedQuad::toOctets(0x05000AC0U), octets);
    QCOMPARE(DottedQuad::split(line("192.10.0.5")), octets);
    QCOMPARE(DottedQuad::join(octets), line("192.10.0.5"));
    QCOMPARE(DottedQuad::fromOctets({line("x"), line("255")}), 0x0000FF00U);
    QCOMPARE(DottedQuad::join(DottedQuad::zero()), line("0.0.0.0"));
}

void TestAdapters::pid_isTakenFromDigitsOnly_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("pid");
    QTest::newRow("usual") << QByteArray("4711\n") << 4711;
    QTest::newRow("no line end") << QByteArray("12") << 12;
    QTest::newRow("blanks") << QByteArray(" 12 \n13\n") << 12;
    QTest::newRow("largest") << QByteArray("2147483647") << 2147483647;
    QTest::newRow("too large") << QByteArray("2147483648") << 0;
    QTest::newRow("empty") << QByteArray() << 0;
    QTest::newRow("empty line") << QByteArray("\n5\n") << 0;
    QTest::newRow("zero") << QByteArray("0\n") << 0;
    QTest::newRow("negative") << QByteArray("-1\n") << 0;
    QTest::newRow("sign") << QByteArray("+7\n") << 0;
    QTest::newRow("word") << QByteArray("12x\n") << 0;
    QTest::newRow("longest line") << QByteArray(62, ' ') + "12\n345" << 12;
    QTest::newRow("line too long") << QByteArray(60, ' ') + "12345\n" << 0;
    QTest::newRow("zero byte") << QByteArray("1\0002", 3) << 0;
}

void TestAdapters::pid_isTakenFromDigitsOnly()
{
    QFETCH(QByteArray, file);
    QFETCH(int, pid);
    QCOMPARE(DhcpClient::processId(file), pid);
    PanelWorld::writeFile(line("/var/run/udhcpc1.pid"), file);
    DhcpClient::stop(1);
    QCOMPARE(PanelWorld::commands(), pid > 0 ? QStringList("kill %1"_s.arg(pid)) : QStringList());
    QCOMPARE(PanelWorld::fileContent(line("/var/run/udhcpc1.pid")), file);
}

void TestAdapters::pingOutput_withTtl_isAReply()
{
    QVERIFY(PingTest::hasReply("64 bytes from 203.0.113.10: seq=0 ttl=63 time=0.1 ms\n"));
    QVERIFY(PingTest::hasReply(QByteArray("\0ttl", 4)));
    QVERIFY(!PingTest::hasReply("64 bytes TTL=63"));
    QVERIFY(!PingTest::hasReply("1 packets transmitted, 0 packets received"));
    QVERIFY(!PingTest::hasReply(QByteArray()));
}

void TestAdapters::adapterTable_isAsTheDeviceHasIt()
{
    const struct
    {
        std::size_t mac, ip, mask, gateway;
        unsigned ipRegister, maskRegister, gatewayRegister, disabledRegister, dhcpRegister;
        const char* name;
        const char* pidFile;
    } expected[] = {
        {33, 41, 49, 45, 60, 62, 63, 66, 67, "eth0", "/var/run/udhcpc0.pid"},
        {166, 174, 182, 178, 69, 71, 72, 75, 76, "eth1", "/var/run/udhcpc1.pid"},
    };
    QCOMPARE(adapterTable.size(), std::size(expected));
    for (std::size_t at = 0; at < std::size(expected); ++at) {
        const AdapterRow& row = adapterTable.at(at);
        QCOMPARE(row.macOffset, expected[at].mac);
        QCOMPARE(row.ip.recordOffset, expected[at].ip);
        QCOMPARE(row.mask.recordOffset, expected[at].mask);
        QCOMPARE(row.gateway.recordOffset, expected[at].gateway);
        QCOMPARE(row.ip.mirror.id(), expected[at].ipRegister);
        QCOMPARE(row.mask.mirror.id(), expected[at].maskRegister);
        QCOMPARE(row.gateway.mirror.id(), expected[at].gatewayRegister);
        QCOMPARE(row.disabledRegister.id(), expected[at].disabledRegister);
        QCOMPARE(row.dhcpRegister.id(), expected[at].dhcpRegister);
        QCOMPARE(row.interfaceName, expected[at].name);
        QCOMPARE(row.pidFile, expected[at].pidFile);
    }
}

void TestAdapters::record_changesFourBytes_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("offset");
    QTest::newRow("eth0 ip") << 0 << 0 << 41;
    QTest::newRow("eth0 mask") << 0 << 1 << 49;
    QTest::newRow("eth0 gateway") << 0 << 2 << 45;
    QTest::newRow("eth1 ip") << 1 << 0 << 174;
    QTest::newRow("eth1 mask") << 1 << 1 << 182;
    QTest::newRow("eth1 gateway") << 1 << 2 << 178;
}

void TestAdapters::record_changesFourBytes()
{
    QFETCH(int, adapter);
    QFETCH(int, value);
    QFETCH(int, offset);
    const AdapterRow& row = adapterTable.at(std::size_t(adapter));
    const StoredQuad place = value == 0 ? row.ip : value == 1 ? row.mask : row.gateway;
    EEInfoDetail::Flash_WR_1 record;
    std::memset(&record, 0xEE, sizeof record);
    QByteArray expected = bytesOf(record);
    expected.replace(offset, 4, QByteArray("\xC0\x0A\x00\x05", 4));
    AddressRecord::setValue(record, place, 0x05000AC0U);
    QCOMPARE(bytesOf(record), expected);
    QCOMPARE(AddressRecord::value(record, place), 0x05000AC0U);
}

void TestAdapters::mac_isSixTexts()
{
    EEInfoDetail::Flash_WR_1 record{};
    const unsigned char mac[2][6] = {{0x02, 0x0A, 0xFF, 0x00, 0x10, 0xBC},
                                     {0x02, 0x01, 0x02, 0x03, 0x04, 0x05}};
    std::memcpy(record.eth0_mac, mac[0], sizeof mac[0]);
    std::memcpy(record.eth1_mac, mac[1], sizeof mac[1]);
    QCOMPARE(AddressRecord::mac(record, 0).join(QLatin1Char(':')), line("02:0a:ff:00:10:bc"));
    QCOMPARE(AddressRecord::mac(record, 1).join(QLatin1Char(':')), line("02:01:02:03:04:05"));
    QCOMPARE(AddressRecord::mac(record, 2), QStringList());
}

void TestAdapters::mode_isBit0OfItsRegister_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<quint32>("notice");
    QTest::newRow("eth0") << 0 << 67U;
    QTest::newRow("eth1") << 1 << 76U;
}

void TestAdapters::mode_isBit0OfItsRegister()
{
    QFETCH(int, adapter);
    QFETCH(quint32, notice);
    NoticeListener runtime(line("/tmp/fifo_sysreg"));
    for (const bool dynamic : {true, false}) {
        PanelWorld::setAreaBit(bitArea, dhcpBit[1 - adapter], !dynamic); // its neighbour's
        AdapterMode::store(adapter, dynamic);
        QCOMPARE(PanelWorld::areaBit(bitArea, dhcpBit[adapter]), dynamic);
        QCOMPARE(PanelWorld::areaBit(bitArea, dhcpBit[1 - adapter]), !dynamic);
        QCOMPARE(AdapterMode::isDynamic(adapter), dynamic);
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({notice}));
    }
}

void TestAdapters::switch_isInFileAndRegister_data()
{
    QTest::addColumn<int>("adapter");
    QTest::newRow("eth0") << 0;
    QTest::newRow("eth1") << 1;
}

void TestAdapters::switch_isInFileAndRegister()
{
    QFETCH(int, adapter);
    NoticeListener runtime(line("/tmp/fifo_sysreg"));
    QSettings settings(settingsPath, QSettings::IniFormat);
    QVERIFY(!AdapterSwitch::isOff(&settings, adapter)); // nothing is stored
    for (const bool on : {false, true}) {
        AdapterSwitch::store(&settings, adapter, on);
        // At once, and as others read it.
        QCOMPARE(PanelWorld::fileContent(settingsPath),
                 "[Network%1]\nenable=%2\n"_s
                     .arg(QString::number(adapter), on ? line("true") : line("false"))
                     .toUtf8());
        QCOMPARE(PanelWorld::areaBit(bitArea, disabledBit[adapter]), !on);
        QCOMPARE(PanelWorld::areaBit(bitArea, disabledBit[1 - adapter]), false);
        QCOMPARE(AdapterSwitch::isOff(&settings, adapter), !on);
        QVERIFY(!AdapterSwitch::isOff(&settings, 1 - adapter));
    }
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
}

void TestAdapters::switch_withoutAFile_isOn()
{
    AdapterSwitch::store(nullptr, 0, false);
    QVERIFY(PanelWorld::areaBit(bitArea, disabledBit[0]));
    QVERIFY(!AdapterSwitch::isOff(nullptr, 0));
}

void TestAdapters::preference_hasTwoNumberings()
{
    NoticeListener runtime(line("/tmp/fifo_sysreg"));
    const QByteArray before = PanelWorld::fileContent(byteArea);
    const auto stored = [&before](char preference) {
        QByteArray area = before;
        area[preferenceByte] = preference;
        return area;
    };
    DefaultRoutes::storePreference(2);
    QCOMPARE(PanelWorld::fileContent(byteArea), stored('\2'));
    QCOMPARE(DefaultRoutes::storedPreference(), 2);
    DefaultRoutes::storeAdapterNumber(1);
    QCOMPARE(PanelWorld::fileContent(byteArea), stored('\1'));
    QCOMPARE(DefaultRoutes::storedPreference(), 1);
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({78, 78}));
}

void TestAdapters::routes_areOfBothAdapters()
{
    DefaultRoutes::storePreference(2);
    PanelWorld::clearCommands();
    for (const int preference : {DefaultRoutes::preferenceOfRegister, 1}) {
        DefaultRoutes::rebuild(preference, {line("192.168.1.1"), line("10.0.0.1")});
    }
    const QString remove = line("route del default");
    QCOMPARE(
        PanelWorld::commands(),
        QStringList({remove, remove, line("route add default gw 192.168.1.1 dev eth0 metric 1"),
                     line("route add default gw 10.0.0.1 dev eth1 metric 0"), remove, remove,
                     line("route add default gw 192.168.1.1 dev eth0 metric 0"),
                     line("route add default gw 10.0.0.1 dev eth1 metric 1")}));
}

void TestAdapters::running_commandsOfOneAdapter_data()
{
    QTest::addColumn<int>("adapter");
    QTest::newRow("eth0") << 0;
    QTest::newRow("eth1") << 1;
}

void TestAdapters::running_commandsOfOneAdapter()
{
    QFETCH(int, adapter);
    const QString name = "eth%1"_s.arg(adapter);
    const RunningAdapter running(adapter);
    running.setAddress(line("10.1.2.77"));
    running.setMask(line("255.255.0.0"));
    running.bringUp({line("10"), line("1"), line("x")});
    running.takeDown();
    PanelWorld::writeFile("/var/run/udhcpc%1.pid"_s.arg(adapter), "321\n");
    running.stopDhcpClient();
    const QStringList before = {line("ifconfig ") + name + line(" 10.1.2.77"),
                                line("sync"),
                                line("ifconfig ") + name + line(" netmask 255.255.0.0"),
                                line("sync"),
                                line("ifconfig ") + name + line(" 10.1.0.0 up"),
                                line("ifconfig ") + name + line(" down"),
                                line("sync"),
                                line("kill 321")};
    QCOMPARE(PanelWorld::commands(), before);
    running.startDhcpClient(); // ends the other one first; it runs in the background
    QTRY_COMPARE(PanelWorld::commands(),
                 before +
                     QStringList({line("kill 321"), "udhcpc -i eth%1 -t 100 -T 1 -A 1 "
                                                    "-p /var/run/udhcpc%1.pid"_s.arg(adapter)}));
}

void TestAdapters::otherAdapters_doNothing()
{
    const QByteArray bits = PanelWorld::fileContent(bitArea);
    QSettings settings(settingsPath, QSettings::IniFormat);
    for (const int other : noAdapters) {
        const RunningAdapter running(other);
        running.setAddress(line("10.1.2.77"));
        running.setMask(line("255.255.0.0"));
        running.bringUp({line("10"), line("1"), line("2"), line("77")});
        running.takeDown();
        running.startDhcpClient();
        running.stopDhcpClient();
        AdapterMode::store(other, true);
        AdapterSwitch::store(&settings, other, false);
        QVERIFY(!AdapterMode::isDynamic(other));
        QVERIFY(!isAdapter(other));
    }
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(PanelWorld::fileContent(bitArea), bits);
    QVERIFY(!QFile::exists(settingsPath));
}

QTEST_GUILESS_MAIN(TestAdapters)
#include "test_adapters.moc"
