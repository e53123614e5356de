#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"
#include "general/GeneralSettings.h"
#include "tests/support/Hands.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"
#include "tests/support/TimerLog.h"

#include <QApplication>
#include <QFontDatabase>
#include <QGridLayout>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <QtEndian>

#include <memory>

namespace {

const QString longBeep = "/root/plat-intf/setbeep long"_s;
const QString buzzerArea = "/hmi_data/sfb.dat"_s;
constexpr int buzzerBit = 17;
const QString buzzerKey = "General/buzzer"_s;
const QString settingsPath = "/hmi/Config/system_settings.ini"_s;

QString setBright(int raw)
{
    return "/root/plat-intf/setbright %1"_s.arg(raw);
}

/// The page as the window sets it up, alone on the screen, with what a press needs at hand.
class Page
{
public:
    Page() : settings(settingsPath, QSettings::IniFormat)
    {
        record.reserved_0 = 0x11223344;
        const int fontId = QFontDatabase::addApplicationFont("/hmi/default.ttf"_s);
        page.init(fontId, record, &settings);
        QObject::connect(&page, &GeneralSettings::updateEEData, &page,
                         [this](EEInfoDetail::Flash_WR_1& changed, auto type) {
                             emitted << qMakePair(int(changed.brightness), int(type));
                             lastRecord = changed;
                         });
        page.resize(1000, 400);
        page.show();
        QCoreApplication::processEvents();
        PanelWorld::clearCommands();
    }

    QPushButton* button(const char* picture) const
    {
        for (auto* candidate : page.findChildren<QPushButton*>()) {
            if (candidate->styleSheet().contains(QString::fromLatin1(picture))) {
                return candidate;
            }
        }
        return nullptr;
    }
    QPushButton* plus() const { return button("plus.png"); }
    QPushButton* minus() const { return button("minus.png"); }
    QPushButton* buzzer() const { return button("/switch_"); }
    QPushButton* clock() const { return button("setting_button.png"); }
    QSlider* slider() const { return page.findChild<QSlider*>(); }
    QLineEdit* level() const { return page.findChild<QLineEdit*>("brightnessLineEdit"_s); }
    QGridLayout* grid() const { return qobject_cast<QGridLayout*>(page.layout()); }
    QWidget* cell(int row, int column) const
    {
        QLayoutItem* item = grid()->itemAtPosition(row, column);
        return item ? item->widget() : nullptr;
    }
    QLabel* label(int row, int column) const { return qobject_cast<QLabel*>(cell(row, column)); }

    void keyClick(const char* value) { settings.setValue(buzzerKey, QString::fromLatin1(value)); }

    QSettings settings;
    EEInfoDetail::Flash_WR_1 record{};
    EEInfoDetail::Flash_WR_1 lastRecord{};
    QList<QPair<int, int>> emitted; // brightness of the record and selector, oldest first
    GeneralSettings page;
};

/// The label of a text, on a page or not.
const QLabel* labelOf(const QString& text)
{
    for (const QWidget* widget : QApplication::allWidgets()) {
        const auto* label = qobject_cast<const QLabel*>(widget);
        if (label && label->text() == text) {
            return label;
        }
    }
    return nullptr;
}

/// The backlight-off timers that are still to fire.
QList<QTimer*> runningCountdowns(const GeneralSettings& page)
{
    QList<QTimer*> running;
    for (auto* timer : page.findChildren<QTimer*>()) {
        if (timer->isSingleShot() && timer->isActive()) {
            running << timer;
        }
    }
    return running;
}

void setBacklight(int raw)
{
    PanelWorld::setState("backlight"_s, QByteArray::number(raw) + '\n');
}

} // namespace

class TestGeneral : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void conversion_fromRaw_data();
    void conversion_fromRaw();
    void conversion_toRaw_data();
    void conversion_toRaw();
    void conversion_roundTripsOverAllLevels();
    void start_appliesNothing();
    void start_showsTheLevel_data();
    void start_showsTheLevel();
    void sizes_followTheDeviceRecord_data();
    void sizes_followTheDeviceRecord();
    void grid_placesTheThreeRows();
    void rows_lookAsDocumented();
    void separators_areFourLinesTwoShown();
    void brighten_setsHardwareAndRecordTwice();
    void darken_isTheMirrorImage();
    void brighten_atTop_staysSilent();
    void darken_atBottom_staysSilent();
    void brighten_fromBelowTheRange();
    void darken_fromAboveTheRange();
    void buttons_repeatWhenHeld();
    void buttons_darkenRepeatsToTheBottom();
    void keypad_opensWithALevelOutsideItsRange();
    void buttons_pressBeepsOnceOnly_data();
    void buttons_pressBeepsOnceOnly();
    void slider_setValue_appliesOnceSilently();
    void slider_sameValue_emitsNothing();
    void slider_pressBeepsByTheSwitch();
    void slider_jumpsToThePressedPoint_data();
    void slider_jumpsToThePressedPoint();
    void slider_otherButton_doesNotJump();
    void slider_tracksNothingWhileDragged();
    void keypad_setsTheLevel();
    void keypad_cancelled_changesNothing();
    void keypad_sameLevel_isAppliedAgain();
    void keypad_sameLevel_isShownWithTwoDigits();
    void keypad_pressBeepsByTheSwitch_data();
    void keypad_pressBeepsByTheSwitch();
    void keypad_disabledField_staysClosed();
    void keypad_rangeIsOneToThirtyTwo();
    void keypad_unknownField_beepsOnly();
    void keypad_pageDeletedMeanwhile_closesWithIt();
    void keypad_ofNobody_appliesNothing_data();
    void keypad_ofNobody_appliesNothing();
    void backlightOff_darkensAndKeepsTheLevel();
    void backlightOff_byMinutes_startsItsTimer();
    void backlightOff_longerThanATimer_isWaitedForInPieces();
    void backlightSwitch_emptyMinutes_startsNothing();
    void backlightSwitch_onOffOn_leavesTwoTimers();
    void backlightSwitch_clicked_isSwitched();
    void fieldsWithoutAPlace_beepAndOpenNoKeypad();
    void buzzer_registerWinsOverTheFile_data();
    void buzzer_registerWinsOverTheFile();
    void buzzer_switchingOnBeepsTwiceOffNever();
    void buzzer_writesOneBitAndNotifies();
    void buzzer_strayBits_firstClickWritesZero();
    void buzzer_unreadableRegister_isOffAndStillSwitches();
    void clock_showsItsFormat();
    void clock_weekdays_data();
    void clock_weekdays();
    void clock_ticksIntoTheDialog();
    void clock_refreshDoesNotReadTheClock();
    void clock_settingButtonOpensTheDialog();
    void language_pageTranslatesItself();
    void captions_allHaveTheirFont();
    void language_unknownValue_loadsNothing();
    void detectProcess_returnsFirstNumberOrOne();
    void missingTools_leaveThePageUsable();
    void destruction_writesNothing();
};

