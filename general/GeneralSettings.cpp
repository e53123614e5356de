#include "general/GeneralSettings.h"

#include "common/KeyBeep.h"
#include "common/PanelFont.h"
#include "common/SwitchStyle.h"
#include "common/Translation.h"
#include "device/Brightness.h"
#include "device/DeviceScreen.h"
#include "device/EEInfoHandle.h"
#include "device/LanguageTable.h"
#include "device/Latin1.h"
#include "device/ProcessTable.h"
#include "dialogs/AskNumber.h"
#include "dialogs/DateTimeDialog.h"
#include "regstore/NamedRegister.h"

#include <QMouseEvent>

#include <algorithm>
#include <limits>

namespace {

constexpr int clockIntervalMs = 1000;
constexpr int msPerMinute = 60000;
constexpr int captionPointSize = 13;

constexpr int longestBacklightMinutes = 65535;
constexpr int longestTimerMinutes = std::numeric_limits<int>::max() / msPerMinute;

constexpr QLatin1String brightnessEditName = "brightnessLineEdit"_l1;
constexpr QLatin1String backlightEditName = "backlightOff"_l1;

constexpr QLatin1String minusStyle = "border-image:url(:/Resources/minus.png)"_l1;
constexpr QLatin1String plusStyle = "border-image:url(:/Resources/plus.png);"_l1;
constexpr QLatin1String clockButtonStyle =
    "border-image:url(:/Resources/setting_button.png);color:white"_l1;
constexpr QLatin1String brightnessEditStyle =
    "QLineEdit{border-radius:10px;border: 2px solid #008cba;"
    "background-color: rgba(163, 198, 218, 100);}"_l1;
constexpr QLatin1String sliderStyle =
    "QSlider::groove:horizontal{border:0px;height:8px;border-radius:4px;}"
    "QSlider::sub-page:horizontal{background:#009efa;border-radius:4px;}"
    "QSlider::add-page:horizontal{background:#989898;border-radius:4px;}"
    "QSlider::handle:horizontal{background:rgb(193,204,208);width:20px;margin:-8px 0px;"
    "border-radius:10px;}"_l1;

// clang-format off
constexpr GeneralSizes screens[] = {
    // screen, slider, clock button
    {   1280,    350,          100},
    {   1920,    600,          120},
    {      0,    250,          100}, // any other
};
// clang-format on

QString twoDigits(int number)
{
    return QString("%1"_l1).arg(number, 2, 10, QLatin1Char('0'));
}

} // namespace

GeneralSettings::GeneralSettings(QWidget* parent) : QTableView(parent), m_record{}
{
    QObject* const watched[] = {&m_darkenButton,    &m_brightenButton,    &m_clockButton,
                                &m_brightnessEdit,  &m_buzzerSwitch,      &m_backlightEdit,
                                &m_backlightSwitch, &m_initialWindowEdit, &m_brightnessSlider};
    for (QObject* widget : watched) {
        widget->installEventFilter(this);
    }
    onUpdateurrentDateTime();
    Registers::buzzer.load();
    m_clockTimer.start(clockIntervalMs);
}

void GeneralSettings::init(int fontId, EEInfoDetail::Flash_WR_1& record, QSettings* settings)
{
    m_sizes = forScreen(screens, deviceScreenWidth());
    m_fontId = fontId;
    m_record = record;
    m_settings = settings;
    styleSeparators();

    const QFont font = PanelFont::font(m_fontId, captionPointSize, QFont::Bold);
    setBrightnessRow(font);
    setClockRow(font);
    setBuzzerRow(font);
    m_backlightCaption.setFont(font);
    m_initialWindowCaption.setFont(font);
    showTexts();

    const int stretches[] = {1, 1, 1, 2, 2, 1, 1};
    for (int column = 0; column < int(std::size(stretches)); ++column) {
        m_grid.setColumnStretch(column, stretches[column]);
    }
    m_grid.setContentsMargins(50, 0, 30, 0);
    setLayout(&m_grid);
    connectSlots();
}

void GeneralSettings::styleSeparators()
{
    for (QFrame& line : m_separators) {
        line.setLineWidth(2);
        line.setMidLineWidth(1);
        line.setFrameShape(QFrame::HLine);
        line.setFrameShadow(QFrame::Plain);
        QPalette palette;
        palette.setBrush(QPalette::All, QPalette::WindowText, QBrush(QColor(226, 226, 226)));
        line.setPalette(palette);
    }
}

void GeneralSettings::setRowHead(int row, QLabel& icon, const char* picture, QLabel& caption,
                                 const QFont& font)
{
    icon.setPixmap(QPixmap(QLatin1String(picture)));
    icon.setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    icon.setMargin(10);
    caption.setFont(font);
    m_grid.addWidget(&icon, row, 0);
    m_grid.addWidget(&caption, row, 1);
}

