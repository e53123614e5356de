#include "common/PanelFont.h"
#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"
#include "tests/support/Hands.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QDateTime>
#include <QFrame>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

const QString longBeep = "/root/plat-intf/setbeep long"_s;
const QString lockArea = "/hmi_data/sfb.dat"_s;
constexpr int lockBit = 1;

/// The six fields: name, keypad range.
const struct Field
{
    const char* name;
    int minimum;
    int maximum;
} fields[] = {
    {"yearLineEdit", 1970, 2038}, {"monthLineEdit", 1, 12},  {"dateLineEdit", 1, 31},
    {"hourLineEdit", 0, 23},      {"minuteLineEdit", 0, 59}, {"secondLineEdit", 0, 59},
};

DateTimeDialog* dialog(QSettings* settings = nullptr)
{
    return DateTimeDialog::Instance(0, settings, nullptr);
}

QLineEdit* field(const char* name)
{
    return dialog()->findChild<QLineEdit*>(QString::fromLatin1(name));
}

QStringList shown()
{
    QStringList texts;
    for (const Field& row : fields) {
        texts << field(row.name)->text();
    }
    return texts;
}

void showMoment(int year, int month, int day, int hour, int minute, int second)
{
    QDateTime moment(QDate(year, month, day), QTime(hour, minute, second));
    dialog()->onUpdateCurrentDateTime(moment);
}

/// Enters digits in a field; no digits close its keypad. The range and the number that the keypad
/// showed, empty when none opened.
QString enter(const char* name, const QString& digits)
{
    const QStringList shown = Hands::enter(*field(name), digits);
    QCoreApplication::processEvents();
    return (shown.mid(1) + shown.mid(0, 1)).join(QLatin1Char(' '));
}

QStringList clockCommands(const char* date, const char* time)
{
    return {"date -s "_s + QString::fromLatin1(date), "date -s "_s + QString::fromLatin1(time),
            "hwclock --systohc --utc"_s};
}

void sendMouse(QWidget& window, QEvent::Type type, const QPointF& local, Qt::MouseButton button)
{
    QMouseEvent event(type, local, local, window.mapToGlobal(local.toPoint()), button,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &event);
}

} // namespace

class TestDateTimeDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void sizes_followTheDeviceRecord_data();
    void sizes_followTheDeviceRecord();
    void looks_areAsDocumented();
    void form_hasItsOrderAndMargins();
    void fields_fitTheirTexts();
    void moment_isShownPadded_data();
    void moment_isShownPadded();
    void entry_opensTheKeypadOfItsField_data();
    void entry_opensTheKeypadOfItsField();
    void entry_setsBothClocksInOrder();
    void entry_eachFieldSetsAllSix_data();
    void entry_eachFieldSetsAllSix();
    void entry_dayIsNotCheckedAgainstTheMonth();
    void entry_cancelled_changesNothing();
    void entry_outOfRange_isRefusedByTheKeypad();
    void entry_pressReachesItsFieldToo_data();
    void entry_pressReachesItsFieldToo();
    void entry_clearsTheFocus();
    void entry_combinesWithTheMomentShownThen();
    void press_beepsByTheSwitch_data();
    void press_beepsByTheSwitch();
    void lockRegister_closesTheFields();
    void lockRegister_locksByItsNeighboursToo();
    void lockRegister_isReadAtEveryPress();
    void lockRegister_isReadForEveryEvent();
    void lockRegister_unreadable_locksNothing();
    void filter_consumesNothing();
    void setSystemTime_runsThreeCommandsWithoutPadding();
    void setSystemTime_keepsWhatDatePrintsFromTheHost();
    void close_beepsByTheSwitchAndCloses_data();
    void close_beepsByTheSwitchAndCloses();
    void instance_isOneAndKeepsItsArguments();
    void instance_takesTheNextSettingsOnceTheFirstAreGone();
    void drag_startsOnTheTitleBar();
    void drag_leavesPressesToWhoeverIsBehind();
    void deletedWhileTheKeypadIsOpen_closesTheKeypad();
    void caller_goneMeanwhile_closesDialogAndKeypad();
};

void TestDateTimeDialog::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
    QCOMPARE(PanelFont::registerFile("/hmi/default.ttf"_s), 0);
}

