#pragma once

#include "common/TitleBarDrag.h"
#include "dialogs/CallerSettings.h"

#include <QDialog>

#include <array>

class QDateTime;
class QFrame;
class Ui_DateTimeDialog;

/// The dialog in which the operator sets the panel's clock: six fields that tick with it. A press
/// on a field opens the keypad; each accepted entry sets the system and the hardware clock at
/// once. One object serves the whole process. GUI thread only.
class DateTimeDialog : public QDialog
{
    Q_OBJECT

public:
    /// The one dialog, made with these arguments at first use. Later arguments are ignored, but for
    /// the settings object: a closed dialog will open for its window, and closes when that goes;
    /// and it is taken once the first one has gone. See CallerSettings.
    static DateTimeDialog* Instance(int fontId, QSettings* settings, QWidget* parent);
    ~DateTimeDialog() override;

    /// Sizes by the device record's screen width, style and connections. Part of the construction.
    void init(int fontId);
    void connectSlots();

    /// Sets the date, then the time (both passed on as they are; 31 February is the tool's affair),
    /// then the hardware clock from the system clock, in UTC. Blocks; reports nothing.
    void setSystemTime(int year, int month, int day, int hour, int minute, int second);

    /// Whether the point lies on the frame, or one pixel right of it or below it.
    bool inRange(QPoint* p, QFrame* frame);

    /// Reads register 80 for every event of a field; while its low byte is zero, a press opens the
    /// field's keypad. Never consumes an event of a living field.
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

    /// Deletes the one dialog, if it was made.
    static void release();

public slots:
    /// Takes over a moment and shows it in the fields.
    void onUpdateCurrentDateTime(QDateTime& dateTime);
    void onClose();

private:
    DateTimeDialog(int fontId, QWidget* parent);
    /// Index of a field in m_values, -1 for another object.
    int fieldOf(const QObject* object) const;
    void showField(int field);
    /// Runs the keypad for a field and sets the clock. False when the dialog was deleted meanwhile.
    bool editField(int field);

    Ui_DateTimeDialog* ui;
    int m_fontId;
    std::array<int, 6> m_values = {}; ///< Year, month, day, hour, minute, second.
    TitleBarDrag m_drag;
    CallerSettings m_settings;

    static DateTimeDialog* m_instance;
};
