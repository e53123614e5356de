#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"
#include "network/NetworkSettings.h"
#include "settings/Settings.h"
#include "tests/support/Hands.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <memory>

namespace {

const QString settingsFile = "/hmi/Config/system_settings.ini"_s;
const QString longBeep = "/root/plat-intf/setbeep long"_s;

/// A window as the plugin hands it out, of a host that may delete it at any time.
std::unique_ptr<Settings> makeWindow()
{
    auto window = std::make_unique<Settings>(nullptr);
    window->init();
    window->show();
    return window;
}

QPushButton* clockButton(const Settings& window)
{
    for (auto* button : window.findChildren<QPushButton*>()) {
        if (button->styleSheet().contains("setting_button.png"_s)) {
            return button;
        }
    }
    return nullptr;
}

QLineEdit* field(const QWidget* window, const char* name)
{
    return window->findChild<QLineEdit*>(QString::fromLatin1(name));
}

} // namespace

/// A host may make a second window before it deletes the first one, and delete either while a
/// dialog of it is open.
class TestTwoWindows : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void openDateDialog_staysWhenAnotherWindowComesAndGoes();
    void openDateDialog_endsWithItsWindowThoughAnotherWasMade();
    void keypadOfTheDateDialog_staysWhenTheFirstWindowGoes();
    void keypad_staysWhenAnotherWindowComesAndGoes();
    void rangeBox_endsWithItsWindow_data();
    void rangeBox_endsWithItsWindow();
    void rangeBox_endsWithTheKeypad();
    void addressBox_endsWithItsWindow();
    void connectivityBox_endsWithItsWindow();
    void connectivityBox_staysWhenAnotherWindowGoes();
};

void TestTwoWindows::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestTwoWindows::init()
{
    QFile::remove("ping.txt"_s);
    PanelWorld::clearCommands();
}

void TestTwoWindows::cleanup()
{
    DateTimeDialog::release();
    InputDialog::release();
}

void TestTwoWindows::openDateDialog_staysWhenAnotherWindowComesAndGoes()
{
    const auto window = makeWindow();
    bool stayed = false;
    const Hands::WhenOpen<DateTimeDialog> onDialog([&](DateTimeDialog& dialog) {
        makeWindow().reset();
        stayed = dialog.isVisible();
        dialog.close();
    });
    clockButton(*window)->click();
    QVERIFY(stayed);
}

void TestTwoWindows::openDateDialog_endsWithItsWindowThoughAnotherWasMade()
{
    auto window = makeWindow();
    std::unique_ptr<Settings> other;
    bool wasOpen = false;
    bool ended = false;
    const Hands::WhenOpen<DateTimeDialog> onDialog([&](DateTimeDialog& dialog) {
        other = makeWindow();
        wasOpen = dialog.isVisible();
        window.reset();
        ended = !dialog.isVisible();
        dialog.close();
    });
    clockButton(*window)->click();
    QVERIFY(wasOpen);
    QVERIFY(ended);
    QVERIFY(!Hands::modal());

    // The other window opens it again, for itself.
    bool openedAgain = false;
    const Hands::WhenOpen<DateTimeDialog> onOtherDialog([&](DateTimeDialog& dialog) {
        openedAgain = true;
        other.reset();
        ended = !dialog.isVisible();
        dialog.close();
    });
    ended = false;
    clockButton(*other)->click();
    QVERIFY(openedAgain);
    QVERIFY(ended);
}

void TestTwoWindows::keypadOfTheDateDialog_staysWhenTheFirstWindowGoes()
{
    PanelWorld::setAreaBit("/hmi_data/sfb.dat"_s, 0,
                           true); // the key click's register
    auto first = makeWindow();
    const auto second = makeWindow();
    QSettings(settingsFile, QSettings::IniFormat).setValue("General/buzzer"_s, "on"_s);
    bool stayed = false;
    const Hands::WhenOpen<DateTimeDialog> onDialog([&](DateTimeDialog& dialog) {
        const Hands::WhenOpen<InputDialog> onKeypad([&](InputDialog& keypad) {
            first.reset();
            stayed = keypad.isVisible() && dialog.isVisible();
            PanelWorld::clearCommands();
            Hands::type(keypad, "7E"_s);
        });
        QTest::mousePress(field(&dialog, "hourLineEdit"), Qt::LeftButton);
        // The dialog still clicks, by the settings of the window that opened it.
        dialog.findChild<QPushButton*>("closePushButton"_s)->click();
    });
    clockButton(*second)->click();
    QVERIFY(stayed);
    const QStringList commands = PanelWorld::commands();
    QCOMPARE(commands.filter("hwclock"_s).size(), 1);
    QCOMPARE(commands.last(), longBeep);
}