void TestDateTimeDialog::init()
{
    PanelWorld::setScreenWidth(1024);
    PanelWorld::setAreaBit(lockArea, lockBit, false);
    dialog();
    InputDialog::p_move = false;
    PanelWorld::clearCommands();
}

void TestDateTimeDialog::cleanup()
{
    DateTimeDialog::release();
    InputDialog::release();
}

void TestDateTimeDialog::sizes_followTheDeviceRecord_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<int>("dialogWidth");
    QTest::addColumn<int>("yearWidth");
    QTest::addColumn<int>("fieldWidth");
    QTest::newRow("1920") << 1920 << 700 << 100 << 60;
    QTest::newRow("1280") << 1280 << 500 << 80 << 40;
    QTest::newRow("1024") << 1024 << 500 << 80 << 40;
    QTest::newRow("800") << 800 << 500 << 80 << 40;
    QTest::newRow("1919") << 1919 << 500 << 80 << 40;
}

void TestDateTimeDialog::sizes_followTheDeviceRecord()
{
    QFETCH(int, screenWidth);
    QFETCH(int, dialogWidth);
    QFETCH(int, yearWidth);
    QFETCH(int, fieldWidth);
    DateTimeDialog::release();
    PanelWorld::setScreenWidth(screenWidth);
    PanelWorld::clearCommands();
    QCOMPARE(dialog()->minimumSize(), QSize(dialogWidth, 120));
    QCOMPARE(dialog()->maximumSize(), QSize(dialogWidth, 120));
    QCOMPARE(PanelWorld::commands(), QStringList({"/root/plat-intf/readee"_s}));
    const auto* titleBar = dialog()->findChild<QFrame*>("titleBarFrame"_s);
    QCOMPARE(titleBar->minimumSize(), QSize(dialogWidth - 6, 50));
    QCOMPARE(titleBar->maximumSize(), QSize(dialogWidth - 6, 50));
    for (const Field& row : fields) {
        const bool year = qstrcmp(row.name, "yearLineEdit") == 0;
        QCOMPARE(field(row.name)->minimumSize(), QSize(year ? yearWidth : fieldWidth, 40));
        QCOMPARE(field(row.name)->maximumSize(), QSize(year ? yearWidth : fieldWidth, 40));
    }
}

void TestDateTimeDialog::looks_areAsDocumented()
{
    QCOMPARE(dialog()->objectName(), "DateTimeDialog"_s);
    QCOMPARE(dialog()->windowTitle(), "Dialog"_s);
    QVERIFY(dialog()->windowFlags() & Qt::FramelessWindowHint);
    QCOMPARE(dialog()->styleSheet(), "#DateTimeDialog{border:3px solid rgb(0, 0, 0);}"_s);
    QCOMPARE(dialog()->layout()->contentsMargins(), QMargins(3, 3, 3, 3));
    QCOMPARE(dialog()->font().weight(), 75);
    QCOMPARE(dialog()->font().pointSize(), 13);
    QCOMPARE(dialog()->font().family(), PanelFont::family(0));
    const auto* titleBar = dialog()->findChild<QFrame*>("titleBarFrame"_s);
    QCOMPARE(titleBar->frameShape(), QFrame::StyledPanel);
    QCOMPARE(titleBar->layout()->contentsMargins(), QMargins());
    QCOMPARE(titleBar->styleSheet(),
             "QFrame#titleBarFrame{border-image:url(:/Resources/titleBar.png)}"_s);
    const auto* close = dialog()->findChild<QPushButton*>("closePushButton"_s);
    QCOMPARE(close->minimumSize(), QSize(45, 45));
    QCOMPARE(close->maximumSize(), QSize(45, 45));
    QCOMPARE(close->styleSheet(), "QPushButton{border-image: url(:/Resources/close.png); "
                                  "background-color: rgba(255, 255, 255, 0);color:white;}"_s);
    QCOMPARE(dialog()->findChild<QLayout*>("dateTimeLayout"_s)->contentsMargins(),
             QMargins(10, 10, 10, 10));
    for (const char* name : {"horizontalLayout", "horizontalLayout_2", "horizontalLayout_3",
                             "horizontalLayout_4", "horizontalLayout_5"}) {
        QVERIFY2(dialog()->findChild<QLayout*>(QString::fromLatin1(name)), name);
    }
    const char* const separators[][2] = {
        {"label", "/"}, {"label_2", "/"}, {"label_3", ":"}, {"label_4", ":"}};
    for (const auto& separator : separators) {
        const auto* label = dialog()->findChild<QLabel*>(QString::fromLatin1(separator[0]));
        QCOMPARE(label->text(), QString::fromLatin1(separator[1]));
        QCOMPARE(int(label->alignment()), int(Qt::AlignCenter));
    }
    for (const Field& row : fields) {
        QCOMPARE(int(field(row.name)->alignment()), int(Qt::AlignCenter));
    }
}

