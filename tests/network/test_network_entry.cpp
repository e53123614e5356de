#include "tests/network/NetworkTest.h"
#include "tests/support/NoticeListener.h"

#include <cstring>

/// Entries on the keypad and what they change.
class TestNetworkEntry : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void keypad_opensForEachField();
    void press_reachesTheWidgetToo();
    void record_isThePagesOwn();
    void entry_ip_appliesInOrder();
    void entry_appliesEachValue_data();
    void entry_appliesEachValue();
    void entry_usesTheTextsAsShown();
    void entry_dns_writesTheResolverFileOnly_data();
    void entry_dns_writesTheResolverFileOnly();
    void entry_ofTheOtherTab_onlyRebuildsRoutes();
    void entry_cancelled_changesNothing();
    void entry_aboveTheRange_isRefused();
    void entry_disabledField_opensNoKeypad();
    void entry_pageDeletedUnderTheKeypad_isSafe();
    void press_pageDeletedUnderTheKeypad_goesNoFurther();
    void otherIndices_doNothing();
    void conflict_isTold_data();
    void conflict_isTold();
    void conflict_needsAllFourOctets();
};

void TestNetworkEntry::keypad_opensForEachField()
{
    NetworkPage world;
    world.started();
    QStringList shown; // the keypad's number and range
    const auto look = [&shown](QWidget* pressed) {
        shown = Hands::enter(*pressed, QString());
        QCoreApplication::processEvents();
    };
    world.field(0, AdapterPane::FirstDns, 1)->setText(QString());
    for (const int adapter : {0, 1}) {
        for (QLineEdit* field : world.pane(adapter).fields()) {
            look(field);
            QCOMPARE(shown,
                     QStringList({QString::number(field->text().toInt()), "Min:0"_s, "Max:255"_s}));
        }
        look(&world.macField(adapter));
        QCOMPARE(shown, QStringList());
    }
}

void TestNetworkEntry::press_reachesTheWidgetToo()
{
    NetworkPage world;
    world.started();
    const QString gateways[] = {"Gateway:192.168.1.1"_s, "Gateway:10.0.0.1"_s};
    for (const int adapter : {0, 1}) {
        world.tabs().setCurrentIndex(adapter);
        AdapterPane& pane = world.pane(adapter);
        QTest::mouseClick(&pane.disableSwitch(), Qt::LeftButton);
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QTest::mouseClick(&pane.disableSwitch(), Qt::LeftButton);
        QVERIFY(world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QTest::mouseClick(&pane.defaultButton(), Qt::LeftButton);
        QCOMPARE(world.gatewayLabel(adapter).text(), gateways[adapter]);
        PanelWorld::clearCommands();
        QTest::mouseClick(&pane.testButton(), Qt::LeftButton);
        QVERIFY(PanelWorld::commands().contains("killall ping"_s));
        // A field gives up its selection when it is pressed, after the keypad.
        QLineEdit* field = world.field(adapter, AdapterPane::Mask, 2);
        field->selectAll();
        QVERIFY(world.enter(field, QString()));
        QVERIFY(!field->hasSelectedText());
    }
}

void TestNetworkEntry::record_isThePagesOwn()
{
    NetworkPage world;
    world.started();
    QSet<const EEInfoDetail::Flash_WR_1*> records;
    connect(&world.page(), &NetworkSettings::updateEEData, &world.page(),
            [&records](EEInfoDetail::Flash_WR_1& record, auto) { records << &record; });
    const EEInfoDetail::Flash_WR_1 before = world.record;
    world.page().setIPToEE(NetworkSettings::Eth0, 1);
    world.page().setMaskToEE(NetworkSettings::Eth1, 2);
    world.page().setGatewayToEE(NetworkSettings::Eth0, 3);
    QCOMPARE(records.size(), 1);
    QVERIFY(!records.contains(&world.record));
    QCOMPARE(std::memcmp(&before, &world.record, sizeof before), 0);
    world.record.eth0_ip = 9; // later changes are not seen
    QCOMPARE(world.page().getIPFromEE(NetworkSettings::Eth0).join(QLatin1Char('.')), "1.0.0.0"_s);
    QCOMPARE(reinterpret_cast<const char*>(*records.begin())[182], '\2');
}

void TestNetworkEntry::entry_ip_appliesInOrder()
{
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    QVERIFY(world.enter(world.field(0, AdapterPane::Ip, 1), "10"_s));
    const QStringList before = {"ifconfig eth0 192.10.0.5"_s, "sync"_s};
    QCOMPARE(PanelWorld::commands(), before + usualRoutes());
    QCOMPARE(world.told.size(), 1);
    QCOMPARE(world.told.first().type, 2);
    QCOMPARE(world.told.first().commands, before);
    QCOMPARE(world.told.first().record.mid(41, 4), QByteArray("\xC0\x0A\x00\x05", 4));
    QCOMPARE(PanelWorld::fileContent(wordArea).mid(751, 8),
             QByteArray("\xC0\x0A\x00\x05\0\0\0\0", 8));
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
}

void TestNetworkEntry::entry_appliesEachValue_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<int>("value");
    QTest::addColumn<QStringList>("before"); // run before the record changes
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("recordByte");
    QTest::addColumn<int>("areaByte");
    QTest::addColumn<QByteArray>("bytes");
    const auto ip = int(AdapterPane::Ip);
    const auto mask = int(AdapterPane::Mask);
    const auto gateway = int(AdapterPane::Gateway);
    const QString sync = "sync"_s;
    const QStringList routes0 = routes("192.168.1.77"_s, 1, "10.0.0.1"_s, 1);
    const QStringList routes1 = routes("192.168.1.1"_s, 1, "10.0.0.77"_s, 1);
    QTest::newRow("eth0 ip") << 0 << ip << QStringList{"ifconfig eth0 192.168.0.77"_s, sync}
                             << usualRoutes() << 2 << 41 << 751
                             << QByteArray("\xC0\xA8\x00\x4D", 4);
    QTest::newRow("eth0 mask") << 0 << mask
                               << QStringList{"ifconfig eth0 netmask 255.255.255.77"_s, sync}
                               << usualRoutes() << 3 << 49 << 771
                               << QByteArray("\xFF\xFF\xFF\x4D", 4);
    QTest::newRow("eth0 gateway") << 0 << gateway << routes0 << routes0 << 4 << 45 << 779
                                  << QByteArray("\xC0\xA8\x01\x4D", 4);
    QTest::newRow("eth1 ip") << 1 << ip << QStringList{"ifconfig eth1 10.0.0.77"_s, sync}
                             << usualRoutes() << 2 << 174 << 803
                             << QByteArray("\x0A\x00\x00\x4D", 4);
    QTest::newRow("eth1 mask") << 1 << mask
                               << QStringList{"ifconfig eth1 netmask 255.0.0.77"_s, sync}
                               << usualRoutes() << 3 << 182 << 823
                               << QByteArray("\xFF\x00\x00\x4D", 4);
    QTest::newRow("eth1 gateway") << 1 << gateway << routes1 << routes1 << 4 << 178 << 831
                                  << QByteArray("\x0A\x00\x00\x4D", 4);
}

