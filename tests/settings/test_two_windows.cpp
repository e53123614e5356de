#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"
#include "network/NetworkSettings.h"
#include "settings/Settings.h"
#include "tests/support/PanelWorld.h"

#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

namespace {

const QString settingsFile = QStringLiteral("/hmi/Config/system_settings.ini");
const QString longBeep = QStringLiteral("/root/plat-intf/setbeep long");
constexpr int pollMs = 5;

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
        if (button->styleSheet().contains(QStringLiteral("setting_button.png"))) {
            return button;
        }
    }
    return nullptr;
}

QLineEdit* field(const QWidget* window, const char* name)
{
    return window->findChild<QLineEdit*>(QString::fromLatin1(name));
}

void press(const QWidget* keypad, const char* key)
{
    keypad->findChild<QPushButton*>(QStringLiteral("pushButton") + QString::fromLatin1(key))
        ->click();
}

/// Calls a function with the modal window as soon as it is one of that class: the window blocks
/// whoever opened it.
template <typename Window>
void whenOpen(const std::function<void(Window*)>& function)
{
    auto* poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, qApp, [poll, function] {
        if (auto* window = qobject_cast<Window*>(QApplication::activeModalWidget())) {
            poll->deleteLater();
            poll->stop();
            function(window);
        }
    });
    poll->start(pollMs);
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
    QFile::remove(QStringLiteral("ping.txt"));
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
    whenOpen<DateTimeDialog>([&](DateTimeDialog* dialog) {
        makeWindow().reset();
        stayed = dialog->isVisible();
        dialog->close();
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
    whenOpen<DateTimeDialog>([&](DateTimeDialog* dialog) {
        other = makeWindow();
        wasOpen = dialog->isVisible();
        window.reset();
        ended = !dialog->isVisible();
        dialog->close();
    });
    clockButton(*window)->click();
    QVERIFY(wasOpen);
    QVERIFY(ended);
    QVERIFY(!QApplication::activeModalWidget());

    // The other window opens it again, for itself.
    bool openedAgain = false;
    whenOpen<DateTimeDialog>([&](DateTimeDialog* dialog) {
        openedAgain = true;
        other.reset();
        ended = !dialog->isVisible();
        dialog->close();
    });
    ended = false;
    clockButton(*other)->click();
    QVERIFY(openedAgain);
    QVERIFY(ended);
}

void TestTwoWindows::keypadOfTheDateDialog_staysWhenTheFirstWindowGoes()
{
    PanelWorld::setAreaBit(QStringLiteral("/hmi_data/sfb.dat"), 0,
                           true); // the key click's register
    auto first = makeWindow();
    const auto second = makeWindow();
    QSettings(settingsFile, QSettings::IniFormat)
        .setValue(QStringLiteral("General/buzzer"), QStringLiteral("on"));
    bool stayed = false;
    whenOpen<DateTimeDialog>([&](DateTimeDialog* dialog) {
        whenOpen<InputDialog>([&](InputDialog* keypad) {
            first.reset();
            stayed = keypad->isVisible() && dialog->isVisible();
            PanelWorld::clearCommands();
            press(keypad, "7");
            press(keypad, "Enter");
        });
        QTest::mousePress(field(dialog, "hourLineEdit"), Qt::LeftButton);
        // The dialog still clicks, by the settings of the window that opened it.
        dialog->findChild<QPushButton*>(QStringLiteral("closePushButton"))->click();
    });
    clockButton(*second)->click();
    QVERIFY(stayed);
    const QStringList commands = PanelWorld::commands();
    QCOMPARE(commands.filter(QStringLiteral("hwclock")).size(), 1);
    QCOMPARE(commands.last(), longBeep);
}

void TestTwoWindows::keypad_staysWhenAnotherWindowComesAndGoes()
{
    const auto window = makeWindow();
    auto other = makeWindow();
    bool stayed = false;
    whenOpen<InputDialog>([&](InputDialog* keypad) {
        other.reset();
        makeWindow().reset();
        stayed = keypad->isVisible();
        press(keypad, "9");
        press(keypad, "Enter");
    });
    QTest::mousePress(field(window.get(), "brightnessLineEdit"), Qt::LeftButton);
    QVERIFY(stayed);
    QCOMPARE(field(window.get(), "brightnessLineEdit")->text(), QStringLiteral("09"));
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
    whenOpen<QMessageBox>([&](QMessageBox* box) {
        wasOpen = box->isVisible();
        window.reset();
        left = QApplication::activeModalWidget() != nullptr;
        while (QWidget* open = QApplication::activeModalWidget()) {
            open->close();
        }
    });
    whenOpen<InputDialog>([&](InputDialog* keypad) {
        press(keypad, "0");
        press(keypad, "Enter"); // days and levels start at 1
    });
    if (inTheDateDialog) {
        whenOpen<DateTimeDialog>([&](DateTimeDialog* dialog) {
            QTest::mousePress(field(dialog, "dateLineEdit"), Qt::LeftButton);
        });
        clockButton(*window)->click();
    } else {
        QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(field(window.get(), "brightnessLineEdit"), &press);
    }
    QVERIFY(wasOpen);
    QVERIFY(!window);
    QVERIFY2(!left, "a modal window stayed that nothing can close");
}

void TestTwoWindows::rangeBox_endsWithTheKeypad()
{
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 5, nullptr, nullptr);
    bool ended = false;
    whenOpen<QMessageBox>([&](QMessageBox* box) {
        keypad->close();
        ended = !box->isVisible();
        box->close();
    });
    whenOpen<InputDialog>([](InputDialog* open) {
        press(open, "0");
        press(open, "Enter");
    });
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
    whenOpen<QMessageBox>([&](QMessageBox* box) {
        wasOpen = true;
        window.reset();
        ended = !box->isVisible();
        box->close();
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
    whenOpen<QMessageBox>([&](QMessageBox* box) {
        wasOpen = true;
        window.reset();
        ended = !box->isVisible();
        box->close();
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
    whenOpen<QMessageBox>([&](QMessageBox* box) {
        other.reset();
        stayed = box->isVisible();
        box->close();
    });
    window->findChild<NetworkSettings*>()->ping_test();
    QVERIFY(stayed);
}

QTEST_MAIN(TestTwoWindows)
#include "test_two_windows.moc"
