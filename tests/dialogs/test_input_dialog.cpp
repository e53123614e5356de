#include "common/CallerGuard.h"
#include "common/PanelFont.h"
#include "common/TitleBarDrag.h"
#include "dialogs/DateTimeDialog.h"
#include "dialogs/DialogRelease.h"
#include "dialogs/InputDialog.h"
#include "tests/support/Hands.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QTranslator>

#include <climits>
#include <memory>

namespace {

const QString longBeep = "/root/plat-intf/setbeep long"_s;

/// A settings object with the key click set.
std::unique_ptr<QSettings> settingsWith(const char* buzzer)
{
    auto settings = std::make_unique<QSettings>("/tmp/keypad.ini"_s, QSettings::IniFormat);
    settings->setValue("General/buzzer"_s, QString::fromLatin1(buzzer));
    return settings;
}

QPushButton* key(QWidget* keypad, const QString& name)
{
    return keypad->findChild<QPushButton*>("pushButton"_s + name);
}

QString shown(const InputDialog& keypad)
{
    return keypad.findChild<QLineEdit*>("numLineEdit"_s)->text();
}

QString labelText(const InputDialog& keypad, const char* name)
{
    return keypad.findChild<QLabel*>(QString::fromLatin1(name))->text();
}

/// Counts the events of one kind that reach a widget.
class EventCount : public QObject
{
public:
    EventCount(QWidget& widget, QEvent::Type type) : m_type(type)
    {
        widget.installEventFilter(this);
    }
    int count = 0;

    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        count += event->type() == m_type ? 1 : 0;
        return false;
    }

private:
    QEvent::Type m_type;
};

/// Runs the one keypad, types, and returns its result.
int runKeypad(int min, int max, int current, const QString& letters, QSettings* settings)
{
    InputDialog* keypad = InputDialog::Instance(0, min, max, current, settings, nullptr);
    QTimer::singleShot(0, keypad, [keypad, letters] { Hands::type(*keypad, letters); });
    return keypad->exec();
}

/// A mouse event at a point of the keypad; the pointer stands at the same point of the screen.
void sendMouse(QWidget& window, QEvent::Type type, const QPointF& local, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QMouseEvent event(type, local, local, window.mapToGlobal(local.toPoint()), button, buttons,
                      Qt::NoModifier);
    QApplication::sendEvent(&window, &event);
}

} // namespace

class TestInputDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void looks_areAsDocumented();
    void keys_standInTheirGrid();
    void keys_haveTheirCaptionsAndFaces_data();
    void keys_haveTheirCaptionsAndFaces();
    void range_isShown();
    void font_followsTheId();
    void setters_showTheirValues();
    void append_replacesALoneZero_data();
    void append_replacesALoneZero();
    void typing_data();
    void typing();
    void enter_data();
    void enter();
    void enter_outOfRange_asksAgain_data();
    void enter_outOfRange_asksAgain();
    void enter_closesTheWindowOnce();
    void enter_nothingTyped_afterAnEarlierEntry();
    void close_isNoChange();
    void ownKeypad_startsAnewAfterEachUse();
    void close_afterAnEntry_isNoStaleResult();
    void closeByTheWindow_isNoChange();
    void beep_followsTheSwitch_data();
    void beep_followsTheSwitch();
    void beep_readsTheSwitchAtEveryPress();
    void idleKeys_beepAndChangeNothing();
    void filter_passesEventsOn();
    void instance_isOneAndIsSetUpAgain();
    void instance_keepsItsLooks();
    void instance_keepsTheFirstSettings();
    void instance_takesTheNextSettingsOnceTheFirstAreGone();
    void instance_followsItsParent();
    void instance_deletedWithItsParent_isMadeAgain();
    void caller_goneMeanwhile_closesTheKeypad();
    void earlierCaller_goneMeanwhile_changesNothing();
    void earlierAsker_closedOrGone_changesNothing();
    void release_deletesIt();
    void drag_startsOnTheTitleBar_data();
    void drag_startsOnTheTitleBar();
    void drag_movesByTheOffset();
    void drag_otherButtons_moveNothing();
    void drag_leavesPressesToWhoeverIsBehind();
    void inRange_isOnePixelWider_data();
    void inRange_isOnePixelWider();
    void texts_followTheTranslator();
    void entries_leaveNothingBehind();
};