namespace {

/// Names of the widgets in a layout and those within, in their order.
QStringList widgetsIn(const QLayout* layout)
{
    QStringList names;
    for (int at = 0; at < layout->count(); ++at) {
        QLayoutItem* item = layout->itemAt(at);
        if (item->widget()) {
            names << item->widget()->objectName();
        } else if (item->layout()) {
            names << widgetsIn(item->layout());
        }
    }
    return names;
}

QMargins marginsOf(const char* layout)
{
    return dialog()->findChild<QLayout*>(QString::fromLatin1(layout))->contentsMargins();
}

} // namespace

void TestDateTimeDialog::form_hasItsOrderAndMargins()
{
    QCOMPARE(widgetsIn(dialog()->findChild<QLayout*>("dateTimeLayout"_s)),
             QStringList({"yearLineEdit"_s, "label"_s, "monthLineEdit"_s, "label_2"_s,
                          "dateLineEdit"_s, "hourLineEdit"_s, "label_3"_s, "minuteLineEdit"_s,
                          "label_4"_s, "secondLineEdit"_s}));
    // A layout within another has no margins by default.
    QCOMPARE(marginsOf("horizontalLayout"), QMargins(0, 0, 0, 0));
    QCOMPARE(marginsOf("horizontalLayout_3"), QMargins(0, 0, 80, 0));
    for (const char* plain : {"horizontalLayout_4", "horizontalLayout_5"}) {
        QCOMPARE(marginsOf(plain), QMargins(0, 0, 0, 0));
    }
}

void TestDateTimeDialog::fields_fitTheirTexts()
{
    for (const int width : {800, 1920}) {
        DateTimeDialog::release();
        PanelWorld::setScreenWidth(width);
        dialog()->show();
        showMoment(2028, 12, 28, 20, 28, 58);
        const QLineEdit* previous = nullptr;
        for (const Field& row : fields) {
            const QLineEdit* edit = field(row.name);
            QVERIFY(edit->fontMetrics().horizontalAdvance(edit->text()) < edit->width() - 8);
            const QRect place(edit->mapTo(dialog(), QPoint(0, 0)), edit->size());
            QVERIFY(dialog()->rect().contains(place));
            QVERIFY(!previous ||
                    previous->mapTo(dialog(), QPoint(previous->width(), 0)).x() < place.left());
            previous = edit;
        }
    }
}

void TestDateTimeDialog::moment_isShownPadded_data()
{
    QTest::addColumn<QDateTime>("moment");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("single digits") << QDateTime(QDate(2024, 3, 7), QTime(9, 5, 0))
                                   << QStringList({"2024", "03", "07", "09", "05", "00"});
    QTest::newRow("last second of a year") << QDateTime(QDate(2024, 12, 31), QTime(23, 59, 59))
                                           << QStringList({"2024", "12", "31", "23", "59", "59"});
    QTest::newRow("year of three digits") << QDateTime(QDate(999, 1, 1), QTime(0, 0, 0))
                                          << QStringList({"0999", "01", "01", "00", "00", "00"});
}

void TestDateTimeDialog::moment_isShownPadded()
{
    QFETCH(QDateTime, moment);
    QFETCH(QStringList, texts);
    dialog()->onUpdateCurrentDateTime(moment);
    QCOMPARE(shown(), texts);
}

void TestDateTimeDialog::entry_opensTheKeypadOfItsField_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("range");
    const char* const current[] = {"2024", "3", "7", "9", "5", "0"};
    for (int row = 0; row < int(std::size(fields)); ++row) {
        QTest::newRow(fields[row].name) << row
                                        << "Min:%1 Max:%2 %3"_s.arg(fields[row].minimum)
                                               .arg(fields[row].maximum)
                                               .arg(QString::fromLatin1(current[row]));
    }
}

