#include "settings/Settings.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QProcess>
#include <QTest>
#include <QTimer>

#include <memory>

namespace {

constexpr int writeBackIntervalMs = 1000; // of the window

const QByteArray settings =
    R"({"version": 1, "display": {"brightness": 200, "language": "english"},
        "sound": {"buzzer": false},
        "network": {"eth0": {"ip": "10.1.2.3", "mask": "255.255.0.0", "gateway": "10.1.0.1",
                             "dns": ["10.1.0.2"]}}})";

/// Everything that an import may change.
QList<QByteArray> stored()
{
    return {PanelWorld::image(), PanelWorld::fileContent("/etc/resolv.conf"_s),
            PanelWorld::fileContent("/hmi/Config/system_settings.ini"_s),
            PanelWorld::fileContent("/hmi_data/rw.dat"_s),
            PanelWorld::fileContent("/hmi_data/sfb.dat"_s)};
}

bool import()
{
    QProcess process;
    process.start("/panel-build/panelctl/panelctl"_s, {"import"_s, "-"_s});
    process.write(settings);
    process.closeWriteChannel();
    return process.waitForFinished() && process.exitCode() == 0;
}

/// Returns when every timer of that interval has fired that was started before.
void waitForEarlierTimers(int intervalMs)
{
    QTimer timer;
    timer.setSingleShot(true);
    timer.start(intervalMs);
    QTRY_VERIFY_WITH_TIMEOUT(!timer.isActive(), 60000);
}

} // namespace

/// Settings that are imported while the window is open, and that nobody touches there.
class TestImport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void import_underAnOpenWindow_isNotOverwritten();
};

void TestImport::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestImport::import_underAnOpenWindow_isNotOverwritten()
{
    auto window = std::make_unique<Settings>(nullptr);
    window->init();
    window->show();
    const QList<QByteArray> before = stored();
    QVERIFY(import());
    const QList<QByteArray> imported = stored();
    QVERIFY(imported != before);
    waitForEarlierTimers(writeBackIntervalMs);
    QCOMPARE(stored(), imported);
    QVERIFY(QMetaObject::invokeMethod(window.get(), "onNetworkSettingsClicked"));
    QVERIFY(QMetaObject::invokeMethod(window.get(), "onGeneralSettingsClicked"));
    window.reset();
    QCOMPARE(stored(), imported);
}

QTEST_MAIN(TestImport)
#include "test_import.moc"