void GeneralSettings::setBrightnessRow(const QFont& font)
{
    setRowHead(0, m_brightnessIcon, ":/Resources/brightness.png", m_brightnessCaption, font);
    m_brightness = convertBrightnessFromOriginalValue(EEInfoHandle::instance()->getbright());

    m_brightnessEdit.setObjectName(brightnessEditName);
    m_brightnessEdit.setFont(font);
    m_brightnessEdit.setAlignment(Qt::AlignHCenter);
    m_brightnessEdit.setFixedSize(70, 40);
    m_brightnessEdit.setStyleSheet(brightnessEditStyle);
    // The keypad is the only way in: a keyboard would change the text and not the brightness.
    m_brightnessEdit.setReadOnly(true);
    m_brightnessEdit.setContextMenuPolicy(Qt::NoContextMenu);
    showBrightness();

    m_darkenButton.setStyleSheet(minusStyle);
    m_darkenButton.setContentsMargins(0, 0, 40, 0);
    m_brightenButton.setStyleSheet(plusStyle);
    m_brightenButton.setContentsMargins(40, 0, 0, 0);
    for (QPushButton* button : {&m_darkenButton, &m_brightenButton}) {
        button->setFixedSize(40, 40);
        button->setAutoRepeat(true);
        button->setAutoRepeatDelay(400);
        button->setAutoRepeatInterval(50);
    }
    setBrightnessSlider();

    auto* rightSide = new QHBoxLayout;
    rightSide->addWidget(&m_brightenButton);
    rightSide->addWidget(&m_brightnessEdit);
    m_grid.addWidget(&m_darkenButton, 0, 2, Qt::AlignRight);
    m_grid.addWidget(&m_brightnessSlider, 0, 3, 1, 2, Qt::AlignHCenter);
    m_grid.addLayout(rightSide, 0, 5, Qt::AlignLeft);
    m_grid.addWidget(&m_separators[0], 1, 0, 1, 7);
}

void GeneralSettings::setBrightnessSlider()
{
    m_brightnessSlider.setOrientation(Qt::Horizontal);
    // The value first: a level outside the range then ends at the nearer end of the slider.
    m_brightnessSlider.setValue(m_brightness);
    m_brightnessSlider.setRange(Brightness::lowestLevel, Brightness::highestLevel);
    m_brightnessSlider.setMinimumSize(m_sizes.sliderMinimumWidth, 32);
    m_brightnessSlider.setTracking(false);
    m_brightnessSlider.setPageStep(0);
    m_brightnessSlider.setStyleSheet(sliderStyle);
}

void GeneralSettings::setClockRow(const QFont& font)
{
    setRowHead(2, m_clockIcon, ":/Resources/time.png", m_clockCaption, font);
    m_clockText.setFont(font);
    m_clockButton.setFont(font);
    m_clockButton.setStyleSheet(clockButtonStyle);
    m_clockButton.setFixedSize(m_sizes.clockButtonWidth, 40);
    m_grid.addWidget(&m_clockText, 2, 2, 1, 3, Qt::AlignHCenter);
    m_grid.addWidget(&m_clockButton, 2, 5, Qt::AlignLeft);
    m_grid.addWidget(&m_separators[1], 3, 0, 1, 7);
}

void GeneralSettings::setBuzzerRow(const QFont& font)
{
    setRowHead(4, m_buzzerIcon, ":/Resources/buzzer.png", m_buzzerCaption, font);
    // The runtime owns the register; the settings file follows it.
    Registers::buzzer.read(m_buzzerWord);
    // Neighbours may come along: only bit 0 is shown, but a press turns off any word that is not 0.
    showBuzzer((m_buzzerWord & 1U) != 0);
    m_buzzerSwitch.setFixedSize(70, 30);
    m_grid.addWidget(&m_buzzerSwitch, 4, 5, Qt::AlignLeft);
}

void GeneralSettings::connectSlots()
{
    connect(&m_clockTimer, SIGNAL(timeout()), this, SLOT(onUpdateurrentDateTime()));
    connect(&m_brightenButton, SIGNAL(clicked()), this, SLOT(onBrightenClicked()));
    connect(&m_darkenButton, SIGNAL(clicked()), this, SLOT(onDarkenClicked()));
    connect(&m_brightnessSlider, SIGNAL(valueChanged(int)), this, SLOT(onBrightnessChanged(int)));
    connect(&m_brightnessSlider, SIGNAL(sliderPressed()), this, SLOT(onBrightnessPressed()));
    connect(&m_clockButton, SIGNAL(clicked()), this, SLOT(onDateTimeSettingClicked()));
    connect(&m_buzzerSwitch, SIGNAL(clicked()), this, SLOT(onBuzzerSwitched()));
    connect(&m_backlightSwitch, SIGNAL(clicked()), this, SLOT(onBacklightSwitched()));
    connect(this, SIGNAL(updateCurrentDateTime(QDateTime&)),
            DateTimeDialog::Instance(m_fontId, m_settings, nullptr),
            SLOT(onUpdateCurrentDateTime(QDateTime&)));
}

