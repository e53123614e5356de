#include "general/GeneralSettings.h"
#include "settings/Settings.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QProcess>
#include <QTest>
#include <QTimer>

#include <memory>

namespace {

constexpr int writeBackIntervalMs = 1000; // of the window

constexpr const char* settings =
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

/// Whether panelctl ends well.
bool panelctl(const QStringList& words, const QByteArray& input = QByteArray())
{
    constexpr int forEver = -1; // CTest ends what hangs
    QProcess process;
    process.start("/panel-build/panelctl/panelctl"_s, words);
    process.write(input);
    process.closeWriteChannel();
    return process.waitForFinished(forEver) && process.exitCode() == 0;
}

bool import()
{
    return panelctl({"import"_s, "-"_s}, settings);
}

/// Address, gateway and mask of eth0.
QByteArray addresses()
{
    constexpr int first = 41;
    constexpr int bytes = 12;
    return PanelWorld::image().mid(first, bytes);
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

/// Settings that are imported while the window is open.
class TestImport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void import_underAnOpenWindow_isNotOverwritten();
    void changeInAWindow_bringsBackTheAddressesItWasMadeWith();
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

void TestImport::changeInAWindow_bringsBackTheAddressesItWasMadeWith()
{
    QVERIFY(panelctl({"device"_s, "set"_s, "eth0_ip"_s, "192.168.1.10"_s}));
    const auto window = std::make_unique<Settings>(nullptr);
    window->init();
    const QByteArray before = addresses();
    QVERIFY(import());
    QVERIFY(addresses() != before);
    QVERIFY(QMetaObject::invokeMethod(window->findChild<GeneralSettings*>(), "onBacklightOn"));
    QCOMPARE(addresses(), before);
}

QTEST_MAIN(TestImport)
#include "test_import.moc"