void TestGeneral::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestGeneral::init()
{
    PanelWorld::restoreTools();
    PanelWorld::setScreenWidth(1024);
    setBacklight(140); // level 17
    PanelWorld::setAreaBit(buzzerArea, buzzerBit, false);
    PanelWorld::setAreaBit(buzzerArea, buzzerBit + 1, false);
    PanelWorld::clearCommands();
}

void TestGeneral::conversion_fromRaw_data()
{
    QTest::addColumn<int>("raw");
    QTest::addColumn<int>("level");
    const int rows[][2] = {{-1, 0}, {0, 0},    {75, 0},   {76, 1},   {79, 1},   {80, 2},  {83, 2},
                           {92, 5}, {199, 31}, {200, 32}, {203, 32}, {204, 33}, {255, 45}};
    for (const auto& row : rows) {
        QTest::addRow("raw %d", row[0]) << row[0] << row[1];
    }
}

void TestGeneral::conversion_fromRaw()
{
    QFETCH(int, raw);
    QFETCH(int, level);
    GeneralSettings page;
    QCOMPARE(page.convertBrightnessFromOriginalValue(raw), level);
}

void TestGeneral::conversion_toRaw_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("raw");
    const int rows[][2] = {{0, 72}, {1, 76}, {5, 92}, {17, 140}, {31, 196}, {32, 200}, {33, 204}};
    for (const auto& row : rows) {
        QTest::addRow("level %d", row[0]) << row[0] << row[1];
    }
}

void TestGeneral::conversion_toRaw()
{
    QFETCH(int, level);
    QFETCH(int, raw);
    GeneralSettings page;
    QCOMPARE(page.convertBrightnessToOriginalValue(level), raw);
}

void TestGeneral::conversion_roundTripsOverAllLevels()
{
    GeneralSettings page;
    for (int level = 1; level <= 32; ++level) {
        const int raw = page.convertBrightnessToOriginalValue(level);
        QCOMPARE(raw, 76 + 4 * (level - 1));
        for (int spare = 0; spare < 4; ++spare) {
            QCOMPARE(page.convertBrightnessFromOriginalValue(raw + spare), level);
        }
    }
}

void TestGeneral::start_appliesNothing()
{
    const QByteArray image = PanelWorld::image();
    EEInfoDetail::Flash_WR_1 record{};
    QSettings settings(settingsPath, QSettings::IniFormat);
    GeneralSettings page;
    QSignalSpy updates(&page,
                       SIGNAL(updateEEData(EEInfoDetail::Flash_WR_1&, Settings::FlashWR1DataType)));
    QCOMPARE(PanelWorld::commands(), QStringList()); // construction touches no tool
    page.init(0, record, &settings);
    QCOMPARE(PanelWorld::commands().mid(0, 2),
             QStringList({"/root/plat-intf/readee"_s, "/root/plat-intf/getbright"_s}));
    for (const QString& command : PanelWorld::commands()) {
        QVERIFY2(!command.contains("/set"_s), qPrintable(command));
        QVERIFY2(!command.contains("writeee"_s), qPrintable(command));
    }
    QCOMPARE(updates.count(), 0);
    QCOMPARE(PanelWorld::image(), image);
}

void TestGeneral::start_showsTheLevel_data()
{
    QTest::addColumn<int>("raw");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("slider");
    QTest::newRow("one below the range") << 75 << "00" << 1;
    QTest::newRow("bottom") << 76 << "01" << 1;
    QTest::newRow("two digits") << 100 << "07" << 7;
    QTest::newRow("top") << 200 << "32" << 32;
    QTest::newRow("one above the range") << 204 << "33" << 32;
    QTest::newRow("far above") << 255 << "45" << 32;
}

void TestGeneral::start_showsTheLevel()
{
    QFETCH(int, raw);
    QFETCH(QString, shown);
    QFETCH(int, slider);
    setBacklight(raw);
    const Page panel;
    QCOMPARE(panel.level()->text(), shown);
    QCOMPARE(panel.slider()->value(), slider);
    QVERIFY(panel.emitted.isEmpty());
}

void TestGeneral::sizes_followTheDeviceRecord_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<int>("sliderWidth");
    QTest::addColumn<int>("buttonWidth");
    QTest::newRow("800") << 800 << 250 << 100;
    QTest::newRow("1024") << 1024 << 250 << 100;
    QTest::newRow("1280") << 1280 << 350 << 100;
    QTest::newRow("1920") << 1920 << 600 << 120;
    QTest::newRow("1919 is no known screen") << 1919 << 250 << 100;
}

void TestGeneral::sizes_followTheDeviceRecord()
{
    QFETCH(int, screenWidth);
    QFETCH(int, sliderWidth);
    QFETCH(int, buttonWidth);
    PanelWorld::setScreenWidth(screenWidth);
    const Page panel;
    QCOMPARE(panel.slider()->minimumSize(), QSize(sliderWidth, 32));
    QCOMPARE(panel.clock()->size(), QSize(buttonWidth, 40));
}