void GeneralSettings::refresh()
{
    showTexts();
    showClock();
    m_backlightCaption.setText(tr("Auto Backlight Off:"));
    m_initialWindowCaption.setText(tr("Initial Window:"));
}

void GeneralSettings::showTexts()
{
    m_brightnessCaption.setText(tr("Brightness:"));
    m_clockCaption.setText(tr("Date&Time:"));
    m_clockButton.setText(tr("setting"));
    m_buzzerCaption.setText(tr("Buzzer:"));
}

bool GeneralSettings::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::MouseButtonPress) {
        return QAbstractItemView::eventFilter(watched, event);
    }
    if (watched == &m_brightnessSlider) {
        const auto* press = static_cast<QMouseEvent*>(event);
        if (press->button() == Qt::LeftButton) {
            jumpSliderTo(press->localPos().x());
        }
    }
    if (auto* lineEdit = qobject_cast<QLineEdit*>(watched)) {
        const QPointer<GeneralSettings> page(this);
        if (lineEdit->isEnabled()) {
            doModal(lineEdit);
        }
        // The host may have deleted the window while the keypad was open.
        return page ? QAbstractItemView::eventFilter(watched, event) : true;
    }
    if (qobject_cast<QPushButton*>(watched)) {
        if (beepsOnPress(watched)) {
            KeyBeep::sound();
        }
        return false;
    }
    return QAbstractItemView::eventFilter(watched, event);
}

void GeneralSettings::jumpSliderTo(double x)
{
    const int minimum = m_brightnessSlider.minimum();
    const int steps = m_brightnessSlider.maximum() - minimum + 1;
    const double share = double(qRound(x)) / m_brightnessSlider.width();
    const int value = int(minimum + share * steps);
    if (value != m_brightnessSlider.sliderPosition()) {
        m_brightnessSlider.setValue(value);
    }
}

bool GeneralSettings::beepsOnPress(const QObject* button) const
{
    if (button == &m_buzzerSwitch) {
        return KeyBeep::isOff(m_settings);
    }
    // Plus and minus beep when clicked: they stay silent at the ends of the range.
    return button != &m_darkenButton && button != &m_brightenButton && KeyBeep::isOn(m_settings);
}

void GeneralSettings::doModal(QLineEdit* lineEdit)
{
    KeyBeep::soundIfOn(m_settings);
    const bool isBrightness = lineEdit->objectName() == brightnessEditName;
    if (!isBrightness && lineEdit->objectName() != backlightEditName) {
        return;
    }
    const NumberRange range = isBrightness
                                  ? NumberRange{Brightness::lowestLevel, Brightness::highestLevel}
                                  : NumberRange{0, longestBacklightMinutes};
    const QPointer<GeneralSettings> page(this);
    const QPointer<QLineEdit> edit(lineEdit);
    const auto entered = askNumber(m_fontId, range, lineEdit->text().toInt(), m_settings);
    if (!entered || !page || !edit) {
        return;
    }
    const int value = *entered;
    lineEdit->setText(QString::number(value));
    if (isBrightness) {
        m_brightness = value;
        m_brightnessSlider.setValue(value);
        onBacklightOn();
    } else {
        startBacklightOff(value);
    }
}

int GeneralSettings::detect_process(const char* name)
{
    return detectProcess(name);
}

QString GeneralSettings::getDayText(int day) const
{
    switch (day) {
    case Qt::Monday:
        return tr("Mon");
    case Qt::Tuesday:
        return tr("Tue");
    case Qt::Wednesday:
        return tr("Wed");
    case Qt::Thursday:
        return tr("Thu");
    case Qt::Friday:
        return tr("Fri");
    case Qt::Saturday:
        return tr("Sat");
    case Qt::Sunday:
        return tr("Sun");
    default:
        return tr("Invalid Day");
    }
}

int GeneralSettings::convertBrightnessFromOriginalValue(int raw)
{
    return Brightness::levelOf(raw);
}

int GeneralSettings::convertBrightnessToOriginalValue(int level)
{
    return Brightness::rawOf(level);
}

