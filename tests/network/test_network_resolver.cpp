#include "tests/network/NetworkTest.h"
#include "tests/network/Obstacles.h"

#include <QDir>
#include <QFile>

/// DNS servers in the resolver file.
class TestNetworkResolver : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void resolver_readsServers_data();
    void resolver_readsServers();
    void resolver_isReadAndRewrittenInAnyFile();
    void resolver_missingFiles_areMade_data();
    void resolver_missingFiles_areMade();
    void resolver_otherLines_stayByteForByte();
    void resolver_backupWithoutLine_isAppended();
    void resolver_unopenable_changesNothing();
    void resolver_readOnly_isReadAndLeftAlone();
};

void TestNetworkResolver::resolver_readsServers_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("servers"); // eth0 first, backup, eth1 first, backup
    const QString none = "0.0.0.0"_s;
    QTest::newRow("both") << QByteArray("nameserver 1.1.1.1 # eth1\nnameserver 2.2.2.2 # eth0\n")
                          << QStringList{"2.2.2.2"_s, none, "1.1.1.1"_s, none};
    QTest::newRow("tag at the start")
        << QByteArray("eth0 nameserver 1.1.1.1\n") << QStringList{none, none, none, none};
    QTest::newRow("untagged") << QByteArray("nameserver 1.1.1.1\n")
                              << QStringList{none, none, none, none};
    QTest::newRow("one word") << QByteArray("xeth0\n") << QStringList{none, none, none, none};
    QTest::newRow("two blanks") << QByteArray("nameserver  1.1.1.1 # eth0\n")
                                << QStringList{none, none, none, none};
    QTest::newRow("third is ignored")
        << QByteArray("a 1.1.1.1 eth0\na 2.2.2.2 eth0\na 3.3.3.3 eth0")
        << QStringList{"1.1.1.1"_s, "2.2.2.2"_s, none, none};
    QTest::newRow("longer name counts")
        << QByteArray("nameserver 4.4.4.4 # eth10\n") << QStringList{none, none, "4.4.4.4"_s, none};
}

void TestNetworkResolver::resolver_readsServers()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, servers);
    PanelWorld::writeFile(resolver, file);
    NetworkPage world;
    world.started();
    QStringList read;
    for (const int adapter : {0, 1}) {
        for (const auto type : {NetworkSettings::FirstDns, NetworkSettings::BackupDns}) {
            read << world.page().getDNSFromSys(Index(adapter), type).join(QLatin1Char('.'));
            world.page().updateDNSData(Index(adapter), type);
        }
    }
    QCOMPARE(read, servers);
    QCOMPARE(world.text(0, AdapterPane::FirstDns), servers.at(0));
    QCOMPARE(world.text(0, AdapterPane::BackupDns), servers.at(1));
    QCOMPARE(world.text(1, AdapterPane::FirstDns), servers.at(2));
    QCOMPARE(world.text(1, AdapterPane::BackupDns), servers.at(3));
}

void TestNetworkResolver::resolver_isReadAndRewrittenInAnyFile()
{
    const QString path = "/tmp/servers"_s;
    NetworkSettings page;
    const auto read = [&page, &path](const QByteArray& content, NetworkSettings::dnsType type) {
        PanelWorld::writeFile(path, content);
        QFile file(path);
        QString address = "untouched"_s;
        if (file.open(QIODevice::ReadOnly | QIODevice::Text)) {
            page.getDns(file, NetworkSettings::Eth0, type, address);
        }
        return address;
    };
    const auto first = NetworkSettings::FirstDns;
    const auto second = NetworkSettings::BackupDns;
    QCOMPARE(read("nameserver 1.1.1.1 # eth0\n", first), "1.1.1.1"_s);
    QCOMPARE(read("nameserver 1.1.1.1 # eth0\n", second), "0.0.0.0"_s);
    QCOMPARE(read("nameserver 1.1.1.1 # eth1\n", first), "0.0.0.0"_s);
    QCOMPARE(read(QByteArray(), first), "0.0.0.0"_s);
    QCOMPARE(read("xeth0\n", first), QString());
    QCOMPARE(read("nameserver  1.1.1.1 # eth0\n", first), QString());
    QCOMPARE(read("nameserver 1.1.1.\xC3\xA9 # eth0\n", first), "1.1.1.é"_s);
    PanelWorld::writeFile(path, "a 1.1.1.1 eth0\n\nb\n");
    QFile file(path);
    page.replaceDns(file, NetworkSettings::Eth0, first, "9.9.9.9"_s);
    page.replaceDns(file, NetworkSettings::Eth0, second, "8.8.8.8"_s);
    QVERIFY(!file.isOpen());
    QCOMPARE(PanelWorld::fileContent(path),
             QByteArray("nameserver 9.9.9.9 # eth0\nb\nnameserver 8.8.8.8 # eth0"));
    QCOMPARE(PanelWorld::fileContent(resolver), QByteArray());
    QVERIFY(QFile::remove(path));
}