void TestGeneral::grid_placesTheThreeRows()
{
    const Page panel;
    QVERIFY(panel.grid());
    QCOMPARE(panel.grid()->contentsMargins(), QMargins(50, 0, 30, 0));
    const int stretches[] = {1, 1, 1, 2, 2, 1, 1};
    for (int column = 0; column < 7; ++column) {
        QCOMPARE(panel.grid()->columnStretch(column), stretches[column]);
    }

    const struct
    {
        QWidget* widget;
        int row, column, columnSpan;
        int alignment;
    } places[] = {
        {panel.label(0, 0), 0, 0, 1, 0},          {panel.label(0, 1), 0, 1, 1, 0},
        {panel.minus(), 0, 2, 1, Qt::AlignRight}, {panel.slider(), 0, 3, 2, Qt::AlignHCenter},
        {panel.cell(1, 0), 1, 0, 7, 0},           {panel.label(2, 0), 2, 0, 1, 0},
        {panel.label(2, 1), 2, 1, 1, 0},          {panel.label(2, 2), 2, 2, 3, Qt::AlignHCenter},
        {panel.clock(), 2, 5, 1, Qt::AlignLeft},  {panel.cell(3, 0), 3, 0, 7, 0},
        {panel.label(4, 0), 4, 0, 1, 0},          {panel.label(4, 1), 4, 1, 1, 0},
        {panel.buzzer(), 4, 5, 1, Qt::AlignLeft},
    };
    for (const auto& place : places) {
        QVERIFY(place.widget);
        const int index = panel.grid()->indexOf(place.widget);
        int row = -1;
        int column = -1;
        int rowSpan = -1;
        int columnSpan = -1;
        panel.grid()->getItemPosition(index, &row, &column, &rowSpan, &columnSpan);
        QCOMPARE(row, place.row);
        QCOMPARE(column, place.column);
        QCOMPARE(rowSpan, 1);
        QCOMPARE(columnSpan, place.columnSpan);
        QCOMPARE(int(panel.grid()->itemAt(index)->alignment()), place.alignment);
    }

    QLayoutItem* rightSide = panel.grid()->itemAtPosition(0, 5);
    QVERIFY(rightSide->layout());
    QCOMPARE(int(rightSide->alignment()), int(Qt::AlignLeft));
    QCOMPARE(rightSide->layout()->itemAt(0)->widget(), panel.plus());
    QCOMPARE(rightSide->layout()->itemAt(1)->widget(), panel.level());
    // Nothing of the two rows without a place is on the page.
    QCOMPARE(panel.grid()->count(), 14);
    QCOMPARE(panel.page.findChildren<QLineEdit*>().size(), 1);
}

void TestGeneral::rows_lookAsDocumented()
{
    const Page panel;
    const char* const pictures[] = {":/Resources/brightness.png", ":/Resources/time.png",
                                    ":/Resources/buzzer.png"};
    const char* const captions[] = {"Brightness:", "Date&Time:", "Buzzer:"};
    for (int row = 0; row < 3; ++row) {
        const QLabel* icon = panel.label(2 * row, 0);
        QCOMPARE(icon->pixmap(Qt::ReturnByValue).toImage(),
                 QPixmap(QString::fromLatin1(pictures[row])).toImage());
        QVERIFY(!icon->pixmap(Qt::ReturnByValue).isNull());
        QCOMPARE(int(icon->alignment()), int(Qt::AlignRight | Qt::AlignVCenter));
        QCOMPARE(icon->margin(), 10);
        const QLabel* caption = panel.label(2 * row, 1);
        QCOMPARE(caption->text(), QString::fromLatin1(captions[row]));
        QCOMPARE(caption->font().weight(), 75);
        QCOMPARE(caption->font().pointSize(), 13);
    }
    for (const QWidget* widget :
         {static_cast<QWidget*>(panel.level()), static_cast<QWidget*>(panel.label(2, 2)),
          static_cast<QWidget*>(panel.clock())}) {
        QCOMPARE(widget->font().weight(), 75);
        QCOMPARE(widget->font().pointSize(), 13);
    }

    QCOMPARE(panel.level()->size(), QSize(70, 40));
    QCOMPARE(int(panel.level()->alignment()) & int(Qt::AlignHorizontal_Mask),
             int(Qt::AlignHCenter));
    QCOMPARE(panel.level()->styleSheet(), "QLineEdit{border-radius:10px;border: 2px solid "
                                          "#008cba;background-color: rgba(163, 198, 218, 100);}"_s);
    QCOMPARE(panel.minus()->styleSheet(), "border-image:url(:/Resources/minus.png)"_s);
    QCOMPARE(panel.plus()->styleSheet(), "border-image:url(:/Resources/plus.png);"_s);
    QCOMPARE(panel.minus()->contentsMargins(), QMargins(0, 0, 40, 0));
    QCOMPARE(panel.plus()->contentsMargins(), QMargins(40, 0, 0, 0));
    for (const QPushButton* button : {panel.minus(), panel.plus()}) {
        QCOMPARE(button->size(), QSize(40, 40));
        QCOMPARE(button->minimumSize(), QSize(40, 40));
        QVERIFY(button->autoRepeat());
        QCOMPARE(button->autoRepeatDelay(), 400);
        QCOMPARE(button->autoRepeatInterval(), 50);
    }
    const QSlider* slider = panel.slider();
    QCOMPARE(slider->orientation(), Qt::Horizontal);
    QCOMPARE(slider->minimum(), 1);
    QCOMPARE(slider->maximum(), 32);
    QVERIFY(!slider->hasTracking());
    QCOMPARE(slider->pageStep(), 0);
    for (const char* part : {"groove", "sub-page", "#009efa", "add-page", "#989898", "width:20px",
                             "rgb(193,204,208)"}) {
        QVERIFY2(slider->styleSheet().contains(QString::fromLatin1(part)), part);
    }
    QCOMPARE(panel.clock()->text(), "setting"_s);
    QCOMPARE(panel.clock()->styleSheet(),
             "border-image:url(:/Resources/setting_button.png);color:white"_s);
    QCOMPARE(panel.buzzer()->size(), QSize(70, 30));
}

void TestGeneral::separators_areFourLinesTwoShown()
{
    const auto before = QApplication::allWidgets();
    const Page panel;
    int lines = 0;
    for (QWidget* widget : QApplication::allWidgets()) {
        const auto* line = qobject_cast<const QFrame*>(widget);
        lines += line && line->frameShape() == QFrame::HLine && !before.contains(widget) ? 1 : 0;
    }
    QCOMPARE(lines, 4);
    QList<const QFrame*> shown;
    for (const int row : {1, 3}) {
        shown << qobject_cast<QFrame*>(panel.cell(row, 0));
    }
    for (const QFrame* line : shown) {
        QVERIFY(line);
        QCOMPARE(line->lineWidth(), 2);
        QCOMPARE(line->midLineWidth(), 1);
        QCOMPARE(line->frameShape(), QFrame::HLine);
        QCOMPARE(line->frameShadow(), QFrame::Plain);
        for (auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            QCOMPARE(line->palette().brush(group, QPalette::WindowText),
                     QBrush(QColor(226, 226, 226)));
        }
    }
    QVERIFY(!panel.cell(5, 0));
}