void TestNetworkEntry::entry_appliesEachValue()
{
    QFETCH(int, adapter);
    QFETCH(int, value);
    QFETCH(QStringList, before);
    QFETCH(QStringList, after);
    QFETCH(int, type);
    QFETCH(int, recordByte);
    QFETCH(int, areaByte);
    QFETCH(QByteArray, bytes);
    NetworkPage world;
    world.started();
    world.tabs().setCurrentIndex(adapter);
    const QByteArray area = PanelWorld::fileContent(wordArea);
    NoticeListener runtime(noticePipe);
    Looks looks("route", "od -An -tx1 -N4 -j" + QByteArray::number(areaByte) + " /tmp/smw.dat");
    QVERIFY(world.enter(world.field(adapter, AdapterPane::Value(value), 3), "77"_s));
    QCOMPARE(PanelWorld::commands(), before + after);
    // A gateway sets the routes before it is stored as well.
    const QStringList early = repeated(before.filter("route"_s).size(), "ee ee ee ee"_s);
    QCOMPARE(looks.take(), early + repeated(4, QString::fromLatin1(bytes.toHex(' '))));
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
    QCOMPARE(world.told.size(), 1);
    QCOMPARE(world.told.first().commands, before);
    QCOMPARE(world.told.first().type, type);
    QByteArray record(reinterpret_cast<const char*>(&world.record), sizeof world.record);
    record.replace(recordByte, 4, bytes);
    QCOMPARE(world.told.first().record, record);
    QCOMPARE(world.told.first().registers, area); // the register comes after the record
    QByteArray expected = area;
    expected.replace(areaByte, 8, bytes + QByteArray(4, '\0'));
    QCOMPARE(PanelWorld::fileContent(wordArea), expected);
}

