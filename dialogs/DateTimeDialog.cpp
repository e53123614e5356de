#include "dialogs/DateTimeDialog.h"

#include "common/KeyBeep.h"
#include "common/PanelFont.h"
#include "device/DeviceScreen.h"
#include "device/Latin1.h"
#include "device/ShellLine.h"
#include "dialogs/AskNumber.h"
#include "dialogs/DialogForm.h"
#include "dialogs/DialogStyle.h"
#include "dialogs/InputDialog.h"
#include "regstore/NamedRegister.h"
#include "ui_DateTimeDialog.h"

#include <QDateTime>
#include <QMouseEvent>

namespace {

constexpr int pointSize = 13;
constexpr int outerMargin = 3;
constexpr int dialogHeight = 120;
constexpr int titleBarHeight = 50;
constexpr int fieldHeight = 40;

constexpr QLatin1String dialogStyle = "#DateTimeDialog{border:3px solid rgb(0, 0, 0);}"_l1;

/// The sizes of the dialog on one screen, in pixels.
struct DialogSizes
{
    int screenWidth;
    int dialogWidth;
    int yearWidth;
    int fieldWidth;
};
// clang-format off
constexpr DialogSizes screens[] = {
    // screen, dialog, year, field
    {   1920,    700,  100,    60},
    {      0,    500,   80,    40}, // any other
};
// clang-format on

/// One field: its widget, its digits and the range of its keypad.
struct Field
{
    QLineEdit* Ui_DateTimeDialog::*edit;
    int digits;
    int minimum;
    int maximum;
};
constexpr std::array<Field, 6> fields = {{
    {&Ui_DateTimeDialog::yearLineEdit, 4, 1970, 2038},
    {&Ui_DateTimeDialog::monthLineEdit, 2, 1, 12},
    {&Ui_DateTimeDialog::dateLineEdit, 2, 1, 31},
    {&Ui_DateTimeDialog::hourLineEdit, 2, 0, 23},
    {&Ui_DateTimeDialog::minuteLineEdit, 2, 0, 59},
    {&Ui_DateTimeDialog::secondLineEdit, 2, 0, 59},
}};

/// Whether the runtime forbids setting the clock. A register that cannot be read forbids nothing.
/// The whole byte counts: the neighbours that arrive above the one bit lock the clock as well.
bool clockIsLocked()
{
    quint32 word = 0;
    return Registers::dateLock.read(word) == 0 && (word & 0xFFU) != 0;
}

} // namespace

DateTimeDialog* DateTimeDialog::m_instance = nullptr;

DateTimeDialog* DateTimeDialog::Instance(int fontId, QSettings* settings, QWidget* parent)
{
    if (!m_instance) {
        m_instance = new DateTimeDialog(fontId, parent);
    }
    m_instance->m_settings.take(m_instance, settings);
    return m_instance;
}

void DateTimeDialog::release()
{
    delete m_instance;
}

DateTimeDialog::DateTimeDialog(int fontId, QWidget* parent)
    : QDialog(parent),
      ui(makeForm<Ui_DateTimeDialog>(this)),
      m_fontId(fontId),
      m_drag(this, ui->titleBarFrame, outerMargin)
{
    init(fontId);
    setStyleSheet(dialogStyle);
    for (const Field& field : fields) {
        (ui->*field.edit)->installEventFilter(this);
    }
}

DateTimeDialog::~DateTimeDialog()
{
    if (m_instance == this) {
        m_instance = nullptr; // a parent may have deleted it
    }
    delete ui;
}

void DateTimeDialog::init(int fontId)
{
    const DialogSizes& sizes = forScreen(screens, deviceScreenWidth());
    setFixedSize(sizes.dialogWidth, dialogHeight);
    // A window also with a parent: it lies over it and is no part of it.
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    setFont(PanelFont::font(fontId, pointSize, QFont::Bold));

    ui->titleBarFrame->setStyleSheet(DialogStyle::titleBar);
    ui->titleBarFrame->setFixedSize(sizes.dialogWidth - 2 * outerMargin, titleBarHeight);
    ui->closePushButton->setFixedSize(45, 45);
    ui->closePushButton->setStyleSheet(DialogStyle::closeButton);
    for (const Field& field : fields) {
        QLineEdit* edit = ui->*field.edit;
        edit->setFixedSize(edit == ui->yearLineEdit ? sizes.yearWidth : sizes.fieldWidth,
                           fieldHeight);
    }
    connectSlots();
}

void DateTimeDialog::connectSlots()
{
    connect(ui->closePushButton, SIGNAL(clicked()), this, SLOT(onClose()));
}

void DateTimeDialog::setSystemTime(int year, int month, int day, int hour, int minute, int second)
{
    ShellLine::run("date -s %d-%d-%d >> /dev/null", year, month, day);
    ShellLine::run("date -s %d:%d:%d >> /dev/null", hour, minute, second);
    ShellLine::run("hwclock --systohc --utc");
}

bool DateTimeDialog::inRange(QPoint* p, QFrame* frame)
{
    return TitleBarDrag::inRange(p, frame);
}

void DateTimeDialog::onUpdateCurrentDateTime(QDateTime& dateTime)
{
    const QDate date = dateTime.date();
    const QTime time = dateTime.time();
    m_values = {date.year(), date.month(), date.day(), time.hour(), time.minute(), time.second()};
    for (int field = 0; field < int(fields.size()); ++field) {
        showField(field);
    }
}

void DateTimeDialog::showField(int field)
{
    const Field& row = fields[size_t(field)];
    (ui->*row.edit)
        ->setText(QString("%1"_l1).arg(m_values[size_t(field)], row.digits, 10, QLatin1Char('0')));
}

void DateTimeDialog::onClose()
{
    KeyBeep::soundIfOn(m_settings.current());
    close();
}

int DateTimeDialog::fieldOf(const QObject* object) const
{
    for (int field = 0; field < int(fields.size()); ++field) {
        if (object == ui->*fields[size_t(field)].edit) {
            return field;
        }
    }
    return -1;
}

bool DateTimeDialog::eventFilter(QObject* watched, QEvent* event)
{
    const bool pressed = event->type() == QEvent::MouseButtonPress;
    if (pressed) {
        KeyBeep::soundIfOn(m_settings.current());
    }
    if (clockIsLocked()) {
        return false;
    }
    const int field = fieldOf(watched);
    if (!pressed || field < 0) {
        return false;
    }
    return !editField(field); // a field that has gone takes no more events
}

bool DateTimeDialog::editField(int field)
{
    const Field& row = fields[size_t(field)];
    QLineEdit* edit = ui->*row.edit;
    const QPointer<DateTimeDialog> self(this);
    const auto entered = askNumber(m_fontId, {row.minimum, row.maximum}, edit->text().toInt(),
                                   m_settings.opener(), this);
    if (!self) {
        return false;
    }
    if (!entered) {
        return true;
    }
    m_values[size_t(field)] = *entered;
    showField(field);
    edit->clearFocus();
    const auto [year, month, day, hour, minute, second] = m_values;
    setSystemTime(year, month, day, hour, minute, second);
    return true;
}

void DateTimeDialog::mousePressEvent(QMouseEvent* event)
{
    m_drag.press(event);
    QDialog::mousePressEvent(event);
}

void DateTimeDialog::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() == Qt::LeftButton && m_drag.move(event)) {
        InputDialog::p_move = true;
    }
    QDialog::mouseMoveEvent(event);
}