void TestGeneral::brighten_setsHardwareAndRecordTwice()
{
    Page panel;
    panel.keyClick("on");
    QTest::mouseClick(panel.plus(), Qt::LeftButton);
    QCOMPARE(panel.level()->text(), "18"_s);
    QCOMPARE(panel.slider()->value(), 18);
    // Once from the slider, once from the button, then the beep.
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(144), setBright(144), longBeep}));
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{144, 1}, {144, 1}}));
    QCOMPARE(PanelWorld::state("backlight"_s).trimmed(), QByteArray("144"));
    // The other fields of the page's record are the window's, untouched.
    QCOMPARE(quint32(panel.lastRecord.reserved_0), 0x11223344U);
}

void TestGeneral::darken_isTheMirrorImage()
{
    Page panel;
    panel.keyClick("off");
    QTest::mouseClick(panel.minus(), Qt::LeftButton);
    QCOMPARE(panel.level()->text(), "16"_s);
    QCOMPARE(panel.slider()->value(), 16);
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(136), setBright(136)}));
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{136, 1}, {136, 1}}));
}

void TestGeneral::brighten_atTop_staysSilent()
{
    setBacklight(200);
    Page panel;
    panel.keyClick("on");
    QTest::mouseClick(panel.plus(), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QVERIFY(panel.emitted.isEmpty());
    QCOMPARE(panel.level()->text(), "32"_s);
}

void TestGeneral::darken_atBottom_staysSilent()
{
    setBacklight(76);
    Page panel;
    panel.keyClick("on");
    QTest::mouseClick(panel.minus(), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QVERIFY(panel.emitted.isEmpty());
    QCOMPARE(panel.level()->text(), "01"_s);
}

void TestGeneral::brighten_fromBelowTheRange()
{
    setBacklight(75);
    Page panel;
    panel.keyClick("off");
    QTest::mouseClick(panel.minus(), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(panel.level()->text(), "00"_s);
    // The slider stands at 1 already: only the button itself applies.
    QTest::mouseClick(panel.plus(), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(76)}));
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{76, 1}}));
    QCOMPARE(panel.level()->text(), "01"_s);
}

void TestGeneral::darken_fromAboveTheRange()
{
    setBacklight(204);
    Page panel;
    panel.keyClick("off");
    QTest::mouseClick(panel.plus(), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(panel.level()->text(), "33"_s);
    QTest::mouseClick(panel.minus(), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(200)}));
    QCOMPARE(panel.level()->text(), "32"_s);
    QCOMPARE(panel.slider()->value(), 32);
}

void TestGeneral::buttons_repeatWhenHeld()
{
    setBacklight(188); // level 29
    Page panel;
    panel.keyClick("off");
    QTest::mousePress(panel.plus(), Qt::LeftButton);
    QTRY_COMPARE(panel.level()->text(), "32"_s);
    QTest::qWait(200);
    QTest::mouseRelease(panel.plus(), Qt::LeftButton);
    QCOMPARE(panel.level()->text(), "32"_s);
    QCOMPARE(panel.emitted.last(), qMakePair(200, 1));
}

void TestGeneral::buttons_darkenRepeatsToTheBottom()
{
    setBacklight(88); // level 4
    Page panel;
    panel.keyClick("on");
    QTest::mousePress(panel.minus(), Qt::LeftButton);
    QTRY_COMPARE(panel.level()->text(), "01"_s);
    QTest::qWait(200);
    QTest::mouseRelease(panel.minus(), Qt::LeftButton);
    QCOMPARE(panel.emitted.last(), qMakePair(76, 1));
    // One beep a step; none at the end of the range, however long it is held.
    QCOMPARE(PanelWorld::commands().count(longBeep), 3);
}

void TestGeneral::keypad_opensWithALevelOutsideItsRange()
{
    for (const auto& row : {qMakePair(75, "0"_s), qMakePair(204, "33"_s)}) {
        setBacklight(row.first);
        Page panel;
        panel.keyClick("off");
        const QStringList shown =
            Hands::onKeypad(QString(), [&panel] { panel.page.doModal(panel.level()); });
        QCOMPARE(shown.value(0), row.second);
    }
}

void TestGeneral::buttons_pressBeepsOnceOnly_data()
{
    QTest::addColumn<QString>("picture");
    QTest::addColumn<QString>("keyClick");
    QTest::addColumn<int>("beepsOnPress");
    QTest::newRow("plus waits for its click") << "plus.png"
                                              << "on" << 0;
    QTest::newRow("minus waits for its click") << "minus.png"
                                               << "on" << 0;
    QTest::newRow("setting") << "setting_button.png"
                             << "on" << 1;
    QTest::newRow("setting, off") << "setting_button.png"
                                  << "off" << 0;
    QTest::newRow("setting, absent") << "setting_button.png"
                                     << "" << 0;
    QTest::newRow("buzzer switch, on") << "/switch_"
                                       << "on" << 0;
    QTest::newRow("buzzer switch, off") << "/switch_"
                                        << "off" << 1;
    QTest::newRow("buzzer switch, absent") << "/switch_"
                                           << "" << 0;
}

void TestGeneral::buttons_pressBeepsOnceOnly()
{
    QFETCH(QString, picture);
    QFETCH(QString, keyClick);
    QFETCH(int, beepsOnPress);
    Page panel;
    if (keyClick.isEmpty()) {
        panel.settings.remove(buzzerKey);
    } else {
        panel.settings.setValue(buzzerKey, keyClick);
    }
    QPushButton* button = panel.button(picture.toLatin1().constData());
    button->setAutoRepeat(false);
    QTest::mousePress(button, Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(),
             QStringList(QVector<QString>(beepsOnPress, longBeep).toList()));
    QVERIFY(button->isDown()); // the press went on to the button
    button->setDown(false);
}

void TestGeneral::slider_setValue_appliesOnceSilently()
{
    Page panel;
    panel.keyClick("on");
    panel.slider()->setValue(5);
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(92)}));
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{92, 1}}));
    QCOMPARE(panel.level()->text(), "05"_s);
}