void TestInputDialog::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
    QCOMPARE(PanelFont::registerFile("/hmi/default.ttf"_s), 0);
    QVERIFY(!InputDialog::p_move); // nothing was dragged yet
}

void TestInputDialog::init()
{
    PanelWorld::clearCommands();
    InputDialog::p_move = false;
}

void TestInputDialog::cleanup()
{
    InputDialog::release();
}

void TestInputDialog::looks_areAsDocumented()
{
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    QCOMPARE(keypad.minimumSize(), QSize(470, 450));
    QCOMPARE(keypad.maximumSize(), QSize(470, 450));
    QCOMPARE(keypad.windowFlags() & ~Qt::WindowType_Mask, Qt::FramelessWindowHint & ~Qt::Window);
    QCOMPARE(keypad.styleSheet(), "#InputDialog{border:3px solid rgb(0, 0, 0);}"_s);
    QCOMPARE(keypad.objectName(), "InputDialog"_s);
    QCOMPARE(keypad.windowTitle(), "Dialog"_s);

    const auto* titleBar = keypad.findChild<QFrame*>("titleBarFrame"_s);
    QCOMPARE(titleBar->styleSheet(),
             "QFrame#titleBarFrame{border-image:url(:/Resources/titleBar.png)}"_s);
    const auto* close = keypad.findChild<QPushButton*>("closePushButton"_s);
    QCOMPARE(close->minimumSize(), QSize(45, 45));
    QCOMPARE(close->maximumSize(), QSize(45, 45));
    QCOMPARE(close->styleSheet(), "QPushButton{border-image: url(:/Resources/close.png); "
                                  "background-color: rgba(255, 255, 255, 0);color:white;}"_s);
    const auto* number = keypad.findChild<QLineEdit*>("numLineEdit"_s);
    QCOMPARE(number->minimumSize(), QSize(430, 50));
    QCOMPARE(number->maximumSize(), QSize(430, 50));
    QVERIFY(number->alignment() & Qt::AlignRight);
    QCOMPARE(number->text(), "17"_s);
    QCOMPARE(number->font().weight(), 75);
    QCOMPARE(number->font().pointSize(), 15);
    for (const char* name : {"minText", "maxText"}) {
        const auto* label = keypad.findChild<QLabel*>(QString::fromLatin1(name));
        QCOMPARE(label->font().weight(), 75);
        QCOMPARE(label->font().pointSize(), 9);
        QCOMPARE(label->styleSheet(), "background:transparent; color:white"_s);
    }
    for (const char* name : {"verticalLayout_2", "horizontalLayout", "formLayout", "gridLayout",
                             "inputButtonLayout"}) {
        QVERIFY2(keypad.findChild<QLayout*>(QString::fromLatin1(name)), name);
    }
    QVERIFY(keypad.findChild<QFrame*>("numberFrame"_s));
}

void TestInputDialog::keys_standInTheirGrid()
{
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    const auto* grid = keypad.findChild<QGridLayout*>("gridLayout"_s);
    const char* const rows[4][4] = {{"1", "2", "3", "Clear"},
                                    {"4", "5", "6", "Backspace"},
                                    {"7", "8", "9", "Negative"},
                                    {"0", "Dot", "Enter", "Enter"}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            QCOMPARE(grid->itemAtPosition(row, column)->widget(),
                     key(&keypad, QString::fromLatin1(rows[row][column])));
        }
    }
    QCOMPARE(grid->count(), 15);
    keypad.show();
    // Nothing overlaps, and all of it is inside.
    const auto keys = keypad.findChild<QFrame*>("numberFrame"_s)->findChildren<QPushButton*>();
    for (const QPushButton* one : keys) {
        QVERIFY(keypad.rect().contains(QRect(one->mapTo(&keypad, QPoint(0, 0)), one->size())));
        for (const QPushButton* other : keys) {
            QVERIFY(one == other || !one->geometry().intersects(other->geometry()));
        }
    }
}

