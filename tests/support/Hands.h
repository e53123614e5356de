#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <utility>

/// What an operator does with the windows on the panel, for tests that know what they want to
/// press. Finger presses a point of the screen, and moves on from there.
///
/// A modal window blocks whoever opens it until it is closed. What is to be done with it is
/// therefore said before the press that opens it:
///
///     const Hands::WhenOpen<DateTimeDialog> closing([](DateTimeDialog& dialog) { dialog.close();
///     }); button->click();
namespace Hands {

/// The window that takes presses now: a pop-up, else the modal window on top. Null when there is
/// neither.
QWidget* windowInFront();

/// The modal window on top, when it is one of that class; otherwise null.
template <typename Window = QWidget>
Window* modal()
{
    return qobject_cast<Window*>(QApplication::activeModalWidget());
}

/// Calls a function with the modal window on top, once, as soon as it is one of that class. Looks
/// for it as long as the object lives.
template <typename Window>
class WhenOpen
{
public:
    explicit WhenOpen(std::function<void(Window&)> function) : m_function(std::move(function))
    {
        constexpr int pollMs = 5;
        QObject::connect(&m_poll, &QTimer::timeout, &m_poll, [this] {
            if (auto* window = modal<Window>()) {
                m_poll.stop();
                m_function(*window);
            }
        });
        m_poll.start(pollMs);
    }

private:
    std::function<void(Window&)> m_function;
    QTimer m_poll;
};

/// A message box as it was before it was answered.
struct Box
{
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    int buttonCount = 0;
    bool isFirstDefault = false; ///< Whether the first button is the default one.
    bool hasParent = false;
};

/// Presses the first button of every message box that opens while the object lives, and tells what
/// was in them.
class Answers
{
public:
    /// The function is called while a box is open.
    explicit Answers(std::function<void()> look = [] {});

    /// The boxes answered, oldest first.
    const QList<Box>& boxes() const { return m_boxes; }
    /// The box that was answered; an empty one unless there was exactly one.
    Box only() const { return m_boxes.size() == 1 ? m_boxes.first() : Box(); }

private:
    void answer(QMessageBox& box);

    std::function<void()> m_look;
    QList<Box> m_boxes;
    QTimer m_poll;
};

/// Presses the middle of a widget, which may lie on a page that is not shown, and does not lift:
/// enough for a field to open its keypad. Returns when everything that it opened is closed again.
void press(QWidget& widget);

/// Clicks keys of a keypad: digits, - and . are themselves, C clears, B goes back by one, E enters
/// and X closes.
void type(const QWidget& keypad, const QString& letters);

/// What a keypad shows: its number, "Min:1", "Max:32".
QStringList shownBy(const QWidget& keypad);

/// Calls a function that opens a keypad, types on that and enters; without letters the keypad is
/// closed unused. What it showed at first; nothing when none opened.
QStringList onKeypad(const QString& letters, const std::function<void()>& open);

/// The same with the keypad that a press of a field opens.
QStringList enter(QWidget& field, const QString& letters);

} // namespace Hands