void TestGeneral::slider_sameValue_emitsNothing()
{
    Page panel;
    panel.slider()->setSliderDown(true);
    panel.slider()->setSliderPosition(20);
    panel.slider()->setSliderPosition(17);
    panel.slider()->setSliderDown(false);
    QCOMPARE(PanelWorld::commands().filter("setbright"_s), QStringList());
    QVERIFY(panel.emitted.isEmpty());
}

void TestGeneral::slider_pressBeepsByTheSwitch()
{
    Page panel;
    panel.keyClick("on");
    panel.slider()->setSliderDown(true); // what a press on the handle does
    panel.slider()->setSliderDown(false);
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep}));
    PanelWorld::clearCommands();
    panel.keyClick("off");
    panel.slider()->setSliderDown(true);
    panel.slider()->setSliderDown(false);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestGeneral::slider_jumpsToThePressedPoint_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<int>("level");
    // On a slider of 320 pixels a level is ten pixels wide.
    QTest::newRow("left end") << 0.0 << 1;
    QTest::newRow("last pixel of the first level") << 9.0 << 1;
    QTest::newRow("first pixel of the second") << 10.0 << 2;
    QTest::newRow("half a pixel is rounded up") << 9.5 << 2;
    QTest::newRow("less than half is rounded down") << 9.4 << 1;
    QTest::newRow("middle") << 160.0 << 17;
    QTest::newRow("last pixel") << 319.0 << 32;
    QTest::newRow("right edge") << 320.0 << 32;
}

void TestGeneral::slider_jumpsToThePressedPoint()
{
    QFETCH(double, x);
    QFETCH(int, level);
    Page panel;
    panel.keyClick("off");
    QSlider* slider = panel.slider();
    slider->setFixedWidth(320);
    slider->setValue(level == 5 ? 6 : 5);
    PanelWorld::clearCommands();
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(x, 16), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QVERIFY(!panel.page.eventFilter(slider, &press));
    QCOMPARE(slider->value(), level);
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(72 + 4 * level)}));
    // The same point again is the slider's position already.
    PanelWorld::clearCommands();
    QVERIFY(!panel.page.eventFilter(slider, &press));
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestGeneral::slider_otherButton_doesNotJump()
{
    Page panel;
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(0, 16), Qt::RightButton, Qt::RightButton,
                      Qt::NoModifier);
    QVERIFY(!panel.page.eventFilter(panel.slider(), &press));
    QCOMPARE(panel.slider()->value(), 17);
    QVERIFY(panel.emitted.isEmpty());
}

void TestGeneral::slider_tracksNothingWhileDragged()
{
    Page panel;
    panel.slider()->setSliderDown(true);
    panel.slider()->setSliderPosition(20);
    QVERIFY(panel.emitted.isEmpty());
    panel.slider()->setSliderDown(false);
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{152, 1}}));
}

void TestGeneral::keypad_setsTheLevel()
{
    Page panel;
    panel.keyClick("off");
    QVERIFY(!Hands::enter(*panel.level(), "5"_s).isEmpty());
    QCOMPARE(panel.level()->text(), "05"_s);
    QCOMPARE(panel.slider()->value(), 5);
    QCOMPARE(PanelWorld::state("backlight"_s).trimmed(), QByteArray("92"));
    // Once from the slider, once for the entry.
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(92), setBright(92)}));
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{92, 1}, {92, 1}}));
}

void TestGeneral::keypad_cancelled_changesNothing()
{
    Page panel;
    panel.keyClick("off");
    QVERIFY(!Hands::enter(*panel.level(), QString()).isEmpty());
    QCOMPARE(panel.level()->text(), "17"_s);
    QCOMPARE(panel.slider()->value(), 17);
    QVERIFY(panel.emitted.isEmpty());
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestGeneral::keypad_sameLevel_isAppliedAgain()
{
    Page panel;
    panel.keyClick("off");
    QVERIFY(!Hands::enter(*panel.level(), "17"_s).isEmpty());
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(140)}));
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{140, 1}}));
}

void TestGeneral::keypad_sameLevel_isShownWithTwoDigits()
{
    setBacklight(92); // level 5
    Page panel;
    panel.keyClick("off");
    QVERIFY(!Hands::enter(*panel.level(), "5"_s).isEmpty());
    QCOMPARE(panel.level()->text(), "05"_s);
}

void TestGeneral::keypad_pressBeepsByTheSwitch_data()
{
    QTest::addColumn<QString>("keyClick");
    QTest::addColumn<int>("beeps");
    // One for the field and one for the keypad's close button.
    QTest::newRow("on") << "on" << 2;
    QTest::newRow("off") << "off" << 0;
}

void TestGeneral::keypad_pressBeepsByTheSwitch()
{
    QFETCH(QString, keyClick);
    QFETCH(int, beeps);
    Page panel;
    panel.settings.setValue(buzzerKey, keyClick);
    const QStringList shown =
        Hands::onKeypad(QString(), [&panel] { panel.page.doModal(panel.level()); });
    QVERIFY(!shown.isEmpty());
    QCOMPARE(PanelWorld::commands().count(longBeep), beeps);
}

void TestGeneral::keypad_disabledField_staysClosed()
{
    Page panel;
    panel.keyClick("on");
    panel.level()->setEnabled(false);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    panel.page.eventFilter(panel.level(), &press);
    QVERIFY(!Hands::modal());
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestGeneral::keypad_rangeIsOneToThirtyTwo()
{
    Page panel;
    panel.keyClick("off");
    const QStringList shown =
        Hands::onKeypad(QString(), [&panel] { panel.page.doModal(panel.level()); });
    QCOMPARE(shown, QStringList({"17"_s, "Min:1"_s, "Max:32"_s}));
}

void TestGeneral::keypad_unknownField_beepsOnly()
{
    Page panel;
    panel.keyClick("on");
    QLineEdit nameless;
    panel.page.doModal(&nameless);
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep}));
    PanelWorld::clearCommands();
    panel.keyClick("off");
    panel.page.doModal(&nameless);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QVERIFY(panel.emitted.isEmpty());
}

