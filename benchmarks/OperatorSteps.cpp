#include "benchmarks/OperatorSteps.h"

#include "benchmarks/Tools.h"
#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"
#include "network/NetworkSettings.h"
#include "settings/Settings.h"
#include "tests/support/NoticeListener.h"

#include <QApplication>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

namespace {

using OperatorSteps::check;
using OperatorSteps::Meter;

/// Holds back what the clock brings, and what waits for a pause, except where it is let go: it
/// would come once or twice in a count, or not at all.
class Clock : public QObject
{
public:
    Clock() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject* object, QEvent* event) override
    {
        const auto* timer = qobject_cast<QTimer*>(object);
        return !m_goes && event->type() == QEvent::Timer && !object->inherits("QSingleShotTimer") &&
               !(timer && timer->interval() == 0);
    }
    void letGo(const std::function<void()>& step)
    {
        m_goes = true;
        step();
        m_goes = false;
    }

private:
    bool m_goes = false;
};

void runFor(int milliseconds)
{
    QTimer::singleShot(milliseconds, QCoreApplication::instance(), &QCoreApplication::quit);
    QCoreApplication::exec();
}

/// What was put off until nothing else is to be done.
void pause()
{
    runFor(200);
}

/// Until nothing is left to lay out or paint.
void settle()
{
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::processEvents();
    }
}

void makeDialog()
{
    Settings(nullptr).init();
}

void press(QWidget* widget)
{
    QMouseEvent event(QEvent::MouseButtonPress, widget->rect().center(), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

QPushButton* button(QWidget& window, const char* name)
{
    auto* found = window.findChild<QPushButton*>(QString::fromLatin1(name));
    check(found != nullptr, name);
    return found;
}

InputDialog* keypad()
{
    return InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
}

/// The first field of the Network page that can be pressed: of an address.
QLineEdit* addressField(Settings& dialog)
{
    const auto fields = dialog.findChild<NetworkSettings*>()->findChildren<QLineEdit*>();
    for (QLineEdit* field : fields) {
        if (field->isVisible() && field->isEnabled()) {
            return field;
        }
    }
    check(false, "no field of an address");
    return nullptr;
}

/// A press on the field, three keys, ENTER, and whatever the page does with the number.
void enterNumber(QLineEdit* field)
{
    QTimer::singleShot(0, field, [] {
        QWidget* opened = QApplication::activeModalWidget();
        check(qobject_cast<InputDialog*>(opened) != nullptr, "no keypad for an address");
        settle();
        for (const char* key : {"pushButton1", "pushButton7", "pushButton3", "pushButtonEnter"}) {
            button(*opened, key)->click();
            settle();
        }
    });
    press(field);
    settle();
    check(field->text() == QLatin1String("173"), "the address has not changed");
}

void measureMaking(Meter& meter)
{
    meter.measure("make and delete the first dialog of a process", makeDialog);
    meter.measure("make and delete the second", makeDialog);
    meter.measure("make and delete the third", makeDialog);
    meter.pass([] {
        for (int dialog = 4; dialog < 30; ++dialog) {
            makeDialog();
        }
    });
    meter.measure("make and delete the thirtieth", makeDialog);
}

void measureShowing(Meter& meter, Settings& dialog)
{
    meter.measure("from `show()` to the first frame", [&] {
        dialog.show();
        settle();
    });
}

void measurePages(Meter& meter, Settings& dialog, Clock& clock)
{
    for (const auto language : {Settings::English, Settings::Chinese}) {
        dialog.updateLanguage(language);
        settle();
    }
    meter.measure("change the language, and repaint", [&] {
        dialog.updateLanguage(Settings::English);
        settle();
    });
    clock.letGo(pause);
    meter.measure("open the Network page the first time", [&] {
        button(dialog, "networkPushButton")->click();
        settle();
    });
}

void measureDialogs(Meter& meter, Settings& dialog)
{
    for (const char* name : {"open the keypad the first time", "open the keypad again"}) {
        meter.measure(name, [] {
            keypad()->show();
            settle();
        });
        keypad()->close();
        settle();
    }
    meter.measure("enter a part of an address", [&] { enterNumber(addressField(dialog)); });
    meter.measure("open the date dialog", [] {
        DateTimeDialog::Instance(0, nullptr, nullptr)->show();
        settle();
    });
}

/// Everything is shown, and nobody touches it.
void measureIdleSeconds(Meter& meter)
{
    meter.measure("ten seconds in which nobody touches it", [] { runFor(10000); });
}

} // namespace

namespace OperatorSteps {

void check(bool good, const char* what)
{
    if (!good) {
        std::fprintf(stderr, "benchmark: %s\n", what);
        std::_Exit(2);
    }
}

void measureAll(Meter& meter)
{
    Tools::makeFast();
    NoticeListener runtime(QStringLiteral("/tmp/fifo_sysreg"));
    Clock clock;
    measureMaking(meter);
    std::unique_ptr<Settings> made;
    meter.measure("make one and keep it", [&made] {
        made = std::make_unique<Settings>(nullptr);
        made->init();
    });
    Settings& dialog = *made;
    dialog.resize(1024, 600);
    measureShowing(meter, dialog);
    clock.letGo([&] {
        meter.measure("after it, style and letters of the Network page", pause);
        measureIdleSeconds(meter);
    });
    measurePages(meter, dialog, clock);
    measureDialogs(meter, dialog);
}

} // namespace OperatorSteps
