#pragma once

#include "device/EEInfoDetail.h"
#include "settings/Settings.h"

#include <QDateTime>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QTableView>
#include <QTimer>
#include <QTranslator>

/// The sizes of the General page on one screen, in pixels.
struct GeneralSizes
{
    int screenWidth = 0;
    int sliderMinimumWidth = 0;
    int clockButtonWidth = 0;
};

/// The General page of the settings window: brightness, clock and key click. The rows for automatic
/// backlight-off and the initial window are built and translated, but have no place on the page.
///
/// Every change is applied to the device at once. The page changes its own copy of the record
/// and emits updateEEData; the window writes it. GUI thread only; no errors are reported.
class GeneralSettings : public QTableView
{
    Q_OBJECT

public:
    /// Builds the widgets, shows the clock and starts its timer. Reads nothing from the device.
    explicit GeneralSettings(QWidget* parent = nullptr);

    /// Fills, styles and lays out the page and connects it. Called once by the window.
    /// @param fontId   application font of every text
    /// @param record   copied; later changes to it are not seen
    /// @param settings the panel's settings file, owned by the window; the switch of the key click
    ///                 is written to it to match system register 79
    void init(int fontId, EEInfoDetail::Flash_WR_1& record, QSettings* settings);

    /// Connects the signals of the controls with the slots below. Called once, by init().
    void connectSlots();

    /// Sets every text again in the current language; the clock's from the time shown last.
    void refresh();

    /// A press on the groove moves the slider there, one on an enabled field opens its keypad, one
    /// on a button sounds the key click. Events are passed on.
    bool eventFilter(QObject* watched, QEvent* event) override;

    /// Sounds the key click and runs the keypad for a field: "brightnessLineEdit" (1 to 32) or
    /// "backlightOff" (0 to 65535 minutes). Other fields have none. Blocks until it is closed.
    void doModal(QLineEdit* lineEdit);

    /// See detectProcess(): 1 when no process matches.
    int detect_process(const char* name);

    /// Weekday text for QDate::dayOfWeek(), 1 Monday to 7 Sunday; "Invalid Day" for other numbers.
    QString getDayText(int day) const;

    /// Level for a raw backlight value; see Brightness::levelOf().
    int convertBrightnessFromOriginalValue(int raw);
    /// Raw backlight value for a level; see Brightness::rawOf().
    int convertBrightnessToOriginalValue(int level);

signals:
    /// The fields that @p wr1DataType names hold new values in the page's record.
    void updateEEData(EEInfoDetail::Flash_WR_1& wr1Data, Settings::FlashWR1DataType wr1DataType);
    /// The clock as read a moment ago, once a second and before the date dialog opens.
    void updateCurrentDateTime(QDateTime& dateTime);

public slots:
    /// Shows the clock and announces it; each second.
    void onUpdateurrentDateTime();
    /// One level up or down: applied, stored, clicked. At the end of the range nothing happens.
    void onBrightenClicked();
    void onDarkenClicked();
    /// Applies, stores and shows the level of the slider.
    void onBrightnessChanged(int value);
    /// Sounds the key click: the slider was taken.
    void onBrightnessPressed();
    /// Opens the date dialog with the clock as it is now. Blocks until it is closed.
    void onDateTimeSettingClicked();
    /// Turns the key click on or off: the switch, the settings file, then the register with a
    /// notice. One that is turned on is heard at once.
    void onBuzzerSwitched();
    /// Turns the automatic backlight-off on or off. On, with minutes in its field, it starts one
    /// more timer; off, it stops none.
    void onBacklightSwitched();
    /// Brings the backlight to the level shown.
    void onBacklightOn();
    /// Turns the backlight dark; the level is kept for onBacklightOn().
    void onBacklightOff();
    /// Loads the page's translator for the languages of the table only; another value keeps the
    /// one loaded. Then refreshes.
    void onChangeLanguage(Settings::Language language);

private:
    void styleSeparators();
    void setBrightnessRow(const QFont& font);
    void setBrightnessSlider();
    void setClockRow(const QFont& font);
    void setBuzzerRow(const QFont& font);
    void setRowHead(int row, QLabel& icon, const char* picture, QLabel& caption, const QFont& font);
    /// Sets the texts of the rows on the page, but for the clock's.
    void showTexts();

    void jumpSliderTo(double x);
    bool beepsOnPress(const QObject* button) const;
    void stepBrightness(int step);
    void showBrightness();
    /// Sets the backlight to a raw value and notes it in the record.
    void applyRawBrightness(int raw);
    void showBuzzer(bool on);
    void showClock();
    /// Starts one more timer to onBacklightOff(); none is ever cancelled.
    void startBacklightOff(int minutes);

    QLabel m_brightnessIcon;
    QLabel m_brightnessCaption;
    QLineEdit m_brightnessEdit;
    QPushButton m_darkenButton;
    QPushButton m_brightenButton;
    QSlider m_brightnessSlider;
    QLabel m_clockIcon;
    QLabel m_clockCaption;
    QLabel m_clockText;
    QPushButton m_clockButton;
    QLabel m_spareLabel; ///< Not shown.
    QLabel m_buzzerIcon;
    QLabel m_buzzerCaption;
    QPushButton m_buzzerSwitch;
    // From here to the initial-window layout: not on the page.
    QLabel m_backlightIcon;
    QLabel m_backlightCaption;
    QHBoxLayout m_backlightLayout;
    QLineEdit m_backlightEdit; ///< Minutes.
    QLabel m_backlightUnit;
    QPushButton m_backlightSwitch;
    QLabel m_initialWindowIcon;
    QLabel m_initialWindowCaption;
    QLineEdit m_initialWindowEdit;
    QLabel m_initialWindowUnit;
    QHBoxLayout m_initialWindowLayout;
    QGridLayout m_grid;
    QFrame m_separators[4]; ///< The first two are on the page.
    QDateTime m_shownDateTime;
    int m_fontId = -1;
    int m_brightness = 0;        ///< Level 1..32; other values only as the device reported them.
    quint32 m_buzzerWord = 0;    ///< Last value of the buzzer register; non-zero means on.
    quint8 m_backlightState = 0; ///< 0 off, 1 on; never stored.
    QTimer m_clockTimer;
    QTranslator m_translator;
    QPointer<QSettings> m_settings;
    QTimer m_spareTimer; ///< Never started.
    EEInfoDetail::Flash_WR_1 m_record;
    GeneralSizes m_sizes;
};
