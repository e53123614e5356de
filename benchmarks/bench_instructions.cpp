// The instructions that this process takes for what an operator waits for, counted by callgrind:
// the same on a busy machine as on an idle one. The processes of its commands are not counted.
//
//   bench_instructions [TABLE]    compares with the goals in TABLE (docs/performance.md)
//   bench_instructions --list     prints the counts alone

#include "benchmarks/Goals.h"
#include "benchmarks/Tools.h"
#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"
#include "network/NetworkSettings.h"
#include "settings/Settings.h"
#include "tests/support/NoticeListener.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <unistd.h>
#include <utility>
#include <valgrind/callgrind.h>
#include <vector>

namespace {

constexpr const char* dumps = "/tmp/callgrind";
constexpr const char* tableHead = "| Instructions, in millions |";
constexpr const char* defaultTable = "/panel-source/docs/performance.md";

void check(bool good, const char* what)
{
    if (!good) {
        std::fprintf(stderr, "bench_instructions: %s\n", what);
        std::_Exit(2);
    }
}

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

/// What callgrind has written last: it numbers its files.
QByteArray lastDump()
{
    const QDir folder(QStringLiteral("/tmp"));
    const QStringList files =
        folder.entryList({QStringLiteral("callgrind.*")}, QDir::Files, QDir::Time);
    check(!files.isEmpty(), "callgrind wrote nothing");
    QFile file(folder.filePath(files.first()));
    check(file.open(QIODevice::ReadOnly), "what callgrind wrote cannot be read");
    const QByteArray content = file.readAll();
    file.remove();
    return content;
}

double millions(const QByteArray& dump)
{
    const int at = dump.indexOf("\ntotals: ");
    check(at >= 0, "callgrind counted nothing");
    const double count = dump.mid(at + 9, dump.indexOf('\n', at + 1) - at - 9).toDouble() / 1e6;
    check(count > 0, "callgrind counted nothing");
    return count;
}

using Counts = std::vector<std::pair<QByteArray, double>>;

class Counter
{
public:
    void count(const char* name, const std::function<void()>& step)
    {
        CALLGRIND_ZERO_STATS;
        CALLGRIND_TOGGLE_COLLECT;
        step();
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS;
        m_counts.emplace_back(name, millions(lastDump()));
    }
    const Counts& counts() const { return m_counts; }

private:
    Counts m_counts;
};

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
    QTimer::singleShot(0, [] {
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

void countMaking(Counter& counter)
{
    counter.count("make and delete the first dialog of a process", makeDialog);
    counter.count("make and delete the second", makeDialog);
    counter.count("make and delete the third", makeDialog);
    CALLGRIND_STOP_INSTRUMENTATION; // five times as fast
    for (int dialog = 4; dialog < 30; ++dialog) {
        makeDialog();
    }
    CALLGRIND_START_INSTRUMENTATION;
    counter.count("make and delete the thirtieth", makeDialog);
}

void countShowing(Counter& counter, Settings& dialog)
{
    counter.count("from `show()` to the first frame", [&] {
        dialog.show();
        settle();
    });
}

void countPages(Counter& counter, Settings& dialog, Clock& clock)
{
    for (const auto language : {Settings::English, Settings::Chinese}) {
        dialog.updateLanguage(language);
        settle();
    }
    counter.count("change the language, and repaint", [&] {
        dialog.updateLanguage(Settings::English);
        settle();
    });
    clock.letGo(pause);
    counter.count("open the Network page the first time", [&] {
        button(dialog, "networkPushButton")->click();
        settle();
    });
}

void countDialogs(Counter& counter, Settings& dialog)
{
    for (const char* name : {"open the keypad the first time", "open the keypad again"}) {
        counter.count(name, [] {
            keypad()->show();
            settle();
        });
        keypad()->close();
        settle();
    }
    counter.count("enter a part of an address", [&] { enterNumber(addressField(dialog)); });
    counter.count("open the date dialog", [] {
        DateTimeDialog::Instance(0, nullptr, nullptr)->show();
        settle();
    });
}

/// Everything is shown, and nobody touches it.
void countIdleSeconds(Counter& counter)
{
    counter.count("ten seconds in which nobody touches it", [] { runFor(10000); });
}

Counts countAll()
{
    Tools::makeFast();
    NoticeListener runtime(QStringLiteral("/tmp/fifo_sysreg"));
    Counter counter;
    Clock clock;
    countMaking(counter);
    Settings dialog(nullptr);
    dialog.init();
    dialog.resize(1024, 600);
    countShowing(counter, dialog);
    clock.letGo([&] {
        counter.count("after it, the letters of the Network page", pause);
        countIdleSeconds(counter);
    });
    countPages(counter, dialog, clock);
    countDialogs(counter, dialog);
    return counter.counts();
}

int compare(const Counts& counts, const char* document)
{
    const Goals goals(document, tableHead);
    bool good = true;
    for (const auto& [name, count] : counts) {
        const double goal = goals.of(name.toStdString());
        const bool isGood = count <= goal;
        good = good && isGood;
        std::printf("%-50s %8.2f M  goal %8.2f  %s\n", name.constData(), count, goal,
                    isGood ? "good" : "TOO MANY");
    }
    return good ? 0 : 1;
}

int list(const Counts& counts)
{
    for (const auto& [name, count] : counts) {
        std::printf("%-50s %8.2f M\n", name.constData(), count);
    }
    return 0;
}

/// Starts this program again, with callgrind counting, where nothing depends on chance: neither the
/// order in Qt's hashes nor the digits of the clock.
[[noreturn]] void startCounted(char** argv)
{
    setenv("QT_HASH_SEED", "0", 1);
    setenv("LD_PRELOAD", "/usr/$LIB/faketime/libfaketime.so.1", 1);
    setenv("FAKETIME", "2026-01-02 03:04:05", 1); // and there it stands
    setenv("FAKETIME_DONT_FAKE_MONOTONIC", "1", 1);
    setenv("DONT_FAKE_MONOTONIC", "1", 1);
    setenv("NO_FAKE_STAT", "1", 1); // or the font cache is too new for its fonts, and made again
    std::vector<char*> words;
    std::string option = std::string("--callgrind-out-file=") + dumps;
    for (const char* word : {"valgrind", "-q", "--tool=callgrind", "--collect-atstart=no",
                             "--trace-children=no", "--child-silent-after-fork=yes"}) {
        words.push_back(const_cast<char*>(word));
    }
    words.push_back(option.data());
    for (char** word = argv; *word; ++word) {
        words.push_back(*word);
    }
    words.push_back(nullptr);
    execvp("valgrind", words.data());
    check(false, "no valgrind; install the Debian package valgrind");
    std::abort();
}

} // namespace

int main(int argc, char** argv)
{
    if (!RUNNING_ON_VALGRIND) {
        startCounted(argv);
    }
    QApplication application(argc, argv);
    const char* document = argc > 1 ? argv[1] : defaultTable;
    const Counts counts = countAll();
    return std::strcmp(document, "--list") == 0 ? list(counts) : compare(counts, document);
}