void TestNetworkResolver::resolver_missingFiles_areMade_data()
{
    QTest::addColumn<bool>("hasResolver");
    QTest::addColumn<bool>("hasBackup");
    QTest::addColumn<bool>("canCopy");
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<QString>("server");
    const QString touch = "touch /etc/resolvbak.conf"_s;
    const QString copy = "cp /etc/resolvbak.conf /etc/resolv.conf"_s;
    const QString none = "0.0.0.0"_s;
    QTest::newRow("none") << true << true << true << QStringList() << "1.1.1.1"_s;
    QTest::newRow("backup") << true << false << true << QStringList{touch} << "1.1.1.1"_s;
    QTest::newRow("resolver") << false << true << true << QStringList{copy} << "2.2.2.2"_s;
    QTest::newRow("both") << false << false << true << QStringList{touch, copy} << none;
    QTest::newRow("resolver, no tool") << false << true << false << QStringList() << none;
}

void TestNetworkResolver::resolver_missingFiles_areMade()
{
    QFETCH(bool, hasResolver);
    QFETCH(bool, hasBackup);
    QFETCH(bool, canCopy);
    QFETCH(QStringList, commands);
    QFETCH(QString, server);
    NetworkPage world;
    world.started();
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\n");
    PanelWorld::writeFile(backup, "nameserver 2.2.2.2 # eth0\n");
    QVERIFY(hasResolver || QFile::remove(resolver));
    QVERIFY(hasBackup || QFile::remove(backup));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", canCopy ? path : "/nowhere");
    const QStringList octets =
        world.page().getDNSFromSys(NetworkSettings::Eth0, NetworkSettings::FirstDns);
    qputenv("PATH", path);
    QCOMPARE(octets, server.split(QLatin1Char('.')));
    QCOMPARE(PanelWorld::commands(), commands);
    QCOMPARE(QFile::exists(resolver), canCopy);
    QVERIFY(QFile::exists(backup));
}

void TestNetworkResolver::resolver_otherLines_stayByteForByte()
{
    PanelWorld::writeFile(resolver, "# caf\xE9\n\nnameserver 7.7.7.7\nnameserver 1.1.1.1 # eth1\n"
                                    "nameserver 2.2.2.2 # eth0\n");
    NetworkPage world;
    world.started();
    world.page().setDNSToSys(NetworkSettings::Eth0, NetworkSettings::FirstDns, "9.9.9.9"_s);
    QCOMPARE(PanelWorld::fileContent(resolver),
             QByteArray("# caf\xE9\nnameserver 7.7.7.7\nnameserver 1.1.1.1 # eth1\n"
                        "nameserver 9.9.9.9 # eth0"));
}

void TestNetworkResolver::resolver_backupWithoutLine_isAppended()
{
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth1\nnameserver 2.2.2.2 # eth0\n");
    NetworkPage world;
    world.started();
    world.page().setDNSToSys(NetworkSettings::Eth0, NetworkSettings::BackupDns, "9.9.9.9"_s);
    QCOMPARE(PanelWorld::fileContent(resolver),
             QByteArray("nameserver 1.1.1.1 # eth1\nnameserver 2.2.2.2 # eth0\n"
                        "nameserver 9.9.9.9 # eth0"));
    PanelWorld::writeFile(resolver, "nameserver 2.2.2.2 # eth0\n");
    world.page().setDNSToSys(NetworkSettings::Eth1, NetworkSettings::BackupDns, "8.8.8.8"_s);
    QCOMPARE(world.page()
                 .getDNSFromSys(NetworkSettings::Eth1, NetworkSettings::FirstDns)
                 .join(QLatin1Char('.')),
             "8.8.8.8"_s);
}

void TestNetworkResolver::resolver_unopenable_changesNothing()
{
    NetworkPage world;
    world.started();
    QFile::remove(resolver);
    QVERIFY(QDir().mkdir(resolver)); // cannot be opened, whoever asks
    QVERIFY(world.enter(world.field(0, AdapterPane::FirstDns, 0), "9"_s));
    QCOMPARE(world.page().getDNSFromSys(NetworkSettings::Eth0, NetworkSettings::FirstDns),
             QStringList());
    world.page().updateDNSData(NetworkSettings::Eth0, NetworkSettings::FirstDns);
    QCOMPARE(world.text(0, AdapterPane::FirstDns), "0.0.0.0"_s);
    QVERIFY(QDir().rmdir(resolver));
}

void TestNetworkResolver::resolver_readOnly_isReadAndLeftAlone()
{
    const QByteArray content("nameserver 1.1.1.1 # eth0\n\n");
    PanelWorld::writeFile(resolver, content);
    NetworkPage world;
    world.started();
    const QFile::Permissions before = QFile::permissions(resolver);
    QVERIFY(QFile::setPermissions(resolver, QFile::ReadOwner));
    const NoOverride powers;
    QVERIFY(world.enter(world.field(0, AdapterPane::FirstDns, 0), "9"_s));
    QVERIFY(QFile::setPermissions(resolver, before));
    QCOMPARE(PanelWorld::fileContent(resolver), content);
    QCOMPARE(PanelWorld::commands(), usualRoutes());
    QCOMPARE(world.text(0, AdapterPane::FirstDns), "9.1.1.1"_s); // as typed
    world.page().updateDNSData(NetworkSettings::Eth0, NetworkSettings::FirstDns);
    QCOMPARE(world.text(0, AdapterPane::FirstDns), "1.1.1.1"_s); // as it is
}

QTEST_MAIN(TestNetworkResolver)
#include "test_network_resolver.moc"
