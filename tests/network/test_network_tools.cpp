#include "tests/network/NetworkTest.h"

#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>

namespace {

/// As long without a new command, the tools in the background have run; in milliseconds.
constexpr int quietTime = 350;

} // namespace

/// Tools that are not there.
class TestNetworkTools : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void toolMissing_othersStillRun_data();
    void toolMissing_othersStillRun();
    void toolsMissing_pageStaysUsable();

private:
    /// Operates everything that runs a tool.
    void useEveryTool();
    /// What was run, sorted; once each, as a missing file is asked for until the tool is there that
    /// makes it.
    static QStringList linesRun();

    QStringList m_runWithEveryTool;
};

void TestNetworkTools::toolMissing_othersStillRun_data()
{
    QTest::addColumn<QString>("tool");
    for (const char* tool :
         {"ifconfig", "route", "udhcpc", "kill", "killall", "ping", "rm", "cp", "touch", "sync"}) {
        QTest::newRow(tool) << "/panel/bin/"_s + QString::fromLatin1(tool);
    }
    QTest::newRow("setbeep") << "/root/plat-intf/setbeep"_s;
}

void TestNetworkTools::toolMissing_othersStillRun()
{
    QFETCH(QString, tool);
    // Of the machine's own programs, only those that the tools of this panel are made of: or else
    // one of them would be found in place of the missing tool.
    const QTemporaryDir parts;
    for (const char* part : {"busybox", "flock", "cat"}) {
        const QString name = QString::fromLatin1(part);
        QVERIFY(QFile::link(QStandardPaths::findExecutable(name), parts.filePath(name)));
    }
    const QByteArray path = qgetenv("PATH");
    const auto putBack = qScopeGuard([&tool, path] {
        QFile::rename(tool + ".away"_s, tool);
        qputenv("PATH", path);
    });
    qputenv("PATH", "/panel/bin:" + parts.path().toLocal8Bit());
    if (m_runWithEveryTool.isEmpty()) {
        useEveryTool();
        do { // some run in the background
            m_runWithEveryTool = linesRun();
            QTest::qWait(quietTime);
        } while (m_runWithEveryTool != linesRun());
        resetPanel();
    }
    QVERIFY(QFile::rename(tool, tool + ".away"_s));
    useEveryTool();
    const auto ofTool = [&tool](const QString& command) {
        const QString name = command.section(QLatin1Char(' '), 0, 0);
        return name == tool || name == tool.section(QLatin1Char('/'), -1);
    };
    QStringList others = m_runWithEveryTool;
    QVERIFY(std::any_of(others.begin(), others.end(), ofTool));
    others.erase(std::remove_if(others.begin(), others.end(), ofTool), others.end());
    QTRY_COMPARE(linesRun(), others);
}

void TestNetworkTools::toolsMissing_pageStaysUsable()
{
    NetworkPage world;
    world.started();
    for (const char* tool : {"readee", "writeee", "setbeep"}) {
        PanelWorld::replaceTool(QString::fromLatin1(tool), QByteArray());
    }
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nowhere"); // none of the shell's tools either
    QVERIFY(world.enter(world.field(0, AdapterPane::Ip, 3), "8"_s));
    world.pane(0).modeBox().setCurrentIndex(1);
    world.pane(0).modeBox().setCurrentIndex(0);
    world.pane(0).disableSwitch().click();
    world.pane(0).disableSwitch().click();
    qputenv("PATH", path);
    QCOMPARE(world.text(0, AdapterPane::Ip), "192.168.0.8"_s);
    QCOMPARE(world.told.first().record.mid(41, 4), QByteArray("\xC0\xA8\x00\x08", 4));
}

void TestNetworkTools::useEveryTool()
{
    NetworkPage world;
    world.started();
    world.settings.setValue("General/buzzer"_s, "on"_s);
    PanelWorld::writeFile("/var/run/udhcpc0.pid"_s, "321\n");
    QVERIFY(NetworkPage::enter(world.field(0, AdapterPane::Ip, 3), "8"_s));
    QVERIFY(NetworkPage::enter(world.field(0, AdapterPane::FirstDns, 3), "9"_s));
    QFile::remove(resolver);
    QFile::remove(backup);
    world.pane(0).modeBox().setCurrentIndex(1);
    world.pane(0).modeBox().setCurrentIndex(0);
    world.pane(0).disableSwitch().click();
    world.pane(0).disableSwitch().click();
    world.page().onSetTest();
    QCOMPARE(world.text(0, AdapterPane::Ip), "192.168.0.8"_s);
    QCOMPARE(world.text(0, AdapterPane::Mask), "255.255.255.0"_s);
    QVERIFY(world.field(0, AdapterPane::Ip, 3)->isEnabled());
    QCOMPARE(PanelWorld::fileContent(wordArea).mid(751, 4), QByteArray("\xC0\xA8\x00\x08", 4));
}

QStringList TestNetworkTools::linesRun()
{
    QStringList lines = PanelWorld::commands();
    lines.sort();
    lines.removeDuplicates();
    return lines;
}

QTEST_MAIN(TestNetworkTools)
#include "test_network_tools.moc"