void TestNetworkEntry::entry_usesTheTextsAsShown()
{
    NetworkPage world;
    world.started();
    const struct
    {
        AdapterPane::Value value;
        const char* run;
        int recordByte;
    } rows[] = {{AdapterPane::Ip, "ifconfig eth0 192.010.x.77", 41},
                {AdapterPane::Mask, "ifconfig eth0 netmask 255.010.x.77", 49},
                {AdapterPane::Gateway, "route add default gw 192.010.x.77 dev eth0 metric 1", 45}};
    for (const auto& row : rows) {
        PanelWorld::clearCommands();
        world.field(0, row.value, 1)->setText("010"_s);
        world.field(0, row.value, 2)->setText("x"_s);
        QVERIFY(world.enter(world.field(0, row.value, 3), "77"_s));
        QVERIFY2(PanelWorld::commands().contains(QString::fromLatin1(row.run)), row.run);
        const QByteArray stored = world.told.last().record.mid(row.recordByte, 4);
        QCOMPARE(stored.mid(1), QByteArray("\x0A\0\x4D", 3)); // decimal, and 0 for no number
    }
    world.field(0, AdapterPane::FirstDns, 1)->setText("010"_s);
    QVERIFY(world.enter(world.field(0, AdapterPane::FirstDns, 3), "9"_s));
    QCOMPARE(PanelWorld::fileContent(resolver), QByteArray("nameserver 0.010.0.9 # eth0"));
}

void TestNetworkEntry::entry_dns_writesTheResolverFileOnly_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("first") << int(AdapterPane::FirstDns)
                           << QByteArray("nameserver 1.1.1.9 # eth0\nnameserver 2.2.2.2 # eth0");
    QTest::newRow("backup") << int(AdapterPane::BackupDns)
                            << QByteArray("nameserver 1.1.1.1 # eth0\nnameserver 2.2.2.9 # eth0");
}

void TestNetworkEntry::entry_dns_writesTheResolverFileOnly()
{
    QFETCH(int, value);
    QFETCH(QByteArray, file);
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\n\nnameserver 2.2.2.2 # eth0\n");
    NetworkPage world;
    world.started();
    QCOMPARE(world.text(0, AdapterPane::FirstDns), "1.1.1.1"_s);
    QCOMPARE(world.text(0, AdapterPane::BackupDns), "2.2.2.2"_s);
    const QByteArray area = PanelWorld::fileContent(wordArea);
    QVERIFY(world.enter(world.field(0, AdapterPane::Value(value), 3), "9"_s));
    QCOMPARE(PanelWorld::commands(), usualRoutes());
    QCOMPARE(PanelWorld::fileContent(resolver), file);
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(PanelWorld::fileContent(wordArea), area);
}

void TestNetworkEntry::entry_ofTheOtherTab_onlyRebuildsRoutes()
{
    NetworkPage world;
    world.started();
    const QByteArray area = PanelWorld::fileContent(wordArea);
    world.page().updateSystemAndSaveToEE(NetworkSettings::Eth0, world.field(1, AdapterPane::Ip, 0));
    QCOMPARE(PanelWorld::commands(), usualRoutes());
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(PanelWorld::fileContent(wordArea), area);
    PanelWorld::clearCommands();
    QVERIFY(world.enter(world.field(1, AdapterPane::Ip, 0), "11"_s)); // while eth0 is shown
    QCOMPARE(PanelWorld::commands(), usualRoutes());
}