void GeneralSettings::onUpdateurrentDateTime()
{
    m_shownDateTime = QDateTime::currentDateTime();
    showClock();
    emit updateCurrentDateTime(m_shownDateTime);
}

void GeneralSettings::showClock()
{
    const QDate date = m_shownDateTime.date();
    const QTime time = m_shownDateTime.time();
    m_clockText.setText(QString("%1/%2/%3   %4    %5:%6:%7"_l1)
                            .arg(date.year(), 4, 10, QLatin1Char(' '))
                            .arg(twoDigits(date.month()), twoDigits(date.day()),
                                 getDayText(date.dayOfWeek()), twoDigits(time.hour()),
                                 twoDigits(time.minute()), twoDigits(time.second())));
}

void GeneralSettings::onBrightenClicked()
{
    if (m_brightness < m_brightnessSlider.maximum()) {
        stepBrightness(1);
    }
}

void GeneralSettings::onDarkenClicked()
{
    if (m_brightness > m_brightnessSlider.minimum()) {
        stepBrightness(-1);
    }
}

void GeneralSettings::stepBrightness(int step)
{
    m_brightness += step;
    // The slider's slot applies and stores the level, but only if the slider moves; the lines below
    // do so in any case, and so twice for a usual press.
    m_brightnessSlider.setValue(m_brightness);
    showBrightness();
    applyRawBrightness(convertBrightnessToOriginalValue(m_brightness));
    KeyBeep::soundIfOn(m_settings);
    emit updateEEData(m_record, Settings::WR1_BRIGHTNESS);
}

void GeneralSettings::onBrightnessChanged(int value)
{
    m_brightness = value;
    showBrightness();
    applyRawBrightness(convertBrightnessToOriginalValue(m_brightness));
    emit updateEEData(m_record, Settings::WR1_BRIGHTNESS);
}

void GeneralSettings::onBrightnessPressed()
{
    KeyBeep::soundIfOn(m_settings);
}

void GeneralSettings::showBrightness()
{
    m_brightnessEdit.setText(twoDigits(m_brightness));
}

void GeneralSettings::applyRawBrightness(int raw)
{
    EEInfoHandle::instance()->setBright(raw);
    m_record.brightness = quint16(raw);
}

void GeneralSettings::onDateTimeSettingClicked()
{
    m_shownDateTime = QDateTime::currentDateTime();
    emit updateCurrentDateTime(m_shownDateTime);
    DateTimeDialog::Instance(m_fontId, m_settings, nullptr)->exec();
}

void GeneralSettings::onBuzzerSwitched()
{
    const bool on = m_buzzerWord == 0; // the whole word as it was read
    m_buzzerWord = on ? 1 : 0;
    showBuzzer(on);
    if (on) {
        KeyBeep::sound(); // the operator hears what was just enabled
    }
    Registers::buzzer.writeNotify(m_buzzerWord);
}

void GeneralSettings::showBuzzer(bool on)
{
    m_buzzerSwitch.setStyleSheet(switchStyle(on));
    KeyBeep::store(m_settings, on);
}

void GeneralSettings::onBacklightSwitched()
{
    m_backlightState ^= 1U;
    const bool on = m_backlightState != 0;
    m_backlightSwitch.setStyleSheet(switchStyle(on));
    m_backlightEdit.setEnabled(on);
    if (on && !m_backlightEdit.text().isEmpty()) {
        startBacklightOff(m_backlightEdit.text().toInt());
    }
}

void GeneralSettings::startBacklightOff(int minutes)
{
    if (minutes < 0) {
        return; // no keypad gives these
    }
    // A timer ends at 2^31 ms, some 25 days; longer delays are waited for in pieces.
    const int piece = std::min(minutes, longestTimerMinutes);
    const int rest = minutes - piece;
    auto* timer = new QTimer(this);
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, this, [this, timer, rest] {
        timer->deleteLater();
        if (rest > 0) {
            startBacklightOff(rest);
        } else {
            onBacklightOff();
        }
    });
    timer->start(piece * msPerMinute);
}

void GeneralSettings::onBacklightOn()
{
    applyRawBrightness(convertBrightnessToOriginalValue(m_brightness));
    showBrightness();
    emit updateEEData(m_record, Settings::WR1_BRIGHTNESS);
}

void GeneralSettings::onBacklightOff()
{
    applyRawBrightness(0);
    emit updateEEData(m_record, Settings::WR1_BRIGHTNESS);
}

void GeneralSettings::onChangeLanguage(Settings::Language language)
{
    if (Languages::find(language)) {
        Translation::load(m_translator, language);
    }
    Translation::install(m_translator);
    refresh();
}