void TestDateTimeDialog::entry_opensTheKeypadOfItsField()
{
    QFETCH(int, row);
    QFETCH(QString, range);
    dialog()->show();
    showMoment(2024, 3, 7, 9, 5, 0);
    QCOMPARE(enter(fields[row].name, QString()), range);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestDateTimeDialog::entry_setsBothClocksInOrder()
{
    dialog()->show();
    showMoment(2024, 3, 7, 9, 5, 0);
    enter("minuteLineEdit", "42"_s);
    QCOMPARE(shown(), QStringList({"2024", "03", "07", "09", "42", "00"}));
    QCOMPARE(PanelWorld::commands(), clockCommands("2024-3-7", "9:42:0"));
}

void TestDateTimeDialog::entry_eachFieldSetsAllSix_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("digits");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("time");
    QTest::newRow("year") << "yearLineEdit"
                          << "1999"
                          << "1999-3-7"
                          << "9:5:0";
    QTest::newRow("month") << "monthLineEdit"
                           << "12"
                           << "2024-12-7"
                           << "9:5:0";
    QTest::newRow("day") << "dateLineEdit"
                         << "1"
                         << "2024-3-1"
                         << "9:5:0";
    QTest::newRow("hour") << "hourLineEdit"
                          << "0"
                          << "2024-3-7"
                          << "0:5:0";
    QTest::newRow("minute") << "minuteLineEdit"
                            << "59"
                            << "2024-3-7"
                            << "9:59:0";
    QTest::newRow("second") << "secondLineEdit"
                            << "7"
                            << "2024-3-7"
                            << "9:5:7";
}

void TestDateTimeDialog::entry_eachFieldSetsAllSix()
{
    QFETCH(QString, name);
    QFETCH(QString, digits);
    QFETCH(QString, date);
    QFETCH(QString, time);
    dialog()->show();
    showMoment(2024, 3, 7, 9, 5, 0);
    enter(name.toLatin1().constData(), digits);
    QCOMPARE(PanelWorld::commands(),
             clockCommands(date.toLatin1().constData(), time.toLatin1().constData()));
}

void TestDateTimeDialog::entry_dayIsNotCheckedAgainstTheMonth()
{
    dialog()->show();
    showMoment(2024, 2, 7, 9, 5, 0);
    enter("dateLineEdit", "31"_s);
    QCOMPARE(PanelWorld::commands(), clockCommands("2024-2-31", "9:5:0"));
    QCOMPARE(field("dateLineEdit")->text(), "31"_s);
}

void TestDateTimeDialog::entry_cancelled_changesNothing()
{
    dialog()->show();
    showMoment(2024, 3, 7, 9, 5, 0);
    enter("hourLineEdit", QString());
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(shown(), QStringList({"2024", "03", "07", "09", "05", "00"}));
}

void TestDateTimeDialog::entry_outOfRange_isRefusedByTheKeypad()
{
    dialog()->show();
    showMoment(2024, 3, 7, 9, 5, 0);
    // The box closes, then the keypad.
    const Hands::WhenOpen<QMessageBox> closing([](QMessageBox& box) {
        box.close();
        QTimer::singleShot(0, qApp, [] { Hands::modal()->close(); });
    });
    enter("hourLineEdit", "24"_s);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(field("hourLineEdit")->text(), "09"_s);
}

void TestDateTimeDialog::entry_pressReachesItsFieldToo_data()
{
    QTest::addColumn<bool>("isEntered");
    QTest::newRow("entered") << true;
    QTest::newRow("cancelled") << false;
}

void TestDateTimeDialog::entry_pressReachesItsFieldToo()
{
    QFETCH(bool, isEntered);
    dialog()->show();
    showMoment(2024, 3, 7, 9, 5, 0);
    QLineEdit* hour = field("hourLineEdit");
    QCOMPARE(hour->cursorPosition(), 2);
    const Hands::WhenOpen<InputDialog> typing([&](InputDialog& keypad) {
        isEntered ? Hands::type(keypad, "8E"_s) : void(keypad.close());
    });
    QTest::mousePress(hour, Qt::LeftButton, Qt::NoModifier, QPoint(1, hour->height() / 2));
    QCOMPARE(hour->cursorPosition(), 0); // the press put it where it fell
}

