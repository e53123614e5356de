#include "tests/support/Hands.h"

#include "tests/support/Text.h"

#include <QAbstractButton>
#include <QDialog>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>

namespace {

QString keyName(QChar letter)
{
    switch (letter.toLatin1()) {
    case 'C':
        return "pushButtonClear"_s;
    case 'B':
        return "pushButtonBackspace"_s;
    case '-':
        return "pushButtonNegative"_s;
    case '.':
        return "pushButtonDot"_s;
    case 'E':
        return "pushButtonEnter"_s;
    case 'X':
        return "closePushButton"_s;
    default:
        return "pushButton"_s + letter;
    }
}

} // namespace

namespace Hands {

QWidget* windowInFront()
{
    QWidget* popup = QApplication::activePopupWidget();
    return popup ? popup : modal();
}

Answers::Answers(std::function<void()> look) : m_look(std::move(look))
{
    constexpr int pollMs = 5;
    QObject::connect(&m_poll, &QTimer::timeout, &m_poll, [this] {
        if (auto* box = modal<QMessageBox>()) {
            answer(*box);
        }
    });
    m_poll.start(pollMs);
}

void Answers::answer(QMessageBox& box)
{
    QAbstractButton* first = box.buttons().value(0);
    m_boxes << Box{
        box.windowTitle(),      box.text(),           box.icon(),
        box.standardButtons(),  box.buttons().size(), first && first == box.defaultButton(),
        box.parent() != nullptr};
    m_look();
    if (first) {
        first->click();
    } else {
        box.close();
    }
}

void press(QWidget& widget)
{
    QMouseEvent event(QEvent::MouseButtonPress, widget.rect().center(), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

void type(const QWidget& keypad, const QString& letters)
{
    for (const QChar letter : letters) {
        auto* key = keypad.findChild<QWidget*>(keyName(letter));
        if (!key) {
            qFatal("no such key on the keypad: %s", qPrintable(QString(letter)));
        }
        QTest::mouseClick(key, Qt::LeftButton);
    }
}

QStringList shownBy(const QWidget& keypad)
{
    QStringList texts;
    for (const char* part : {"numLineEdit", "minText", "maxText"}) {
        texts << keypad.findChild<QWidget*>(QString::fromLatin1(part))->property("text").toString();
    }
    return texts;
}

QStringList onKeypad(const QString& letters, const std::function<void()>& open)
{
    QStringList shown;
    const WhenOpen<QDialog> typing([&](QDialog& keypad) {
        // By name: the keypad of the plugin's library is a class that its host does not know.
        if (!keypad.inherits("InputDialog")) {
            keypad.close();
            return;
        }
        shown = shownBy(keypad);
        type(keypad, letters.isEmpty() ? "X"_s : letters + QLatin1Char('E'));
    });
    open();
    return shown;
}

QStringList enter(QWidget& field, const QString& letters)
{
    return onKeypad(letters, [&field] { press(field); });
}

} // namespace Hands