void TestInputDialog::keys_haveTheirCaptionsAndFaces_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("width");
    for (int digit = 0; digit < 10; ++digit) {
        const QString text = QString::number(digit);
        QTest::newRow(text.toLatin1().constData()) << text << text << 100;
    }
    QTest::newRow("clear") << "Clear"
                           << "CLR" << 100;
    QTest::newRow("backspace") << "Backspace"
                               << "<-" << 100;
    QTest::newRow("sign") << "Negative"
                          << "-" << 100;
    QTest::newRow("point") << "Dot"
                           << "." << 100;
    QTest::newRow("enter") << "Enter"
                           << "ENTER" << 210;
}

void TestInputDialog::keys_haveTheirCaptionsAndFaces()
{
    QFETCH(QString, name);
    QFETCH(QString, caption);
    QFETCH(int, width);
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    const QPushButton* button = key(&keypad, name);
    QCOMPARE(button->text(), caption);
    QCOMPARE(button->minimumSize(), QSize(width, 60));
    QCOMPARE(button->maximumSize(), QSize(width, 60));
    QCOMPARE(button->font().weight(), 75);
    QCOMPARE(button->font().pointSize(), 15);
    QCOMPARE(button->styleSheet(),
             "QPushButton {border-image:url(:/Resources/button_up.png);color:white;}"
             "QPushButton:pressed {border-image:url(:/Resources/button_down.png);"
             "color:white;}"_s);
}

void TestInputDialog::range_isShown()
{
    InputDialog keypad(0, 1970, 2038, 2024, nullptr, nullptr);
    QCOMPARE(labelText(keypad, "minText"), "Min:1970"_s);
    QCOMPARE(labelText(keypad, "maxText"), "Max:2038"_s);
    keypad.setTitle(3, 4);
    QCOMPARE(labelText(keypad, "minText"), "Min:3"_s);
    QCOMPARE(labelText(keypad, "maxText"), "Max:4"_s);
}

void TestInputDialog::font_followsTheId()
{
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    QCOMPARE(keypad.font().family(), PanelFont::family(0));
    keypad.setFontId(-1); // no such font: the application's
    QCOMPARE(keypad.font().family(), QGuiApplication::font().family());
}

void TestInputDialog::setters_showTheirValues()
{
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    keypad.setMinValue(5);
    keypad.setMaxValue(65535);
    keypad.setCurrentValue(250);
    QCOMPARE(labelText(keypad, "minText"), "Min:5"_s);
    QCOMPARE(labelText(keypad, "maxText"), "Max:65535"_s);
    QCOMPARE(shown(keypad), "250"_s);
}

void TestInputDialog::append_replacesALoneZero_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("digit");
    QTest::addColumn<QString>("result");
    QTest::newRow("empty") << "" << 7 << "7";
    QTest::newRow("lone zero") << "0" << 7 << "7";
    QTest::newRow("zero on zero") << "0" << 0 << "0";
    QTest::newRow("zero at the end") << "10" << 0 << "100";
    QTest::newRow("two zeros are text like any other") << "00" << 1 << "001";
}

void TestInputDialog::append_replacesALoneZero()
{
    QFETCH(QString, text);
    QFETCH(int, digit);
    QFETCH(QString, result);
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    keypad.append(text, digit);
    QCOMPARE(text, result);
}

void TestInputDialog::typing_data()
{
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("result");
    QTest::newRow("the first digit starts a new number") << "4"
                                                         << "4";
    QTest::newRow("every digit") << "1234567890"
                                 << "1234567890";
    QTest::newRow("no leading zeros") << "007"
                                      << "7";
    QTest::newRow("a lone zero") << "0"
                                 << "0";
    QTest::newRow("clear") << "12C"
                           << "0";
    QTest::newRow("clear, then a digit") << "12C5"
                                         << "5";
    QTest::newRow("backspace") << "12B"
                               << "1";
    QTest::newRow("backspace to nothing") << "1B"
                                          << "0";
    QTest::newRow("clear, then backspace") << "CB"
                                           << "0";
    QTest::newRow("backspace first") << "B"
                                     << "0";
    QTest::newRow("sign and point do nothing") << "1-2.3"
                                               << "123";
    QTest::newRow("no limit of length") << "123456789012345"
                                        << "123456789012345";
}