void TestDateTimeDialog::entry_clearsTheFocus()
{
    dialog()->show();
    QApplication::setActiveWindow(dialog());
    showMoment(2024, 3, 7, 9, 5, 0);
    field("hourLineEdit")->setFocus();
    QVERIFY(QTest::qWaitForWindowActive(dialog()));
    QVERIFY(field("hourLineEdit")->hasFocus());
    const Hands::WhenOpen<InputDialog> typing(
        [](InputDialog& keypad) { Hands::type(keypad, "8E"_s); });
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QVERIFY(!static_cast<QObject*>(dialog())->eventFilter(field("hourLineEdit"), &press));
    QCOMPARE(field("hourLineEdit")->text(), "08"_s);
    QVERIFY(!field("hourLineEdit")->hasFocus());
}

void TestDateTimeDialog::entry_combinesWithTheMomentShownThen()
{
    dialog()->show();
    showMoment(2024, 3, 7, 9, 5, 58);
    const Hands::WhenOpen<InputDialog> typing([](InputDialog& keypad) {
        showMoment(2024, 3, 7, 9, 6, 3); // the clock ticks on behind the keypad
        Hands::type(keypad, "8E"_s);
    });
    QTest::mousePress(field("hourLineEdit"), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), clockCommands("2024-3-7", "8:6:3"));
}

void TestDateTimeDialog::press_beepsByTheSwitch_data()
{
    QTest::addColumn<QString>("buzzer");
    QTest::addColumn<int>("beeps");
    QTest::newRow("on") << "on" << 1;
    QTest::newRow("off") << "off" << 0;
    QTest::newRow("another word") << "ON" << 0;
}

void TestDateTimeDialog::press_beepsByTheSwitch()
{
    QFETCH(QString, buzzer);
    QFETCH(int, beeps);
    DateTimeDialog::release();
    QSettings settings("/tmp/date.ini"_s, QSettings::IniFormat);
    settings.setValue("General/buzzer"_s, buzzer);
    dialog(&settings)->show();
    PanelWorld::clearCommands();
    for (const Field& row : fields) {
        PanelWorld::clearCommands();
        // Closed without its button, which sounds as well.
        const Hands::WhenOpen<InputDialog> closing([](InputDialog& keypad) { keypad.close(); });
        Hands::press(*field(row.name));
        QCOMPARE(PanelWorld::commands(), beeps ? QStringList({longBeep}) : QStringList());
    }
}

void TestDateTimeDialog::lockRegister_closesTheFields()
{
    DateTimeDialog::release();
    QSettings settings("/tmp/date.ini"_s, QSettings::IniFormat);
    settings.setValue("General/buzzer"_s, "on"_s);
    dialog(&settings)->show();
    PanelWorld::setAreaBit(lockArea, lockBit, true);
    PanelWorld::clearCommands();
    for (const Field& row : fields) {
        QCOMPARE(enter(row.name, "1"_s), QString());
    }
    for (const auto type : {QEvent::MouseMove, QEvent::Paint}) {
        QEvent event(type);
        QVERIFY2(!dialog()->eventFilter(field("hourLineEdit"), &event), "passed on, all the same");
    }
    // Pressing still beeps.
    QCOMPARE(PanelWorld::commands(),
             QStringList({longBeep, longBeep, longBeep, longBeep, longBeep, longBeep}));
}

void TestDateTimeDialog::lockRegister_locksByItsNeighboursToo()
{
    dialog()->show();
    const int next = lockBit + 1;
    PanelWorld::setAreaBit(lockArea, next, true);
    QCOMPARE(enter("hourLineEdit", "1"_s), QString());
    PanelWorld::setAreaBit(lockArea, next, false);
    QVERIFY(!enter("hourLineEdit", "1"_s).isEmpty());
}

void TestDateTimeDialog::lockRegister_isReadAtEveryPress()
{
    dialog()->show();
    showMoment(2024, 3, 7, 9, 5, 0);
    PanelWorld::setAreaBit(lockArea, lockBit, true);
    QCOMPARE(enter("hourLineEdit", QString()), QString());
    PanelWorld::setAreaBit(lockArea, lockBit, false);
    // The byte comes back unmasked: any bit above the register's own locks as well.
    const QByteArray area = PanelWorld::fileContent(lockArea);
    PanelWorld::patchFile(lockArea, 0, QByteArray(1, '\x40'));
    QCOMPARE(enter("hourLineEdit", QString()), QString());
    PanelWorld::patchFile(lockArea, 0, QByteArray(1, '\x01')); // below it: not read
    QVERIFY(!enter("hourLineEdit", QString()).isEmpty());
    PanelWorld::writeFile(lockArea, area);
}

