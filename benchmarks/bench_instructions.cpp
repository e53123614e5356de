// The instructions that this process takes for what an operator waits for, counted by callgrind:
// the same on a busy machine as on an idle one. The processes of its commands are not counted.
//
//   bench_instructions [TABLE]    compares with the goals in TABLE (docs/performance.md)
//   bench_instructions --list     prints the counts alone

#include "benchmarks/Goals.h"
#include "benchmarks/OperatorSteps.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFontDatabase>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <unistd.h>
#include <utility>
#include <valgrind/callgrind.h>
#include <vector>

namespace {

using OperatorSteps::check;

constexpr const char* dumps = "/tmp/callgrind";
constexpr const char* tableHead = "| Instructions, in millions |";
constexpr const char* defaultTable = "/panel-source/docs/performance.md";

/// What callgrind has written last: it numbers its files.
QByteArray lastDump()
{
    const QDir folder(QStringLiteral("/tmp"));
    const QStringList files =
        folder.entryList({QStringLiteral("callgrind.*")}, QDir::Files, QDir::Time);
    check(!files.isEmpty(), "callgrind wrote nothing");
    QFile file(folder.filePath(files.first()));
    check(file.open(QIODevice::ReadOnly), "what callgrind wrote cannot be read");
    QByteArray content = file.readAll();
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

class Counter : public OperatorSteps::Meter
{
public:
    void measure(const char* name, const std::function<void()>& step) override
    {
        CALLGRIND_ZERO_STATS;
        CALLGRIND_TOGGLE_COLLECT;
        step();
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS;
        m_counts.emplace_back(name, millions(lastDump()));
    }
    void pass(const std::function<void()>& step) override
    {
        CALLGRIND_STOP_INSTRUMENTATION; // five times as fast
        step();
        CALLGRIND_START_INSTRUMENTATION;
    }
    const Counts& counts() const { return m_counts; }

private:
    Counts m_counts;
};

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

/// Finds the panel's font alone from now on, and remembers what is in it: looking into the file is
/// done once for all processes of a machine.
void keepToPanelFont(int argc, char** argv)
{
    setenv("FONTCONFIG_FILE", "/panel-build/benchmarks/fonts.conf", 1);
    const QGuiApplication application(argc, argv);
    check(!QFontDatabase().families().isEmpty(), "no font");
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
        keepToPanelFont(argc, argv);
        startCounted(argv);
    }
    QApplication application(argc, argv);
    const char* document = argc > 1 ? argv[1] : defaultTable;
    Counter counter;
    OperatorSteps::measureAll(counter);
    return std::strcmp(document, "--list") == 0 ? list(counter.counts())
                                                : compare(counter.counts(), document);
}