void TestNetworkEntry::entry_cancelled_changesNothing()
{
    NetworkPage world;
    world.started();
    QVERIFY(world.enter(world.field(0, AdapterPane::Ip, 1), QString()));
    QCOMPARE(world.text(0, AdapterPane::Ip), "192.168.0.5"_s);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetworkEntry::entry_aboveTheRange_isRefused()
{
    NetworkPage world;
    world.started();
    const Hands::Answers answers;
    const Hands::WhenOpen<InputDialog> typing(
        [](InputDialog& keypad) { Hands::type(keypad, "256EX"_s); });
    Hands::press(*world.field(0, AdapterPane::Ip, 1));
    QCOMPARE(answers.only().text, "Input number is out of range!"_s);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetworkEntry::entry_disabledField_opensNoKeypad()
{
    NetworkPage world;
    world.started();
    world.pane(0).disableSwitch().click();
    PanelWorld::clearCommands();
    QVERIFY(!world.enter(world.field(0, AdapterPane::Ip, 1), "10"_s));
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetworkEntry::entry_pageDeletedUnderTheKeypad_isSafe()
{
    NetworkPage world;
    world.started();
    bool opened = false;
    const Hands::WhenOpen<InputDialog> deleting([&](InputDialog& keypad) {
        opened = true;
        world.deletePage();
        Hands::type(keypad, "5E"_s);
    });
    world.page().doModal(world.field(0, AdapterPane::Ip, 1));
    QVERIFY(opened);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetworkEntry::press_pageDeletedUnderTheKeypad_goesNoFurther()
{
    NetworkPage world;
    world.started();
    bool opened = false;
    const Hands::WhenOpen<InputDialog> deleting([&](InputDialog& keypad) {
        opened = true;
        world.deletePage();
        keypad.close();
    });
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QVERIFY(world.page().eventFilter(world.field(0, AdapterPane::Ip, 1), &press));
    QVERIFY(opened);
}

void TestNetworkEntry::otherIndices_doNothing()
{
    NetworkPage world;
    world.started();
    const auto other = Index(2);
    NetworkSettings& page = world.page();
    page.setIPToEE(other, 1);
    page.setMaskToEE(other, 1);
    page.setGatewayToEE(other, 1);
    page.updateIPData(other);
    page.updateMaskData(other);
    page.updateGatewayData(other);
    page.updateDNSData(other, NetworkSettings::FirstDns);
    page.updateDefaultGateway(other);
    page.updateDefaultNetwork(other);
    page.udhcpc(other);
    page.killudhcpc(other);
    page.updateDHCPConfig(other, true);
    page.disableNetworkConfig(other, 1);
    page.enableNetworkConfig(other);
    page.disableNetwork(other);
    page.enableNetwork(other);
    QCOMPARE(page.getIPFromEE(other), QStringList());
    QCOMPARE(page.getMaskFromEE(other), QStringList());
    QCOMPARE(page.getGatewayFromEE(other), QStringList());
    QCOMPARE(page.getMacFromEE(other), QStringList());
    QCOMPARE(page.getDNSFromSys(other, NetworkSettings::FirstDns), QStringList());
    const auto otherServer = NetworkSettings::dnsType(2);
    QCOMPARE(page.getDNSFromSys(NetworkSettings::Eth0, otherServer), QStringList());
    world.pane(0).showValue(AdapterPane::BackupDns, {"1"_s, "2"_s, "3"_s, "4"_s});
    page.updateDNSData(NetworkSettings::Eth0, otherServer);
    QCOMPARE(world.text(0, AdapterPane::BackupDns), "1.2.3.4"_s);
    QVERIFY(!page.isConfigIp(other, world.field(0, AdapterPane::Ip, 0)));
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(world.told.size(), 0);
}

void TestNetworkEntry::conflict_isTold_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<int>("octet");
    QTest::addColumn<int>("value");
    QTest::addColumn<QStringList>("seen");
    const QString icon = QString::number(QMessageBox::Information);
    QTest::newRow("eth0") << 0 << 3 << 6
                          << QStringList{"Tips"_s, "IP is conflict with eth1!"_s, icon, "1"_s};
    QTest::newRow("eth1") << 1 << 3 << 5
                          << QStringList{"Tips"_s, "IP is conflict with eth0!"_s, icon, "1"_s};
    QTest::newRow("none") << 0 << 3 << 7 << QStringList();
}

void TestNetworkEntry::conflict_isTold()
{
    QFETCH(int, adapter);
    QFETCH(int, octet);
    QFETCH(int, value);
    QFETCH(QStringList, seen);
    NetworkPage world;
    world.record.eth1_ip = 0x0600A8C0;
    world.started();
    const Hands::Answers answers;
    world.page().checkConflictIp(world.field(adapter, AdapterPane::Ip, octet), value);
    QStringList told;
    for (const Hands::Box& box : answers.boxes()) {
        told << summaryOf(box);
    }
    QCOMPARE(told, seen);
    // An entry never asks: equal addresses are accepted.
    QVERIFY(world.enter(world.field(0, AdapterPane::Ip, 3), "6"_s));
    QCOMPARE(world.text(0, AdapterPane::Ip), world.text(1, AdapterPane::Ip));
}

void TestNetworkEntry::conflict_needsAllFourOctets()
{
    const NetworkSettings page;
    const QStringList octets{"10"_s, "1"_s, "2"_s, "77"_s};
    const auto conflict = [&page, &octets](const QStringList& other) {
        return page.isConflictIp(octets[0], octets[1], octets[2], octets[3], other[0], other[1],
                                 other[2], other[3]);
    };
    QVERIFY(conflict(octets));
    for (int at = 0; at < octets.size(); ++at) {
        QStringList other = octets;
        other[at] = "9"_s;
        QVERIFY2(!conflict(other), qPrintable(QString::number(at)));
    }
    QVERIFY(!conflict({"10"_s, "01"_s, "2"_s, "77"_s})); // texts, not numbers
}

QTEST_MAIN(TestNetworkEntry)
#include "test_network_entry.moc"