void TestDateTimeDialog::lockRegister_isReadForEveryEvent()
{
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    QVERIFY(inotify_add_watch(watch, "/hmi_data/sfb.dat", IN_OPEN) >= 0);
    for (const auto type : {QEvent::MouseMove, QEvent::MouseButtonRelease, QEvent::Paint}) {
        QEvent event(type);
        dialog()->eventFilter(field("hourLineEdit"), &event);
        char buffer[4096];
        QCOMPARE(int(read(watch, buffer, sizeof buffer)), int(sizeof(inotify_event)));
    }
    close(watch);
}

void TestDateTimeDialog::lockRegister_unreadable_locksNothing()
{
    dialog()->show();
    QVERIFY(QFile::rename(lockArea, lockArea + ".away"_s));
    QVERIFY(!enter("hourLineEdit", QString()).isEmpty());
    QVERIFY(QFile::rename(lockArea + ".away"_s, lockArea));
}

void TestDateTimeDialog::filter_consumesNothing()
{
    dialog()->show();
    QObject* filter = dialog();
    for (const auto type : {QEvent::MouseMove, QEvent::MouseButtonRelease, QEvent::FocusIn}) {
        QEvent event(type);
        QVERIFY(!filter->eventFilter(field("hourLineEdit"), &event));
    }
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QLineEdit stranger;
    QVERIFY(!filter->eventFilter(&stranger, &press));
    QVERIFY(!Hands::modal());
}

void TestDateTimeDialog::setSystemTime_runsThreeCommandsWithoutPadding()
{
    dialog()->setSystemTime(2024, 3, 7, 9, 5, 0);
    QCOMPARE(PanelWorld::commands(), clockCommands("2024-3-7", "9:5:0"));
    PanelWorld::clearCommands();
    dialog()->setSystemTime(1970, 12, 31, 23, 59, 59);
    QCOMPARE(PanelWorld::commands(), clockCommands("1970-12-31", "23:59:59"));
}

void TestDateTimeDialog::setSystemTime_keepsWhatDatePrintsFromTheHost()
{
    const QString tool = "/panel/bin/date"_s;
    const QByteArray usual = PanelWorld::fileContent(tool);
    PanelWorld::writeFile(tool, "#!/bin/sh\necho the new time\necho complaint >&2\n");
    std::FILE* printed = std::tmpfile();
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    dup2(fileno(printed), STDOUT_FILENO);
    dialog()->setSystemTime(2024, 3, 7, 9, 5, 0);
    std::system("date"); // which is seen
    dup2(saved, STDOUT_FILENO);
    ::close(saved);
    PanelWorld::writeFile(tool, usual);

    std::rewind(printed);
    QByteArray text(100, '\0');
    text.truncate(int(std::fread(text.data(), 1, size_t(text.size()), printed)));
    std::fclose(printed);
    QCOMPARE(text, QByteArray("the new time\n"));
}

void TestDateTimeDialog::close_beepsByTheSwitchAndCloses_data()
{
    press_beepsByTheSwitch_data();
}

void TestDateTimeDialog::close_beepsByTheSwitchAndCloses()
{
    QFETCH(QString, buzzer);
    QFETCH(int, beeps);
    DateTimeDialog::release();
    QSettings settings("/tmp/date.ini"_s, QSettings::IniFormat);
    settings.setValue("General/buzzer"_s, buzzer);
    DateTimeDialog* open = dialog(&settings);
    PanelWorld::clearCommands();
    QTimer::singleShot(0, open, [open] {
        QTest::mouseClick(open->findChild<QPushButton*>("closePushButton"_s), Qt::LeftButton);
    });
    open->exec();
    QVERIFY(!open->isVisible());
    QCOMPARE(PanelWorld::commands().count(longBeep), beeps);
}

void TestDateTimeDialog::instance_isOneAndKeepsItsArguments()
{
    QSettings other("/tmp/other.ini"_s, QSettings::IniFormat);
    QWidget parent;
    DateTimeDialog* first = dialog();
    const QFont font = first->font();
    QCOMPARE(DateTimeDialog::Instance(-1, &other, &parent), first);
    QVERIFY(!first->parentWidget());
    QCOMPARE(first->font(), font);
}