void TestGeneral::keypad_pageDeletedMeanwhile_closesWithIt()
{
    auto* panel = new Page;
    panel->keyClick("off");
    bool wasOpen = false;
    const Hands::WhenOpen<InputDialog> deleting([&](InputDialog& /*keypad*/) {
        wasOpen = true;
        delete panel;
    });
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QVERIFY2(panel->page.eventFilter(panel->level(), &press), "nobody is left to be pressed");
    QVERIFY(wasOpen);
    QVERIFY(!Hands::modal());
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestGeneral::keypad_ofNobody_appliesNothing_data()
{
    QTest::addColumn<bool>("pageGoes"); // or else the field
    QTest::newRow("the page has gone") << true;
    QTest::newRow("the field has gone") << false;
}

/// An entry that is finished all the same, as the settings are still there.
void TestGeneral::keypad_ofNobody_appliesNothing()
{
    QFETCH(bool, pageGoes);
    QSettings settings(settingsPath, QSettings::IniFormat);
    EEInfoDetail::Flash_WR_1 record{};
    auto page = std::make_unique<GeneralSettings>();
    page->init(0, record, &settings);
    auto minutes = std::make_unique<QLineEdit>("3"_s);
    minutes->setObjectName("backlightOff"_s);
    const Hands::WhenOpen<InputDialog> typing([&](InputDialog& keypad) {
        pageGoes ? page.reset() : minutes.reset();
        Hands::type(keypad, "5E"_s);
    });
    page->doModal(minutes.get());
    QVERIFY(!pageGoes || minutes->text() == "3"_s);
    QVERIFY(pageGoes || runningCountdowns(*page).isEmpty());
}

void TestGeneral::backlightOff_darkensAndKeepsTheLevel()
{
    Page panel;
    panel.page.onBacklightOff();
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(0)}));
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{0, 1}}));
    QCOMPARE(panel.level()->text(), "17"_s);

    panel.page.onBacklightOn();
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(0), setBright(140)}));
    QCOMPARE(panel.emitted.last(), qMakePair(140, 1));
}

void TestGeneral::backlightOff_byMinutes_startsItsTimer()
{
    Page panel;
    panel.keyClick("off");
    QLineEdit minutes;
    minutes.setObjectName("backlightOff"_s);
    const auto enterMinutes = [&](const QString& keys) {
        return !Hands::onKeypad(keys, [&] { panel.page.doModal(&minutes); }).isEmpty();
    };
    const QStringList shown = Hands::onKeypad(QString(), [&] { panel.page.doModal(&minutes); });
    QCOMPARE(shown, QStringList({"0"_s, "Min:0"_s, "Max:65535"_s}));
    // No minutes: dark at the next turn of the event loop.
    QVERIFY(enterMinutes("0"_s));
    QCOMPARE(minutes.text(), "0"_s);
    QVERIFY(panel.emitted.isEmpty());
    QTRY_COMPARE(panel.emitted, (QList<QPair<int, int>>{{0, 1}}));

    // The longest delay does not overflow into an immediate one.
    QVERIFY(enterMinutes("65535"_s));
    QVERIFY(enterMinutes("1"_s));
    QList<int> delays;
    for (const auto* timer : runningCountdowns(panel.page)) {
        delays << timer->interval();
    }
    std::sort(delays.begin(), delays.end());
    QCOMPARE(delays, QList<int>({60000, 35791 * 60000}));
    QCOMPARE(panel.emitted.size(), 1);
}

void TestGeneral::backlightOff_longerThanATimer_isWaitedForInPieces()
{
    Page panel;
    panel.keyClick("off");
    QLineEdit minutes;
    minutes.setObjectName("backlightOff"_s);
    const auto enterMinutes = [&](const QString& keys) {
        return !Hands::onKeypad(keys, [&] { panel.page.doModal(&minutes); }).isEmpty();
    };
    QVERIFY(enterMinutes("65535"_s));
    const auto running = [&panel] { return runningCountdowns(panel.page); };
    QCOMPARE(running().size(), 1);
    QCOMPARE(running().at(0)->interval(), 35791 * 60000);
    running().at(0)->setInterval(0); // the first piece is over
    QTRY_COMPARE(running().value(0) ? running().at(0)->interval() : 0, (65535 - 35791) * 60000);
    QVERIFY(panel.emitted.isEmpty());
    running().at(0)->setInterval(0);
    QTRY_COMPARE(panel.emitted, (QList<QPair<int, int>>{{0, 1}}));
    QTRY_COMPARE(running().size(), 0);
    QCOMPARE(panel.page.findChildren<QTimer*>().size(), 0); // those that have fired are gone

    // A rest of one minute is waited for as well.
    QVERIFY(enterMinutes("35792"_s));
    running().at(0)->setInterval(0);
    QTRY_COMPARE(running().value(0) ? running().at(0)->interval() : 0, 60000);
    QCOMPARE(panel.emitted.size(), 1);
}

void TestGeneral::backlightSwitch_emptyMinutes_startsNothing()
{
    Page panel;
    panel.page.onBacklightSwitched();
    panel.page.onBacklightSwitched();
    panel.page.onBacklightSwitched();
    QCOMPARE(runningCountdowns(panel.page).size(), 0);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestGeneral::backlightSwitch_onOffOn_leavesTwoTimers()
{
    const auto before = QApplication::allWidgets();
    Page panel;
    panel.page.onBacklightSwitched();
    panel.page.onBacklightSwitched(); // off: the minutes cannot be edited
    QLineEdit* minutes = nullptr;
    QStringList faces;
    for (QWidget* widget : QApplication::allWidgets()) {
        if (before.contains(widget) || widget->parent()) {
            continue;
        }
        if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
            minutes = edit->isEnabled() ? minutes : edit;
        }
        faces << widget->styleSheet();
    }
    QVERIFY(minutes);
    QVERIFY(faces.contains("border-image:url(:/Resources/switch_off.png);"_s));

    minutes->setText("2"_s);
    panel.page.onBacklightSwitched();
    QVERIFY(minutes->isEnabled());
    panel.page.onBacklightSwitched();
    QVERIFY(!minutes->isEnabled());
    panel.page.onBacklightSwitched();
    const QList<QTimer*> countdowns = runningCountdowns(panel.page);
    QCOMPARE(countdowns.size(), 2);
    for (QTimer* countdown : countdowns) {
        QCOMPARE(countdown->interval(), 2 * 60000);
        countdown->setInterval(0);
    }
    // Both turn the backlight off.
    QTRY_COMPARE(panel.emitted, (QList<QPair<int, int>>{{0, 1}, {0, 1}}));
    QCOMPARE(PanelWorld::commands(), QStringList({setBright(0), setBright(0)}));
}