void TestInputDialog::typing()
{
    QFETCH(QString, keys);
    QFETCH(QString, result);
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    keypad.show();
    Hands::type(keypad, keys);
    QCOMPARE(shown(keypad), result);
    QVERIFY(keypad.isVisible());
}

void TestInputDialog::enter_data()
{
    QTest::addColumn<int>("min");
    QTest::addColumn<int>("max");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<int>("result");
    QTest::newRow("value plus one") << 1 << 32 << "5E" << 6;
    QTest::newRow("nothing typed") << 1 << 32 << "E" << 0;
    QTest::newRow("sign typed only") << 1 << 32 << "-.E" << 0;
    QTest::newRow("lower bound") << 1 << 12 << "1E" << 2;
    QTest::newRow("upper bound") << 1 << 12 << "12E" << 13;
    QTest::newRow("zero where allowed") << 0 << 59 << "0E" << 1;
    QTest::newRow("cleared where zero is allowed") << 0 << 59 << "5CE" << 1;
    QTest::newRow("eleven digits are zero") << 0 << 59 << "99999999999E" << 1;
    QTest::newRow("largest entry") << 0 << INT_MAX << "2147483646E" << INT_MAX;
}

void TestInputDialog::enter()
{
    QFETCH(int, min);
    QFETCH(int, max);
    QFETCH(QString, keys);
    QFETCH(int, result);
    QCOMPARE(runKeypad(min, max, 25, keys, nullptr), result);
    const InputDialog* keypad = InputDialog::Instance(0, min, max, 25, nullptr, nullptr);
    QVERIFY(!keypad->isVisible());
}

void TestInputDialog::enter_outOfRange_asksAgain_data()
{
    QTest::addColumn<int>("min");
    QTest::addColumn<int>("max");
    QTest::addColumn<QString>("keys");
    QTest::newRow("zero below one") << 1 << 12 << "0";
    QTest::newRow("above") << 1 << 12 << "13";
    QTest::newRow("eleven digits count as zero") << 1 << 12 << "99999999999";
    QTest::newRow("no room for plus one") << 0 << INT_MAX << "2147483647";
}

void TestInputDialog::enter_outOfRange_asksAgain()
{
    QFETCH(int, min);
    QFETCH(int, max);
    QFETCH(QString, keys);
    const Hands::Answers answers;
    InputDialog* keypad = InputDialog::Instance(0, min, max, 5, nullptr, nullptr);
    QString after;
    bool stillOpen = false;
    QTimer::singleShot(0, keypad, [&] {
        Hands::type(*keypad, keys);
        Hands::type(*keypad, "E"_s); // returns when the box is closed
        after = shown(*keypad);
        stillOpen = keypad->isVisible();
        Hands::type(*keypad, "C7E"_s);
    });
    QCOMPARE(keypad->exec(), 8);
    QCOMPARE(answers.boxes().size(), 1);
    QCOMPARE(answers.only().title, "Tips"_s);
    QCOMPARE(answers.only().text, "Input number is out of range!"_s);
    QCOMPARE(int(answers.only().buttons), int(QMessageBox::Yes));
    QVERIFY(answers.only().isFirstDefault);
    QVERIFY(!answers.only().hasParent);
    QVERIFY(stillOpen);
    QCOMPARE(after, keys);
}

/// As a host that watches the window sees it.
void TestInputDialog::enter_closesTheWindowOnce()
{
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 25, nullptr, nullptr);
    const QSignalSpy finished(keypad, &QDialog::finished);
    const QSignalSpy rejected(keypad, &QDialog::rejected);
    const EventCount closing(*keypad, QEvent::Close);
    runKeypad(1, 32, 25, "5E"_s, nullptr);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.first().first().toInt(), 6);
    QCOMPARE(rejected.count(), 0);
    QCOMPARE(closing.count, 1);
}

void TestInputDialog::enter_nothingTyped_afterAnEarlierEntry()
{
    QCOMPARE(runKeypad(1, 32, 25, "5E"_s, nullptr), 6);
    QCOMPARE(runKeypad(1, 32, 5, "E"_s, nullptr), 0);
}

void TestInputDialog::close_isNoChange()
{
    QCOMPARE(runKeypad(1, 32, 25, "7X"_s, nullptr), 0);
    // What was typed is forgotten.
    QCOMPARE(runKeypad(1, 32, 25, "E"_s, nullptr), 0);
}

