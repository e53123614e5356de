#include "dialogs/InputDialog.h"

#include "common/KeyBeep.h"
#include "common/KeyStyle.h"
#include "common/Message.h"
#include "common/PanelFont.h"
#include "device/Latin1.h"
#include "dialogs/DialogForm.h"
#include "dialogs/DialogStyle.h"
#include "ui_InputDialog.h"

#include <QEvent>
#include <QMouseEvent>

#include <array>
#include <limits>

namespace {

constexpr int keyPointSize = 15;
constexpr int rangePointSize = 9;
constexpr int outerMargin = 3;
constexpr int largestValue = std::numeric_limits<int>::max() - 1;

constexpr QLatin1String dialogStyle = "#InputDialog{border:3px solid rgb(0, 0, 0);}"_l1;
constexpr QLatin1String rangeStyle = "background:transparent; color:white"_l1;
constexpr QLatin1String zero = "0"_l1;

using Key = QPushButton* Ui_InputDialog::*;

/// The digit keys by their digit.
constexpr std::array<Key, 10> digitKeys = {
    &Ui_InputDialog::pushButton0, &Ui_InputDialog::pushButton1, &Ui_InputDialog::pushButton2,
    &Ui_InputDialog::pushButton3, &Ui_InputDialog::pushButton4, &Ui_InputDialog::pushButton5,
    &Ui_InputDialog::pushButton6, &Ui_InputDialog::pushButton7, &Ui_InputDialog::pushButton8,
    &Ui_InputDialog::pushButton9};

} // namespace

InputDialog* InputDialog::m_instance = nullptr;
bool InputDialog::p_move = false;

InputDialog* InputDialog::Instance(int fontId, int min, int max, int current, QSettings* settings,
                                   QWidget* parent)
{
    if (!m_instance) {
        m_instance = new InputDialog(fontId, min, max, current, settings, parent);
    } else {
        m_instance->reuse(fontId, min, max, current, parent);
        m_instance->m_settings.take(m_instance, settings);
    }
    return m_instance;
}

void InputDialog::reuse(int fontId, int min, int max, int current, QWidget* parent)
{
    setFontId(fontId);
    setMinValue(min);
    setMaxValue(max);
    setCurrentValue(current);
    if (parent != parentWidget()) {
        // With its flags, or it would become a part of the parent instead of a window over it.
        setParent(parent, windowFlags());
    }
}

void InputDialog::release()
{
    delete m_instance;
}

InputDialog::InputDialog(int fontId, int min, int max, int current, QSettings* settings,
                         QWidget* parent)
    : QDialog(parent),
      ui(makeForm<Ui_InputDialog>(this)),
      m_fontId(fontId),
      m_currentText(QString::number(current)),
      m_minValue(min),
      m_maxValue(max),
      m_drag(this, ui->titleBarFrame, outerMargin)
{
    m_settings.take(this, settings);
    init(fontId);
    connectSlots();
}

InputDialog::~InputDialog()
{
    if (m_instance == this) {
        m_instance = nullptr; // a parent may have deleted it
    }
    delete ui;
}

void InputDialog::init(int fontId)
{
    setFixedSize(470, 450);
    // A window also with a parent: it lies over it and is no part of it.
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    setStyleSheet(dialogStyle);
    setFontId(fontId);

    const QFont font = PanelFont::font(fontId, keyPointSize, QFont::Bold);
    ui->titleBarFrame->setStyleSheet(DialogStyle::titleBar);
    ui->closePushButton->setFixedSize(45, 45);
    ui->closePushButton->setStyleSheet(DialogStyle::closeButton);
    ui->numLineEdit->setFixedSize(430, 50);
    ui->numLineEdit->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    ui->numLineEdit->setFont(font);
    setKeys(font);
    setTitle(m_minValue, m_maxValue);
    ui->numLineEdit->setText(m_currentText);
}

void InputDialog::setKeys(const QFont& font)
{
    for (int digit = 0; digit < int(digitKeys.size()); ++digit) {
        (ui->*digitKeys[size_t(digit)])->setText(QString::number(digit));
    }
    ui->pushButtonClear->setText(tr("CLR"));
    ui->pushButtonBackspace->setText("<-"_l1);
    ui->pushButtonNegative->setText("-"_l1);
    ui->pushButtonDot->setText("."_l1);
    ui->pushButtonEnter->setText(tr("ENTER"));
    for (QPushButton* key : ui->numberFrame->findChildren<QPushButton*>()) {
        key->setFont(font);
        key->setFixedSize(key == ui->pushButtonEnter ? 210 : 100, 60);
        key->setStyleSheet(keyStyle);
        key->installEventFilter(this);
    }
}