void TestGeneral::backlightSwitch_clicked_isSwitched()
{
    const auto before = QApplication::allWidgets();
    Page panel;
    QPushButton* backlight = nullptr;
    for (QWidget* widget : QApplication::allWidgets()) {
        auto* button = qobject_cast<QPushButton*>(widget);
        if (button && !before.contains(widget) && !button->parent()) {
            QVERIFY2(!backlight, "the only one without a place");
            backlight = button;
        }
    }
    QVERIFY(backlight);
    for (const char* face : {"on", "off"}) {
        backlight->click();
        QCOMPARE(backlight->styleSheet(),
                 "border-image:url(:/Resources/switch_%1.png);"_s.arg(QString::fromLatin1(face)));
    }
}

void TestGeneral::fieldsWithoutAPlace_beepAndOpenNoKeypad()
{
    const auto before = QApplication::allWidgets();
    Page panel;
    panel.keyClick("on");
    int fields = 0;
    for (QWidget* widget : QApplication::allWidgets()) {
        auto* edit = qobject_cast<QLineEdit*>(widget);
        if (!edit || before.contains(widget) || widget->parent()) {
            continue;
        }
        ++fields;
        QTest::mousePress(edit, Qt::LeftButton); // the page watches it all the same
        QVERIFY(!Hands::modal());
    }
    QCOMPARE(fields, 2); // the minutes and the initial window
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep, longBeep}));
}

void TestGeneral::buzzer_registerWinsOverTheFile_data()
{
    QTest::addColumn<bool>("bit");
    QTest::addColumn<bool>("neighbour");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("fileAfter");
    QTest::newRow("off wins") << false << false << "on"
                              << "off";
    QTest::newRow("on wins") << true << false << "off"
                             << "on";
    QTest::newRow("only its own bit counts") << false << true << "on"
                                             << "off";
    QTest::newRow("missing key") << true << false << ""
                                 << "on";
}

void TestGeneral::buzzer_registerWinsOverTheFile()
{
    QFETCH(bool, bit);
    QFETCH(bool, neighbour);
    QFETCH(QString, file);
    QFETCH(QString, fileAfter);
    PanelWorld::setAreaBit(buzzerArea, buzzerBit, bit);
    PanelWorld::setAreaBit(buzzerArea, buzzerBit + 1, neighbour);
    {
        QSettings settings(settingsPath, QSettings::IniFormat);
        if (file.isEmpty()) {
            settings.remove(buzzerKey);
        } else {
            settings.setValue(buzzerKey, file);
        }
    }
    const Page panel;
    QCOMPARE(panel.settings.value(buzzerKey).toString(), fileAfter);
    QCOMPARE(panel.buzzer()->styleSheet(),
             "border-image:url(:/Resources/switch_%1.png);"_s.arg(fileAfter));
    QCOMPARE(PanelWorld::areaBit(buzzerArea, buzzerBit), bit);
}

void TestGeneral::buzzer_switchingOnBeepsTwiceOffNever()
{
    PanelWorld::setAreaBit(buzzerArea, buzzerBit, true);
    Page panel;
    QTest::mouseClick(panel.buzzer(), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(panel.settings.value(buzzerKey).toString(), "off"_s);
    QVERIFY(panel.buzzer()->styleSheet().contains("switch_off.png"_s));
    QTest::mouseClick(panel.buzzer(), Qt::LeftButton);
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep, longBeep}));
    QCOMPARE(panel.settings.value(buzzerKey).toString(), "on"_s);
    QVERIFY(panel.buzzer()->styleSheet().contains("switch_on.png"_s));
}

void TestGeneral::buzzer_writesOneBitAndNotifies()
{
    NoticeListener runtime("/tmp/fifo_sysreg"_s);
    Page panel;
    const QByteArray before = PanelWorld::fileContent(buzzerArea);
    panel.page.onBuzzerSwitched();
    QByteArray expected = before;
    expected[buzzerBit / 8] = char(before.at(buzzerBit / 8) | 1 << (buzzerBit % 8));
    QCOMPARE(PanelWorld::fileContent(buzzerArea), expected);
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({79}));
    panel.page.onBuzzerSwitched();
    QCOMPARE(PanelWorld::fileContent(buzzerArea), before);
    QFile::remove("/tmp/fifo_sysreg"_s);
}

void TestGeneral::buzzer_strayBits_firstClickWritesZero()
{
    PanelWorld::setAreaBit(buzzerArea, buzzerBit + 1, true); // the register reads 2
    Page panel;
    QVERIFY(panel.buzzer()->styleSheet().contains("switch_off.png"_s));
    panel.page.onBuzzerSwitched();
    QVERIFY(panel.buzzer()->styleSheet().contains("switch_off.png"_s));
    QCOMPARE(PanelWorld::areaBit(buzzerArea, buzzerBit), false);
    panel.page.onBuzzerSwitched();
    QVERIFY(panel.buzzer()->styleSheet().contains("switch_on.png"_s));
    QCOMPARE(PanelWorld::areaBit(buzzerArea, buzzerBit), true);
    QCOMPARE(PanelWorld::areaBit(buzzerArea, buzzerBit + 1), true);
}

void TestGeneral::buzzer_unreadableRegister_isOffAndStillSwitches()
{
    const QString away = buzzerArea + ".away"_s;
    QVERIFY(QFile::rename(buzzerArea, away));
    Page panel;
    QVERIFY(panel.buzzer()->styleSheet().contains("switch_off.png"_s));
    QCOMPARE(panel.settings.value(buzzerKey).toString(), "off"_s);
    panel.page.onBuzzerSwitched(); // the write fails, the page goes on
    QVERIFY(panel.buzzer()->styleSheet().contains("switch_on.png"_s));
    QCOMPARE(panel.settings.value(buzzerKey).toString(), "on"_s);
    QVERIFY(QFile::rename(away, buzzerArea));
}