/// One that a host has made for itself, and that nobody sets up again.
void TestInputDialog::ownKeypad_startsAnewAfterEachUse()
{
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    const auto run = [&keypad](const QString& keys) {
        QTimer::singleShot(0, &keypad, [&keypad, keys] { Hands::type(keypad, keys); });
        return keypad.exec();
    };
    QCOMPARE(run("5E"_s), 6);
    QCOMPARE(run("E"_s), 0);
    QCOMPARE(run("7X"_s), 0);
    QCOMPARE(shown(keypad), QString());
    QCOMPARE(run("E"_s), 0);
}

void TestInputDialog::close_afterAnEntry_isNoStaleResult()
{
    QCOMPARE(runKeypad(1, 32, 25, "5E"_s, nullptr), 6);
    QCOMPARE(runKeypad(1, 32, 25, "X"_s, nullptr), 0);
}

void TestInputDialog::closeByTheWindow_isNoChange()
{
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 25, nullptr, nullptr);
    QTimer::singleShot(0, keypad, [keypad] {
        Hands::type(*keypad, "7"_s);
        keypad->close();
    });
    QCOMPARE(keypad->exec(), 0);
    // The next entry does not start with what was typed.
    QCOMPARE(runKeypad(1, 32, 25, "E"_s, nullptr), 0);
}

void TestInputDialog::beep_followsTheSwitch_data()
{
    QTest::addColumn<QString>("buzzer");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<int>("beeps");
    QTest::newRow("every key beeps once") << "on"
                                          << "1234567890CB-." << 14;
    QTest::newRow("enter too") << "on"
                               << "5E" << 2;
    QTest::newRow("the close button too") << "on"
                                          << "5X" << 2;
    QTest::newRow("off") << "off"
                         << "123CB-.X" << 0;
    QTest::newRow("another word") << "yes"
                                  << "123X" << 0;
}

void TestInputDialog::beep_followsTheSwitch()
{
    QFETCH(QString, buzzer);
    QFETCH(QString, keys);
    QFETCH(int, beeps);
    const auto settings = settingsWith(buzzer.toLatin1().constData());
    const bool ends = keys.endsWith(QLatin1Char('X')) || keys.endsWith(QLatin1Char('E'));
    runKeypad(0, 32, 25, ends ? keys : keys + "CE"_s, settings.get());
    QCOMPARE(PanelWorld::commands().count(longBeep), beeps + (ends ? 0 : 2));
    QCOMPARE(PanelWorld::commands().size(), beeps + (ends ? 0 : 2));
}

void TestInputDialog::beep_readsTheSwitchAtEveryPress()
{
    const auto settings = settingsWith("off");
    InputDialog keypad(0, 1, 32, 17, settings.get(), nullptr);
    keypad.show();
    Hands::type(keypad, "1"_s);
    settings->setValue("General/buzzer"_s, "on"_s);
    Hands::type(keypad, "2"_s);
    settings->setValue("General/buzzer"_s, "off"_s);
    Hands::type(keypad, "3"_s);
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep}));
}

void TestInputDialog::idleKeys_beepAndChangeNothing()
{
    const auto settings = settingsWith("on");
    InputDialog keypad(0, 1, 32, 17, settings.get(), nullptr);
    keypad.show();
    QSignalSpy sign(key(&keypad, "Negative"_s), &QPushButton::clicked);
    Hands::type(keypad, "-."_s);
    QCOMPARE(sign.count(), 1);
    QCOMPARE(shown(keypad), "17"_s);
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep, longBeep}));
}

void TestInputDialog::filter_passesEventsOn()
{
    const auto settings = settingsWith("on");
    InputDialog keypad(0, 1, 32, 17, settings.get(), nullptr);
    keypad.show();
    QPushButton* five = key(&keypad, "5"_s);
    QTest::mousePress(five, Qt::LeftButton);
    QVERIFY(five->isDown());
    QTest::mouseRelease(five, Qt::LeftButton);
    QVERIFY(!five->isDown());
    QCOMPARE(shown(keypad), "5"_s);
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep})); // the release is silent
}