void TestTwoWindows::keypad_staysWhenAnotherWindowComesAndGoes()
{
    const auto window = makeWindow();
    auto other = makeWindow();
    bool stayed = false;
    const Hands::WhenOpen<InputDialog> onKeypad([&](InputDialog& keypad) {
        other.reset();
        makeWindow().reset();
        stayed = keypad.isVisible();
        Hands::type(keypad, "9E"_s);
    });
    QTest::mousePress(field(window.get(), "brightnessLineEdit"), Qt::LeftButton);
    QVERIFY(stayed);
    QCOMPARE(field(window.get(), "brightnessLineEdit")->text(), "09"_s);
}

void TestTwoWindows::rangeBox_endsWithItsWindow_data()
{
    QTest::addColumn<bool>("inTheDateDialog");
    QTest::newRow("of a page") << false;
    QTest::newRow("of the date dialog") << true;
}

void TestTwoWindows::rangeBox_endsWithItsWindow()
{
    QFETCH(bool, inTheDateDialog);
    auto window = makeWindow();
    bool wasOpen = false;
    bool left = false;
    const Hands::WhenOpen<QMessageBox> onBox([&](QMessageBox& box) {
        wasOpen = box.isVisible();
        window.reset();
        left = Hands::modal() != nullptr;
        while (QWidget* open = Hands::modal()) {
            open->close();
        }
    });
    const Hands::WhenOpen<InputDialog> onKeypad([&](InputDialog& keypad) {
        Hands::type(keypad, "0E"_s); // days and levels start at 1
    });
    if (inTheDateDialog) {
        const Hands::WhenOpen<DateTimeDialog> onDialog([&](DateTimeDialog& dialog) {
            QTest::mousePress(field(&dialog, "dateLineEdit"), Qt::LeftButton);
        });
        clockButton(*window)->click();
    } else {
        Hands::press(*field(window.get(), "brightnessLineEdit"));
    }
    QVERIFY(wasOpen);
    QVERIFY(!window);
    QVERIFY2(!left, "a modal window stayed that nothing can close");
}

void TestTwoWindows::rangeBox_endsWithTheKeypad()
{
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 5, nullptr, nullptr);
    bool ended = false;
    const Hands::WhenOpen<QMessageBox> onBox([&](QMessageBox& box) {
        keypad->close();
        ended = !box.isVisible();
        box.close();
    });
    const Hands::WhenOpen<InputDialog> onKeypad(
        [](InputDialog& open) { Hands::type(open, "0E"_s); });
    QCOMPARE(keypad->exec(), 0);
    QVERIFY(ended);
}

void TestTwoWindows::addressBox_endsWithItsWindow()
{
    auto window = makeWindow();
    auto* page = window->findChild<NetworkSettings*>();
    const auto fields = page->findChildren<QLineEdit*>();
    // The same address for both: the one field that is entered now as it is already.
    page->setIPToEE(NetworkSettings::Eth1, 0x0201A8C0);
    page->setIPToEE(NetworkSettings::Eth0, 0x0201A8C0);
    page->updateIPData(NetworkSettings::Eth0);
    page->updateIPData(NetworkSettings::Eth1);
    const auto edit = std::find_if(fields.begin(), fields.end(), [page](QLineEdit* candidate) {
        return page->isConfigIp(NetworkSettings::Eth0, candidate);
    });
    QVERIFY(edit != fields.end());
    bool wasOpen = false;
    bool ended = false;
    const Hands::WhenOpen<QMessageBox> onBox([&](QMessageBox& box) {
        wasOpen = true;
        window.reset();
        ended = !box.isVisible();
        box.close();
    });
    page->checkConflictIp(*edit, (*edit)->text().toInt());
    QVERIFY(wasOpen);
    QVERIFY(ended);
}

void TestTwoWindows::connectivityBox_endsWithItsWindow()
{
    auto window = makeWindow();
    bool wasOpen = false;
    bool ended = false;
    const Hands::WhenOpen<QMessageBox> onBox([&](QMessageBox& box) {
        wasOpen = true;
        window.reset();
        ended = !box.isVisible();
        box.close();
    });
    window->findChild<NetworkSettings*>()->ping_test();
    QVERIFY(wasOpen);
    QVERIFY(ended);
}

void TestTwoWindows::connectivityBox_staysWhenAnotherWindowGoes()
{
    const auto window = makeWindow();
    auto other = makeWindow();
    bool stayed = false;
    const Hands::WhenOpen<QMessageBox> onBox([&](QMessageBox& box) {
        other.reset();
        stayed = box.isVisible();
        box.close();
    });
    window->findChild<NetworkSettings*>()->ping_test();
    QVERIFY(stayed);
}

QTEST_MAIN(TestTwoWindows)
#include "test_two_windows.moc"