void TestGeneral::clock_showsItsFormat()
{
    Page panel;
    QDateTime shown;
    QObject::connect(&panel.page, &GeneralSettings::updateCurrentDateTime, &panel.page,
                     [&shown](QDateTime& dateTime) { shown = dateTime; });
    const QDateTime before = QDateTime::currentDateTime();
    panel.page.onUpdateurrentDateTime();
    const QDateTime after = QDateTime::currentDateTime();
    QVERIFY(before <= shown && shown <= after);
    static const char* const days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    const QString expected = shown.toString("yyyy/MM/dd"_s) + "   "_s +
                             QString::fromLatin1(days[shown.date().dayOfWeek() - 1]) + "    "_s +
                             shown.toString("HH:mm:ss"_s);
    QCOMPARE(panel.label(2, 2)->text(), expected);
}

void TestGeneral::clock_weekdays_data()
{
    QTest::addColumn<int>("day");
    QTest::addColumn<QString>("text");
    const char* const days[] = {"Invalid Day", "Mon", "Tue", "Wed",        "Thu",
                                "Fri",         "Sat", "Sun", "Invalid Day"};
    for (int day = 0; day < int(std::size(days)); ++day) {
        QTest::addRow("day %d", day) << day << QString::fromLatin1(days[day]);
    }
    QTest::newRow("negative") << -1 << "Invalid Day";
}

void TestGeneral::clock_weekdays()
{
    QFETCH(int, day);
    QFETCH(QString, text);
    QCOMPARE(GeneralSettings().getDayText(day), text);
}

void TestGeneral::clock_ticksIntoTheDialog()
{
    Page panel;
    QSignalSpy ticks(&panel.page, SIGNAL(updateCurrentDateTime(QDateTime&)));
    const TimerLog timers;
    QTRY_VERIFY(ticks.count() >= 2);
    QCOMPARE(timers.fired.count(1000), timers.fired.size()); // ms
    auto* dialog = DateTimeDialog::Instance(0, &panel.settings, nullptr);
    QDateTime moment(QDate(2024, 3, 7), QTime(9, 5, 0));
    emit panel.page.updateCurrentDateTime(moment);
    QCOMPARE(dialog->findChild<QLineEdit*>("yearLineEdit"_s)->text(), "2024"_s);
    QCOMPARE(dialog->findChild<QLineEdit*>("minuteLineEdit"_s)->text(), "05"_s);
}

void TestGeneral::clock_refreshDoesNotReadTheClock()
{
    Page panel;
    panel.page.onUpdateurrentDateTime();
    const QString shown = panel.label(2, 2)->text();
    QThread::msleep(1100); // no event loop runs: no tick
    panel.page.refresh();
    QCOMPARE(panel.label(2, 2)->text(), shown);
}

void TestGeneral::clock_settingButtonOpensTheDialog()
{
    Page panel;
    panel.keyClick("off");
    QString year;
    const Hands::WhenOpen<DateTimeDialog> closing([&year](DateTimeDialog& dialog) {
        year = dialog.findChild<QLineEdit*>("yearLineEdit"_s)->text();
        dialog.close();
    });
    QTest::mouseClick(panel.clock(), Qt::LeftButton);
    QCOMPARE(year, QString::number(QDate::currentDate().year()));
}

void TestGeneral::language_pageTranslatesItself()
{
    Page panel;
    panel.page.onChangeLanguage(Settings::Chinese);
    QCOMPARE(panel.label(0, 1)->text(), QString::fromUtf8("亮度："));
    QCOMPARE(panel.label(2, 1)->text(), QString::fromUtf8("日期与时间："));
    QCOMPARE(panel.clock()->text(), QString::fromUtf8("修改"));
    QCOMPARE(panel.label(4, 1)->text(), QString::fromUtf8("蜂鸣器："));
    QVERIFY(panel.label(2, 2)->text().contains(QString::fromUtf8("周")));
    panel.page.onChangeLanguage(Settings::English);
    QCOMPARE(panel.label(0, 1)->text(), "Brightness:"_s);
    QVERIFY(panel.label(2, 2)->text().contains(".    "_s));

    // The captions of the rows without a place follow as well.
    QVERIFY(labelOf("Auto Backlight Off:"_s));
    QVERIFY(labelOf("Initial Window:"_s));
}

void TestGeneral::captions_allHaveTheirFont()
{
    Page panel;
    panel.page.onChangeLanguage(Settings::English);
    for (const char* text :
         {"Brightness:", "Date&Time:", "Buzzer:", "Auto Backlight Off:", "Initial Window:"}) {
        const QLabel* caption = labelOf(QString::fromLatin1(text));
        QVERIFY2(caption, text);
        QCOMPARE(caption->font().family(), panel.clock()->font().family());
        QCOMPARE(caption->font().weight(), 75);
        QCOMPARE(caption->font().pointSize(), 13);
    }
}

void TestGeneral::language_unknownValue_loadsNothing()
{
    Page panel;
    panel.page.onChangeLanguage(Settings::Chinese);
    panel.page.onChangeLanguage(static_cast<Settings::Language>(5));
    QCOMPARE(panel.label(0, 1)->text(), QString::fromUtf8("亮度："));
    Page fresh;
    fresh.page.onChangeLanguage(Settings::English);
    panel.page.onChangeLanguage(static_cast<Settings::Language>(2));
    QCOMPARE(fresh.clock()->text(), "setting"_s);
}

void TestGeneral::detectProcess_returnsFirstNumberOrOne()
{
    GeneralSettings page;
    QVERIFY(page.detect_process("test_general") > 0);
    QCOMPARE(page.detect_process("no-such-process-anywhere"), 1);
    QVERIFY(PanelWorld::commands().contains("ps -ef"_s));
}

void TestGeneral::missingTools_leaveThePageUsable()
{
    for (const char* tool : {"readee", "getbright", "setbright", "setbeep"}) {
        PanelWorld::replaceTool(QString::fromLatin1(tool), QByteArray());
    }
    Page panel;
    QCOMPARE(panel.level()->text(), "00"_s);
    QCOMPARE(panel.slider()->minimumWidth(), 250);
    panel.keyClick("on");
    QTest::mouseClick(panel.plus(), Qt::LeftButton);
    QCOMPARE(panel.level()->text(), "01"_s);
    QCOMPARE(panel.emitted, (QList<QPair<int, int>>{{76, 1}}));
}

void TestGeneral::destruction_writesNothing()
{
    const QByteArray image = PanelWorld::image();
    {
        const Page panel;
    }
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(PanelWorld::image(), image);
}

QTEST_MAIN(TestGeneral)
#include "test_general.moc"