void InputDialog::connectSlots()
{
    for (const Key key : digitKeys) {
        connect(ui->*key, SIGNAL(clicked()), this, SLOT(onUpdateNumber()));
    }
    connect(ui->pushButtonClear, SIGNAL(clicked()), this, SLOT(onUpdateNumber()));
    connect(ui->pushButtonBackspace, SIGNAL(clicked()), this, SLOT(onUpdateNumber()));
    connect(ui->pushButtonEnter, SIGNAL(clicked()), this, SLOT(onEnter()));
    connect(ui->closePushButton, SIGNAL(clicked()), this, SLOT(onClose()));
}

void InputDialog::setMinValue(int min)
{
    m_minValue = min;
    ui->minText->setText(tr("Min:") + QString::number(min));
}

void InputDialog::setMaxValue(int max)
{
    m_maxValue = max;
    ui->maxText->setText(tr("Max:") + QString::number(max));
}

void InputDialog::setCurrentValue(int current)
{
    m_inputText.clear();
    m_currentText = QString::number(current);
    ui->numLineEdit->setText(m_currentText);
}

void InputDialog::setFontId(int fontId)
{
    m_fontId = fontId;
    setFont(QFont(PanelFont::family(fontId)));
}

void InputDialog::setTitle(int min, int max)
{
    const QFont font = PanelFont::font(m_fontId, rangePointSize, QFont::Bold);
    for (QLabel* label : {ui->minText, ui->maxText}) {
        label->setFont(font);
        label->setStyleSheet(rangeStyle);
    }
    ui->minText->setText(tr("Min:") + QString::number(min));
    ui->maxText->setText(tr("Max:") + QString::number(max));
}

void InputDialog::append(QString& text, int digit)
{
    if (text == zero) {
        text.clear();
    }
    text += QString::number(digit);
}

bool InputDialog::inRange(QPoint* p, QFrame* frame)
{
    return TitleBarDrag::inRange(p, frame);
}

void InputDialog::onUpdateNumber()
{
    const QObject* key = sender();
    if (key == ui->pushButtonClear) {
        m_inputText = zero;
    } else if (key == ui->pushButtonBackspace) {
        m_inputText.chop(1);
        if (m_inputText.isEmpty()) {
            m_inputText = zero;
        }
    } else {
        for (int digit = 0; digit < int(digitKeys.size()); ++digit) {
            if (key == ui->*digitKeys[size_t(digit)]) {
                append(m_inputText, digit);
            }
        }
    }
    ui->numLineEdit->setText(m_inputText);
}

void InputDialog::onEnter()
{
    if (m_inputText.isEmpty()) {
        close();
        return;
    }
    const int value = m_inputText.toInt(); // 0 for more than an int holds
    if (isInRange(value)) {
        done(value + 1);
        close(); // hidden by now: only sends the close event that its other ends send, too
        m_inputText.clear();
        return;
    }
    Message::show(this, m_fontId, QMessageBox::Information, tr("Tips"),
                  tr("Input number is out of range!"), QMessageBox::Yes);
}

bool InputDialog::isInRange(int value) const
{
    return value >= m_minValue && value <= m_maxValue && value <= largestValue;
}

void InputDialog::onClose()
{
    m_inputText.clear();
    ui->numLineEdit->clear();
    KeyBeep::soundIfOn(m_settings.current());
    close();
}

bool InputDialog::eventFilter(QObject* obj, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress && qobject_cast<QPushButton*>(obj)) {
        KeyBeep::soundIfOn(m_settings.current());
    }
    return QDialog::eventFilter(obj, event);
}

void InputDialog::mousePressEvent(QMouseEvent* event)
{
    m_drag.press(event);
    QDialog::mousePressEvent(event);
}

void InputDialog::mouseMoveEvent(QMouseEvent* event)
{
    if (m_drag.move(event)) {
        p_move = true;
    }
    QDialog::mouseMoveEvent(event);
}