void TestInputDialog::instance_isOneAndIsSetUpAgain()
{
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
    Hands::type(*keypad, "12"_s);
    QCOMPARE(InputDialog::Instance(-1, 0, 65535, 3, nullptr, nullptr), keypad);
    QCOMPARE(labelText(*keypad, "minText"), "Min:0"_s);
    QCOMPARE(labelText(*keypad, "maxText"), "Max:65535"_s);
    QCOMPARE(shown(*keypad), "3"_s);
    QCOMPARE(keypad->font().family(), QGuiApplication::font().family());
    Hands::type(*keypad, "4"_s);
    QCOMPARE(shown(*keypad), "4"_s);
}

void TestInputDialog::instance_keepsItsLooks()
{
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
    const Qt::WindowFlags flags = keypad->windowFlags();
    for (int round = 0; round < 3; ++round) {
        InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
        QCOMPARE(keypad->windowFlags(), flags);
        QVERIFY(keypad->isWindow());
        QCOMPARE(keypad->size(), QSize(470, 450));
    }
}

void TestInputDialog::instance_keepsTheFirstSettings()
{
    const auto first = settingsWith("on");
    QSettings second("/tmp/other.ini"_s, QSettings::IniFormat);
    second.setValue("General/buzzer"_s, "off"_s);
    InputDialog::Instance(0, 1, 32, 17, first.get(), nullptr);
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 17, &second, nullptr);
    keypad->show();
    Hands::type(*keypad, "1"_s);
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep}));
}

void TestInputDialog::instance_takesTheNextSettingsOnceTheFirstAreGone()
{
    auto first = settingsWith("on");
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 17, first.get(), nullptr);
    keypad->show();
    first.reset();
    Hands::type(*keypad, "1"_s); // nobody's settings: silent
    QCOMPARE(PanelWorld::commands(), QStringList());
    const auto second = settingsWith("on");
    InputDialog::Instance(0, 1, 32, 17, second.get(), nullptr);
    Hands::type(*keypad, "1"_s);
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep}));
}

void TestInputDialog::instance_followsItsParent()
{
    QWidget parent;
    const InputDialog made(0, 1, 32, 17, nullptr, &parent);
    QVERIFY(made.isWindow());
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
    InputDialog::Instance(0, 1, 32, 17, nullptr, &parent);
    QCOMPARE(keypad->parentWidget(), &parent);
    QVERIFY(keypad->isWindow());
    QVERIFY(keypad->windowFlags() & Qt::FramelessWindowHint);
    InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
    QVERIFY(!keypad->parentWidget());
    QVERIFY(keypad->isWindow());
}

void TestInputDialog::instance_deletedWithItsParent_isMadeAgain()
{
    auto parent = std::make_unique<QWidget>();
    const QPointer<InputDialog> first = InputDialog::Instance(0, 1, 32, 17, nullptr, parent.get());
    parent.reset();
    QVERIFY(!first);
    QCOMPARE(runKeypad(1, 32, 17, "5E"_s, nullptr), 6);
}

void TestInputDialog::release_deletesIt()
{
    const QPointer<InputDialog> keypad = InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
    const QPointer<DateTimeDialog> clock = DateTimeDialog::Instance(0, nullptr, nullptr);
    releaseDialogs();
    QVERIFY(!keypad);
    QVERIFY(!clock);
    releaseDialogs(); // nothing is left to release
    QVERIFY(InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr));
}

void TestInputDialog::drag_startsOnTheTitleBar_data()
{
    QTest::addColumn<int>("fromRight");
    QTest::addColumn<int>("fromBottom");
    QTest::addColumn<bool>("drags");
    QTest::newRow("in the title bar") << -200 << -20 << true;
    QTest::newRow("last pixel") << 0 << -20 << true;
    QTest::newRow("one pixel right of it") << 1 << -20 << true;
    QTest::newRow("two pixels right of it") << 2 << -20 << false;
    QTest::newRow("one pixel below it") << -200 << 1 << true;
    QTest::newRow("two pixels below it") << -200 << 2 << false;
    QTest::newRow("on the keys") << -200 << 200 << false;
}

