#pragma once

#include "common/TitleBarDrag.h"
#include "dialogs/CallerSettings.h"

#include <QDialog>
#include <QString>

class QFrame;
class Ui_InputDialog;

/// The numeric keypad of the panel: every number of the settings pages is entered with it. One
/// object serves all callers:
///
///     const int result = InputDialog::Instance(fontId, 1, 32, 17, settings, nullptr)->exec();
///     if (result >= 1) { value = result - 1; }
///
/// The result is the value plus one, so that 0 can mean "no change": the keypad was closed, or
/// ENTER pressed with nothing typed. Only values from 0 to INT_MAX - 1 can be entered; the sign and
/// decimal keys are shown, click, and change nothing. GUI thread only.
class InputDialog : public QDialog
{
    Q_OBJECT

public:
    /// The one keypad, made at first use and set up for this entry. @p min and @p max are
    /// inclusive. The settings object of the first caller stays in use for as long as it lives; the
    /// keypad closes, as if cancelled, when that of the window it is open for goes. See
    /// CallerSettings.
    static InputDialog* Instance(int fontId, int min, int max, int current, QSettings* settings,
                                 QWidget* parent);

    InputDialog(int fontId, int min, int max, int current, QSettings* settings, QWidget* parent);
    ~InputDialog() override;

    void setMinValue(int min);
    void setMaxValue(int max);
    /// Shows @p current, which is not part of what is typed: the first digit starts a new number.
    void setCurrentValue(int current);
    void setFontId(int fontId);
    /// Shows the range: "Min:" and "Max:" followed by the numbers.
    void setTitle(int min, int max);

    /// Appends a digit; a lone "0" is replaced by it.
    void append(QString& text, int digit);
    /// Whether the point lies on the frame, or one pixel right of it or below it.
    bool inRange(QPoint* p, QFrame* frame);

    /// Sounds the key click for a press on a key, and passes every event on.
    bool eventFilter(QObject* obj, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

    /// Deletes the one keypad, if it was made.
    static void release();

    /// Set whenever a modal dialog was dragged; the settings window clears it and repaints itself.
    static bool p_move;

public slots:
    void onUpdateNumber();
    void onEnter();
    void onClose();

private:
    /// Takes the values of the next call.
    void reuse(int fontId, int min, int max, int current, QWidget* parent);
    void init(int fontId);
    void setKeys(const QFont& font);
    void connectSlots();
    bool isInRange(int value) const;

    Ui_InputDialog* ui;
    int m_fontId;
    QString m_currentText;
    QString m_inputText; ///< Typed so far; empty until the first key.
    int m_minValue;
    int m_maxValue;
    CallerSettings m_settings;
    TitleBarDrag m_drag;

    static InputDialog* m_instance;
};