void TestDateTimeDialog::instance_takesTheNextSettingsOnceTheFirstAreGone()
{
    DateTimeDialog::release();
    const QString path = "/tmp/date.ini"_s;
    auto first = std::make_unique<QSettings>(path, QSettings::IniFormat);
    first->setValue("General/buzzer"_s, "on"_s);
    dialog(first.get())->show();
    first.reset();
    PanelWorld::clearCommands();
    enter("hourLineEdit", QString());
    QCOMPARE(PanelWorld::commands(), QStringList());
    QSettings second(path, QSettings::IniFormat);
    dialog(&second);
    enter("hourLineEdit", QString());
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep}));
}

void TestDateTimeDialog::drag_startsOnTheTitleBar()
{
    dialog()->show();
    dialog()->move(100, 100);
    sendMouse(*dialog(), QEvent::MouseButtonPress, QPointF(50, 20), Qt::LeftButton);
    sendMouse(*dialog(), QEvent::MouseMove, QPointF(80, 50), Qt::NoButton);
    QCOMPARE(dialog()->pos(), QPoint(130, 130));
    QVERIFY(InputDialog::p_move);

    // With another button held as well it stays.
    InputDialog::p_move = false;
    QMouseEvent both(QEvent::MouseMove, QPointF(90, 60), QPointF(90, 60),
                     dialog()->mapToGlobal(QPoint(90, 60)), Qt::NoButton,
                     Qt::LeftButton | Qt::RightButton, Qt::NoModifier);
    QApplication::sendEvent(dialog(), &both);
    QCOMPARE(dialog()->pos(), QPoint(130, 130));

    sendMouse(*dialog(), QEvent::MouseButtonPress, QPointF(50, 100), Qt::LeftButton);
    sendMouse(*dialog(), QEvent::MouseMove, QPointF(80, 50), Qt::NoButton);
    QCOMPARE(dialog()->pos(), QPoint(130, 130));
    QVERIFY(!InputDialog::p_move);

    QPoint corner =
        dialog()->findChild<QFrame*>("titleBarFrame"_s)->geometry().bottomRight() + QPoint(1, 1);
    auto* titleBar = dialog()->findChild<QFrame*>("titleBarFrame"_s);
    QVERIFY(dialog()->inRange(&corner, titleBar));
    corner += QPoint(1, 0);
    QVERIFY(!dialog()->inRange(&corner, titleBar));
}

void TestDateTimeDialog::drag_leavesPressesToWhoeverIsBehind()
{
    dialog()->show();
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseMove}) {
        QMouseEvent event(type, QPointF(50, 20), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(dialog(), &event);
        QVERIFY2(!event.isAccepted(), "a plain window takes neither");
    }
}

void TestDateTimeDialog::deletedWhileTheKeypadIsOpen_closesTheKeypad()
{
    dialog()->show();
    bool keypadWasOpen = false;
    const Hands::WhenOpen<InputDialog> deleting([&](InputDialog& /*keypad*/) {
        keypadWasOpen = true;
        DateTimeDialog::release();
        QVERIFY(!Hands::modal());
    });
    QTest::mousePress(field("hourLineEdit"), Qt::LeftButton);
    QVERIFY(keypadWasOpen);
    QCOMPARE(PanelWorld::commands().filter("date"_s), QStringList());
}

void TestDateTimeDialog::caller_goneMeanwhile_closesDialogAndKeypad()
{
    auto settings = std::make_unique<QSettings>("/tmp/date.ini"_s, QSettings::IniFormat);
    DateTimeDialog* open = dialog(settings.get());
    auto* hour = open->findChild<QLineEdit*>("hourLineEdit"_s);
    bool keypadWasOpen = false;
    const Hands::WhenOpen<InputDialog> leaving([&](InputDialog& /*keypad*/) {
        keypadWasOpen = true;
        settings.reset();
    });
    QTimer::singleShot(0, open, [&] { QTest::mousePress(hour, Qt::LeftButton); });
    QCOMPARE(open->exec(), 0);
    QVERIFY(keypadWasOpen);
    QVERIFY(!Hands::modal());
    QCOMPARE(PanelWorld::commands().filter("date"_s), QStringList());
}

QTEST_MAIN(TestDateTimeDialog)
#include "test_date_time_dialog.moc"