void TestInputDialog::drag_startsOnTheTitleBar()
{
    QFETCH(int, fromRight);
    QFETCH(int, fromBottom);
    QFETCH(bool, drags);
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    keypad.show();
    const QRect titleBar = keypad.findChild<QFrame*>("titleBarFrame"_s)->geometry();
    const QPoint press(titleBar.right() + fromRight, titleBar.bottom() + fromBottom);
    const QPoint before = keypad.pos();
    sendMouse(keypad, QEvent::MouseButtonPress, press, Qt::LeftButton, Qt::LeftButton);
    sendMouse(keypad, QEvent::MouseMove, press + QPoint(30, 10), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(keypad.pos() != before, drags);
    QCOMPARE(InputDialog::p_move, drags);
}

void TestInputDialog::drag_movesByTheOffset()
{
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    keypad.move(100, 50);
    keypad.show();
    const QRect titleBar = keypad.findChild<QFrame*>("titleBarFrame"_s)->geometry();
    const int margin = keypad.layout()->contentsMargins().left();
    QCOMPARE(titleBar.topLeft(), QPoint(margin, margin));
    const QPoint press(120, 30);
    sendMouse(keypad, QEvent::MouseButtonPress, press, Qt::LeftButton, Qt::LeftButton);
    sendMouse(keypad, QEvent::MouseMove, press + QPoint(40, 25), Qt::NoButton, Qt::LeftButton);
    // The window follows the pointer: it keeps standing on the point pressed.
    QCOMPARE(keypad.pos(), QPoint(140, 75));
    QVERIFY(InputDialog::p_move);

    // A press elsewhere ends the drag.
    sendMouse(keypad, QEvent::MouseButtonPress, QPointF(120, 300), Qt::LeftButton, Qt::LeftButton);
    sendMouse(keypad, QEvent::MouseMove, QPointF(200, 300), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(keypad.pos(), QPoint(140, 75));
}

void TestInputDialog::drag_otherButtons_moveNothing()
{
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    keypad.show();
    const QPoint before = keypad.pos();
    const QPointF press(120, 30);
    // A finger that comes from elsewhere: nothing was pressed here.
    sendMouse(keypad, QEvent::MouseMove, QPointF(200, 30), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(keypad.pos(), before);
    sendMouse(keypad, QEvent::MouseButtonPress, press, Qt::RightButton, Qt::RightButton);
    sendMouse(keypad, QEvent::MouseMove, QPointF(200, 30), Qt::NoButton, Qt::RightButton);
    QCOMPARE(keypad.pos(), before);
    sendMouse(keypad, QEvent::MouseButtonPress, press, Qt::LeftButton, Qt::LeftButton);
    sendMouse(keypad, QEvent::MouseMove, QPointF(200, 30), Qt::NoButton, Qt::NoButton);
    QCOMPARE(keypad.pos(), before);
    QVERIFY(!InputDialog::p_move);
    // The left one is held, whatever else is.
    sendMouse(keypad, QEvent::MouseMove, QPointF(200, 30), Qt::NoButton,
              Qt::LeftButton | Qt::RightButton);
    QCOMPARE(keypad.pos(), before + QPoint(80, 0));
    QVERIFY(InputDialog::p_move);
}

void TestInputDialog::drag_leavesPressesToWhoeverIsBehind()
{
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    keypad.show();
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseMove}) {
        QMouseEvent event(type, QPointF(50, 20), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&keypad, &event);
        QVERIFY2(!event.isAccepted(), "a plain window takes neither");
    }
}

void TestInputDialog::inRange_isOnePixelWider_data()
{
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<bool>("inside");
    // A frame at (10, 20) of 100 x 30: its last pixel is (109, 49).
    QTest::newRow("top left") << QPoint(10, 20) << true;
    QTest::newRow("left of it") << QPoint(9, 20) << false;
    QTest::newRow("above it") << QPoint(10, 19) << false;
    QTest::newRow("last pixel") << QPoint(109, 49) << true;
    QTest::newRow("one right and below") << QPoint(110, 50) << true;
    QTest::newRow("two right") << QPoint(111, 49) << false;
    QTest::newRow("two below") << QPoint(109, 51) << false;
}

void TestInputDialog::inRange_isOnePixelWider()
{
    QFETCH(QPoint, point);
    QFETCH(bool, inside);
    QFrame frame;
    frame.setGeometry(10, 20, 100, 30);
    InputDialog keypad(0, 1, 32, 17, nullptr, nullptr);
    QCOMPARE(keypad.inRange(&point, &frame), inside);
}

void TestInputDialog::texts_followTheTranslator()
{
    QTranslator chinese;
    QVERIFY(chinese.load(":/Languages/Translate_CN.qm"_s));
    QCoreApplication::installTranslator(&chinese);
    const Hands::Answers answers;
    InputDialog* keypad = InputDialog::Instance(0, 1, 12, 5, nullptr, nullptr);
    QTimer::singleShot(0, keypad, [&] {
        Hands::type(*keypad, "99"_s);
        Hands::type(*keypad, "E"_s);
        keypad->close();
    });
    keypad->exec();
    QCOMPARE(answers.only().title, QString::fromUtf8("提示信息"));
    QCOMPARE(answers.only().text, QString::fromUtf8("输入数字超出范围！"));
    // These have no translation and show their source.
    QCOMPARE(labelText(*keypad, "minText"), "Min:1"_s);
    QCOMPARE(key(keypad, "Enter"_s)->text(), "ENTER"_s);
}

void TestInputDialog::entries_leaveNothingBehind()
{
    runKeypad(1, 32, 17, "5E"_s, nullptr);
    const InputDialog* keypad = InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
    const int objects = keypad->findChildren<QObject*>().size();
    const int widgets = QApplication::allWidgets().size();
    for (int round = 0; round < 100; ++round) {
        runKeypad(1, 32, 17, round % 2 ? "5E"_s : "X"_s, nullptr);
    }
    QCOMPARE(keypad->findChildren<QObject*>().size(), objects);
    QCOMPARE(QApplication::allWidgets().size(), widgets);
    for (int round = 0; round < 100; ++round) {
        InputDialog own(0, 1, 32, 17, nullptr, nullptr);
        own.show();
    }
    QCOMPARE(QApplication::allWidgets().size(), widgets);
}

void TestInputDialog::caller_goneMeanwhile_closesTheKeypad()
{
    for (int round = 0; round < 2; ++round) { // for a new keypad and one that is used again
        auto settings = std::make_unique<QSettings>("/tmp/keypad.ini"_s, QSettings::IniFormat);
        InputDialog* keypad = InputDialog::Instance(0, 1, 32, 5, settings.get(), nullptr);
        bool wasOpen = false;
        QTimer::singleShot(0, keypad, [&] {
            Hands::type(*keypad, "7"_s);
            wasOpen = keypad->isVisible();
            settings.reset();
        });
        QCOMPARE(keypad->exec(), 0);
        QVERIFY(wasOpen);
        QVERIFY(!keypad->isVisible());
    }
}

void TestInputDialog::earlierCaller_goneMeanwhile_changesNothing()
{
    auto earlier = std::make_unique<QSettings>("/tmp/keypad.ini"_s, QSettings::IniFormat);
    QSettings settings("/tmp/keypad2.ini"_s, QSettings::IniFormat);
    InputDialog::Instance(0, 1, 32, 5, earlier.get(), nullptr);
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 5, &settings, nullptr);
    bool isStillOpen = false;
    QTimer::singleShot(0, keypad, [&] {
        earlier.reset();
        isStillOpen = keypad->isVisible();
        Hands::type(*keypad, "7E"_s);
    });
    QCOMPARE(keypad->exec(), 8);
    QVERIFY(isStillOpen);
}

void TestInputDialog::earlierAsker_closedOrGone_changesNothing()
{
    for (const bool isDeleted : {false, true}) {
        auto earlier = std::make_unique<QDialog>();
        earlier->show();
        InputDialog keypad(0, 1, 32, 5, nullptr, nullptr);
        CallerGuard guard;
        guard.watch(&keypad, earlier.get());
        guard.watch(&keypad, nullptr);
        bool isStillOpen = false;
        QTimer::singleShot(0, &keypad, [&] {
            isDeleted ? earlier.reset() : earlier->done(1);
            isStillOpen = keypad.isVisible();
            Hands::type(keypad, "7E"_s);
        });
        QCOMPARE(keypad.exec(), 8);
        QVERIFY(isStillOpen);
    }
}

QTEST_MAIN(TestInputDialog)
#include "test_input_dialog.moc"
