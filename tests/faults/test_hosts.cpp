#include "adapters/AdapterSwitch.h"
#include "adapters/AdapterTable.h"
#include "adapters/DhcpClient.h"
#include "adapters/PingTest.h"
#include "common/KeyBeep.h"
#include "common/SettingsFile.h"
#include "device/BootLogo.h"
#include "device/EEInfoHandle.h"
#include "device/PlateformInterface.h"
#include "device/ProcessTable.h"
#include "device/ResolverFile.h"
#include "fileio/DFifo.h"
#include "fileio/DFileStdio.h"
#include "fileio/DFileSystem.h"
#include "fileio/StandardDescriptors.h"
#include "regstore/RegisterArea.h"
#include "tests/faults/OperationRun.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"
#include "tests/support/Tool.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr long nsPerMillisecond = 1'000'000;

void sleepMilliseconds(long milliseconds)
{
    const timespec time = {0, milliseconds * nsPerMillisecond};
    nanosleep(&time, nullptr);
}

// What the signal handlers of hosts do.

volatile sig_atomic_t signalsSeen = 0;

void countSignal(int /*number*/)
{
    signalsSeen = signalsSeen + 1;
}

void waitForEveryChild(int /*number*/)
{
    const int savedErrno = errno;
    signalsSeen = signalsSeen + 1;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = savedErrno;
}

void runAProcess(int /*number*/)
{
    const int savedErrno = errno;
    signalsSeen = signalsSeen + 1;
    const pid_t child = _Fork(); // fork() may wait for what it has interrupted
    if (child == 0) {
        _exit(0);
    }
    while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
    }
    errno = savedErrno;
}

// A timer asks for its next signal when the handler is through with the last one: on a slow machine
// a handler may take longer than the time between two, and nothing else would ever run.

constexpr suseconds_t usBetweenSignals = 1000;

void setTimer(suseconds_t microseconds)
{
    const itimerval timer = {{0, 0}, {0, microseconds}};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void (*handlerOfTheTimer)(int) = nullptr;
volatile sig_atomic_t timerGoesOn = 0;

void callAndGoOn(int number)
{
    handlerOfTheTimer(number);
    if (timerGoesOn) {
        setTimer(usBetweenSignals);
    }
}

/// A host and what comes at its process while an operation runs.
struct Host
{
    const char* name;
    void (*handler)(int);
    int signal;
    int flags;
};

// A timer that lets a millisecond pass, or children that end all the time.
const std::array<Host, 7> hosts = {{
    {"a timer", countSignal, SIGALRM, 0},
    {"a timer, SA_RESTART", countSignal, SIGALRM, SA_RESTART},
    {"a timer that runs processes", runAProcess, SIGALRM, 0},
    {"children that end", countSignal, SIGCHLD, 0},
    {"children that end, SA_RESTART", countSignal, SIGCHLD, SA_RESTART},
    {"a handler that waits for every child", waitForEveryChild, SIGCHLD, 0},
    {"children that are ignored", SIG_IGN, SIGCHLD, 0},
}};

/// Blocks the signals of all hosts for this thread, or lets them through.
void maskStorms(int how)
{
    sigset_t signalsOfHosts;
    sigemptyset(&signalsOfHosts);
    sigaddset(&signalsOfHosts, SIGALRM);
    sigaddset(&signalsOfHosts, SIGCHLD);
    pthread_sigmask(how, &signalsOfHosts, nullptr);
}

bool knowsItsChildren(const Host& host)
{
    return host.handler != SIG_IGN;
}

/// Lets signals come at this process while it lives.
class Storm
{
public:
    explicit Storm(const Host& host) : m_host(host)
    {
        signalsSeen = 0;
        struct sigaction action = {};
        const bool isTimer = host.signal == SIGALRM;
        action.sa_handler = isTimer ? callAndGoOn : host.handler;
        action.sa_flags = host.flags;
        handlerOfTheTimer = host.handler;
        timerGoesOn = isTimer;
        sigaction(host.signal, &action, &m_previous);
        if (isTimer) {
            setTimer(usBetweenSignals);
        } else {
            startChildren();
        }
    }
    ~Storm()
    {
        timerGoesOn = 0;
        setTimer(0);
        endChildren();
        sigaction(m_host.signal, &m_previous, nullptr);
    }
    Q_DISABLE_COPY_MOVE(Storm)

private:
    void startChildren()
    {
        constexpr int count = 20;
        for (int at = 0; at < count; ++at) {
            const pid_t child = startTool({"sleep", QByteArray::number(at * 0.002)});
            if (child < 0) {
                qFatal("no child of the host");
            }
            m_children.push_back(child);
        }
    }
    void endChildren()
    {
        sigset_t childSignal;
        sigset_t before;
        sigemptyset(&childSignal);
        sigaddset(&childSignal, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &childSignal, &before); // the handler would wait for them first
        for (const pid_t child : m_children) {
            if (waitpid(child, nullptr, WNOHANG) == 0) {
                kill(child, SIGKILL);
                waitpid(child, nullptr, 0);
            }
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    const Host& m_host;
    struct sigaction m_previous = {};
    std::vector<pid_t> m_children;
};

constexpr const char* toolFolder = "/root/plat-intf";
constexpr const char* slowFolder = "/tmp/slow";

/// Every tool takes a while, so that signals meet it: those of the platform in front of what they
/// do, the system's in front of the panel's own.
void makeToolsSlow()
{
    for (const QString& tool : QDir(QLatin1String(toolFolder)).entryList(QDir::Files)) {
        const QString path = QLatin1String(toolFolder) + QLatin1Char('/') + tool;
        PanelWorld::replaceTool(tool, "sleep 0.01\n" + PanelWorld::fileContent(path));
    }
    QDir().mkpath(QLatin1String(slowFolder));
    for (const char* command : {"ifconfig", "route", "sync", "cp", "ps", "cat", "reboot"}) {
        const QString path = QLatin1String(slowFolder) + QLatin1Char('/') + QLatin1String(command);
        PanelWorld::writeFile(path, QByteArray("#!/bin/sh\nsleep 0.01\nPATH=${PATH#*:}\nexec ") +
                                        command + " \"$@\"\n");
        QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner);
    }
    qputenv("PATH", QByteArray(slowFolder) + ':' + qgetenv("PATH"));
}

/// What an operation returns in a host. The status of a line of the shell is lost where children
/// are ignored; nothing else is.
int resultIn(const Host& host, const Operation& operation)
{
    const auto lost = [](const Outcome& outcome) {
        const QByteArray fault(outcome.fault);
        return fault.startsWith("system") && fault.endsWith("ECHILD");
    };
    const auto last = std::find_if(operation.outcomes.rbegin(), operation.outcomes.rend(), lost);
    return knowsItsChildren(host) || last == operation.outcomes.rend() ? operation.result
                                                                       : last->result;
}

/// Whether an operation runs a tool, all of which take a while.
bool isSlow(const Operation& operation)
{
    const QByteArray name(operation.name);
    return name.startsWith("EEInfoHandle::read_flash") ||
           name.startsWith("EEInfoHandle::write_flash") || name.startsWith("PlateformInterface") ||
           name == "deviceScreenWidth" || name == "detectProcess";
}

Run runIn(const Host& host, const Operation& operation)
{
    std::unique_ptr<Storm> storm;
    return runOnce(
        operation, {}, [&] { storm = std::make_unique<Storm>(host); }, [&] { storm.reset(); });
}

constexpr const char* pipePath = "/tmp/pipe";
constexpr int manyBytes = 400000; ///< Several times what a pipe holds.

QByteArray manyDifferentBytes(int size = manyBytes)
{
    QByteArray bytes(size, '\0');
    for (int at = 0; at < size; ++at) {
        bytes[at] = char(at * 31 + (at >> 8));
    }
    return bytes;
}

/// Takes everything from the pipe, slowly. 0 when it was what it should be.
int takeFromPipe(const QByteArray& expected)
{
    sleepMilliseconds(20);
    const int pipe = ::open(pipePath, O_RDONLY);
    QByteArray all;
    std::array<char, 65536> piece;
    ssize_t count = 0;
    while ((count = ::read(pipe, piece.data(), piece.size())) > 0) {
        all.append(piece.data(), int(count));
        sleepMilliseconds(3);
    }
    return all == expected ? 0 : 1;
}

/// Puts bytes into the pipe, slowly.
int putIntoPipe(const QByteArray& bytes)
{
    sleepMilliseconds(20);
    const int pipe = ::open(pipePath, O_WRONLY);
    for (int at = 0; at < bytes.size(); at += 50000) {
        sleepMilliseconds(3);
        const QByteArray piece = bytes.mid(at, 50000);
        (void)!::write(pipe, piece.constData(), size_t(piece.size()));
    }
    return 0;
}

void makePipe()
{
    ::unlink(pipePath);
    mkfifo(pipePath, 0600);
}

/// Closes standard descriptors, and puts them back.
class ClosedDescriptors
{
public:
    explicit ClosedDescriptors(const QList<int>& numbers) : m_numbers(numbers)
    {
        for (const int number : numbers) {
            m_saved << fcntl(number, F_DUPFD_CLOEXEC, 100);
            ::close(number);
        }
    }
    ~ClosedDescriptors()
    {
        for (int at = 0; at < m_numbers.size(); ++at) {
            dup2(m_saved.at(at), m_numbers.at(at));
            ::close(m_saved.at(at));
        }
    }
    Q_DISABLE_COPY_MOVE(ClosedDescriptors)

private:
    const QList<int> m_numbers;
    QList<int> m_saved;
};

bool anyStandardIsOpen(const QList<int>& numbers)
{
    return std::any_of(numbers.begin(), numbers.end(),
                       [](int number) { return fcntl(number, F_GETFD) != -1; });
}

// The look into the middle: what Qt opens comes by here.

struct Opened
{
    QByteArray path;
    int number;
};

bool watchesOpening = false;
Q_GLOBAL_STATIC(QList<Opened>, opened)

/// A use of a file that is opened by Qt.
struct FileUse
{
    const char* name;
    const char* file;
    void (*use)(SettingsFile& settings);
};

constexpr const char* settingsPath = "/hmi/Config/system_settings.ini";

void readServer(SettingsFile& /*settings*/)
{
    QString address;
    ResolverFile::server(0, 0, address);
}

void loadServers(SettingsFile& /*settings*/)
{
    QFile file(QString::fromLatin1(ResolverFile::path));
    QByteArray text;
    ResolverFile::load(file, text);
}

void storeServers(SettingsFile& /*settings*/)
{
    QFile file(QString::fromLatin1(ResolverFile::path));
    ResolverFile::store(file, "text");
}

void stopClient(SettingsFile& /*settings*/)
{
    DhcpClient::stop(0);
}

void lookForReply(SettingsFile& /*settings*/)
{
    PingTest::replyArrived();
}

void makeSettings(SettingsFile& /*settings*/)
{
    {
        const StandardDescriptors standard; // Qt reads a file again only when it has changed
        PanelWorld::writeFile(QLatin1String(settingsPath), "[General]\nbuzzer=off\n");
    }
    const SettingsFile another;
}

void changeSettings(SettingsFile& settings)
{
    KeyBeep::store(&settings, true);
    QCoreApplication::sendPostedEvents();
}

void leaveSettingsChanged(SettingsFile& /*settings*/)
{
    SettingsFile another;
    KeyBeep::store(&another, false);
}

void switchAdapter(SettingsFile& settings)
{
    AdapterSwitch::store(&settings, 0, false);
}

const std::array<FileUse, 9> fileUses = {{
    {"a server is read", ResolverFile::path, readServer},
    {"all servers are read", ResolverFile::path, loadServers},
    {"servers are written", ResolverFile::path, storeServers},
    {"a client is stopped", adapterTable[0].pidFile, stopClient},
    {"a reply is looked for", "ping.txt", lookForReply},
    {"settings are made", settingsPath, makeSettings},
    {"a setting is changed", settingsPath, changeSettings},
    {"settings go with a change", settingsPath, leaveSettingsChanged},
    {"an adapter is switched", settingsPath, switchAdapter},
}};

const QByteArray& someImage()
{
    static const QByteArray image = manyDifferentBytes(1024);
    return image;
}

} // namespace

extern "C" int open64(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    // The emulated flash's, where that is opened, or the C library's.
    using Open = int(const char*, int, ...);
    static auto* const next = reinterpret_cast<Open*>(dlsym(RTLD_NEXT, "open64"));
    const int number = next(path, flags, mode);
    if (watchesOpening) {
        opened->append({path, number});
    }
    return number;
}

/// The operations of the rooms in hosts that make it hard for them: signals at any time, children
/// that are not left to those who started them, closed standard descriptors, locks of their own.
class TestHosts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void operation_inAnyHost_comesToTheSame_data();
    void operation_inAnyHost_comesToTheSame();
    void tools_slowOnes_loseNoByte_data();
    void tools_slowOnes_loseNoByte();
    void pipes_slowOnes_loseNoByte_data();
    void pipes_slowOnes_loseNoByte();
    void missingTool_whoseEndNobodySaw_writesNothing_data();
    void missingTool_whoseEndNobodySaw_writesNothing();
    void missingTool_whoseEndNobodySaw_takesNothing_data();
    void missingTool_whoseEndNobodySaw_takesNothing();
    void ignoredChildren_otherOnes_areNotWaitedFor();
    void dispositions_stayTheHosts();
    void closedDescriptors_comeToTheSame_data();
    void closedDescriptors_comeToTheSame();
    void closedDescriptors_areNotTakenByFiles();
    void closedDescriptors_areNotTakenByQt_data();
    void closedDescriptors_areNotTakenByQt();
    void closedDescriptors_thatTheHostOpens_stayOpen();
    void closedDescriptors_leadToolsNowhere();
    void locksOfTheHost_doNotKeepItOut_andAreLost();
};

void TestHosts::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
    maskStorms(SIG_UNBLOCK);
    makeToolsSlow();
}

void TestHosts::init()
{
    QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1); // nothing is left of the test before
}

void TestHosts::operation_inAnyHost_comesToTheSame_data()
{
    QTest::addColumn<int>("operation");
    for (int at = 0; at < allOperations().size(); ++at) {
        QTest::newRow(allOperations().at(at).name) << at;
    }
}

void TestHosts::operation_inAnyHost_comesToTheSame()
{
    QFETCH(int, operation);
    const Operation& disturbed = allOperations().at(operation);
    const Run undisturbed = runOnce(
        disturbed, {}, [] {}, [] {});
    QCOMPARE(undisturbed.result, disturbed.result);
    for (const Host& host : hosts) {
        const Run run = runIn(host, disturbed);
        QVERIFY2(signalsSeen > 0 || !isSlow(disturbed) || !knowsItsChildren(host), host.name);
        QVERIFY2(run.result == resultIn(host, disturbed) || disturbed.look, host.name);
        QVERIFY2(!disturbed.look || run.result == undisturbed.result, host.name);
        QVERIFY2(run.ownAfter == undisturbed.ownAfter, host.name);
        QVERIFY2(run.messages == undisturbed.messages, run.messages.constData());
        QVERIFY2(run.heldAfter == run.heldBefore,
                 qPrintable(QLatin1String(host.name) + run.heldAfter.join(QLatin1Char(','))));
        QCOMPARE(run.foreignChange, QString());
    }
}

namespace {

/// A transfer with a tool that takes its time, and whether nothing of it was lost.
struct SlowTool
{
    const char* name;
    bool (*isWhole)();
};

bool readsAll()
{
    PanelWorld::writeFile("/tmp/bytes"_s, manyDifferentBytes());
    QByteArray bytes(manyBytes, '?');
    const char* const tool = "exec 3</tmp/bytes; for i in 1 2 3 4; do sleep 0.01; "
                             "dd bs=100000 count=1 <&3 2>/dev/null; done";
    return PlateformInterface().readcmd(tool, bytes.data(), bytes.size()) == 0 &&
           bytes == manyDifferentBytes();
}

bool writesAll()
{
    QByteArray bytes = manyDifferentBytes();
    return PlateformInterface().writecmd("sleep 0.02; exec cat >/tmp/taken", bytes.data(),
                                         bytes.size()) == 0 &&
           PanelWorld::fileContent("/tmp/taken"_s) == bytes;
}

bool sendsTheLogo()
{
    const QByteArray logo = manyDifferentBytes(3'000'000);
    PanelWorld::writeFile("/tmp/logo.bin"_s, logo);
    BootLogo::write("/tmp/logo.bin");
    return PanelWorld::state("logo"_s) == logo;
}

bool keepsTheImage()
{
    PanelWorld::setImage(someImage());
    EEInfoDetail::Flash_WR_1 record;
    std::memcpy(&record, someImage().constData(), sizeof record);
    record.brightness = 0x1234;
    return EEInfoHandle::instance()->write_flash_wr1_info(&record) == 0 &&
           PanelWorld::image() == QByteArray(someImage()).replace(29, 2, "\x34\x12");
}

bool findsTheProcess()
{
    return detectProcess("ps.-ef") > 1;
}

const std::array<SlowTool, 5> slowTools = {{
    {"readcmd", readsAll},
    {"writecmd", writesAll},
    {"setLogo", sendsTheLogo},
    {"write_flash_wr1_info", keepsTheImage},
    {"detectProcess", findsTheProcess},
}};

} // namespace

void TestHosts::tools_slowOnes_loseNoByte_data()
{
    QTest::addColumn<int>("tool");
    QTest::addColumn<int>("host");
    for (std::size_t tool = 0; tool < slowTools.size(); ++tool) {
        for (std::size_t host = 0; host < hosts.size(); ++host) {
            QTest::addRow("%s, %s", slowTools[tool].name, hosts[host].name)
                << int(tool) << int(host);
        }
    }
}

void TestHosts::tools_slowOnes_loseNoByte()
{
    QFETCH(int, tool);
    QFETCH(int, host);
    const Host& disturbing = hosts.at(std::size_t(host));
    const Storm storm(disturbing);
    QVERIFY(slowTools.at(std::size_t(tool)).isWhole());
    // A handler that runs processes may take as long as the tool does: one signal is certain.
    const int fewest = disturbing.handler == runAProcess ? 1 : 2;
    QVERIFY(signalsSeen >= fewest || disturbing.handler == SIG_IGN);
}

namespace {

/// A transfer with a pipe on whose other end somebody comes late and takes his time.
struct SlowPipe
{
    const char* name;
    bool weWrite;
    int (*transfer)(QByteArray& bytes);
};

int writeFifo(QByteArray& bytes)
{
    return DFifo(pipePath, O_WRONLY).write(bytes.constData(), bytes.size());
}

int readFifo(QByteArray& bytes)
{
    DFifo pipe(pipePath, O_RDONLY);
    int done = 0;
    int count = 1;
    while (done < bytes.size() && count > 0) {
        count = pipe.read(bytes.data() + done, bytes.size() - done);
        done += qMax(count, 0);
    }
    return done;
}

int writeDescriptor(QByteArray& bytes)
{
    return DFileSystem(pipePath, O_WRONLY).write(bytes.constData(), bytes.size());
}

int writeStream(QByteArray& bytes)
{
    return DFileStdio(pipePath, "wb").write(bytes.constData(), bytes.size());
}

int readStream(QByteArray& bytes)
{
    return DFileStdio(pipePath, "rb").read(bytes.data(), bytes.size());
}

int copyStream(QByteArray& bytes)
{
    const bool copied = DFileStdio(pipePath, "rb").copy2(newFile);
    bytes = PanelWorld::fileContent(QLatin1String(newFile));
    return copied ? bytes.size() : -1;
}

const std::array<SlowPipe, 6> slowPipes = {{
    {"DFifo::write", true, writeFifo},
    {"DFifo::read", false, readFifo},
    {"DFileSystem::write", true, writeDescriptor},
    {"DFileStdio::write", true, writeStream},
    {"DFileStdio::read", false, readStream},
    {"DFileStdio::copy2", false, copyStream},
}};

} // namespace

void TestHosts::pipes_slowOnes_loseNoByte_data()
{
    QTest::addColumn<int>("pipe");
    QTest::addColumn<int>("host");
    for (std::size_t pipe = 0; pipe < slowPipes.size(); ++pipe) {
        for (std::size_t host = 0; host < hosts.size(); ++host) {
            QTest::addRow("%s, %s", slowPipes[pipe].name, hosts[host].name)
                << int(pipe) << int(host);
        }
    }
}

void TestHosts::pipes_slowOnes_loseNoByte()
{
    QFETCH(int, pipe);
    QFETCH(int, host);
    const SlowPipe& slow = slowPipes.at(std::size_t(pipe));
    const QByteArray expected = manyDifferentBytes();
    makePipe();
    int ends[2]; // tells of the other process' end, whoever waits for it
    QCOMPARE(::pipe(ends), 0);
    const pid_t other = fork();
    if (other == 0) {
        const char result = char(slow.weWrite ? takeFromPipe(expected) : putIntoPipe(expected));
        (void)!::write(ends[1], &result, 1);
        _exit(0);
    }
    QByteArray bytes = slow.weWrite ? expected : QByteArray(manyBytes, '?');
    int moved = 0;
    int seen = 0;
    {
        const Storm storm(hosts.at(std::size_t(host)));
        moved = slow.transfer(bytes);
        seen = signalsSeen;
    }
    char result = 1;
    (void)!::read(ends[0], &result, 1);
    waitpid(other, nullptr, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    QVERIFY(seen > 0 || !knowsItsChildren(hosts.at(std::size_t(host))));
    QCOMPARE(moved, manyBytes);
    QVERIFY(bytes == expected);
    QCOMPARE(int(result), 0);
}

void TestHosts::missingTool_whoseEndNobodySaw_writesNothing_data()
{
    QTest::addColumn<int>("host");
    QTest::newRow("ignored") << 6;
    QTest::newRow("seen") << 3;
}

void TestHosts::missingTool_whoseEndNobodySaw_writesNothing()
{
    QFETCH(int, host);
    PanelWorld::setImage(someImage());
    const QString tool = QString::fromLatin1(toolFolder) + "/readee"_s;
    const QByteArray content = PanelWorld::fileContent(tool);
    PanelWorld::replaceTool("readee"_s, QByteArray());
    EEInfoDetail::Flash_WR_1 record = {};
    int result = 0;
    {
        const Storm storm(hosts.at(std::size_t(host)));
        result = EEInfoHandle::instance()->write_flash_wr1_info(&record);
    }
    PanelWorld::replaceTool("readee"_s, content);
    QCOMPARE(result, -1);
    QCOMPARE(PanelWorld::image(), someImage());
}

void TestHosts::missingTool_whoseEndNobodySaw_takesNothing_data()
{
    QTest::addColumn<int>("host");
    QTest::addColumn<bool>("isThere");
    for (const bool isThere : {false, true}) {
        QTest::addRow("ignored, there: %d", int(isThere)) << 6 << isThere;
        QTest::addRow("taken, there: %d", int(isThere)) << 5 << isThere;
    }
}

void TestHosts::missingTool_whoseEndNobodySaw_takesNothing()
{
    QFETCH(int, host);
    QFETCH(bool, isThere);
    // It prints and takes nothing, and ends as the shell does when there is no such tool.
    PanelWorld::replaceTool("newtool"_s, isThere ? QByteArray("exit 127") : QByteArray());
    char byte = 'x';
    int read = 1;
    int written = 1;
    {
        const Storm storm(hosts.at(std::size_t(host)));
        read = PlateformInterface().readcmd("/root/plat-intf/newtool", &byte, 1);
        written = PlateformInterface().writecmd("/root/plat-intf/newtool count=16", &byte, 1);
    }
    PanelWorld::replaceTool("newtool"_s, QByteArray());
    QCOMPARE(read, isThere ? 0 : -1);
    QCOMPARE(written, isThere ? 0 : -1);
}

void TestHosts::ignoredChildren_otherOnes_areNotWaitedFor()
{
    const int result = inOtherProcess([] {
        std::signal(SIGCHLD, SIG_IGN);
        const pid_t idle = fork();
        if (idle == 0) {
            ::pause();
            _exit(0);
        }
        char byte = 0;
        const bool read = PlateformInterface().readcmd("printf x", &byte, 1) == 0 && byte == 'x';
        const bool ran = EEInfoHandle::instance()->setBeep(true) == -1; // and nobody knows how
        const bool lives = kill(idle, SIGKILL) == 0;
        return read && ran && lives ? 1 : 0;
    });
    QCOMPARE(result, 1);
}

void TestHosts::dispositions_stayTheHosts()
{
    // Looked at by a handler in the middle of a transfer, and afterwards.
    static volatile sig_atomic_t changed = 0;
    static const auto handlerOf = [](int signal) {
        struct sigaction action = {};
        sigaction(signal, nullptr, &action);
        return action.sa_handler;
    };
    static const auto pipeHandler = handlerOf(SIGPIPE);
    static const auto childHandler = handlerOf(SIGCHLD);
    const auto look = [](int /*number*/) {
        const bool same = handlerOf(SIGPIPE) == pipeHandler && handlerOf(SIGCHLD) == childHandler;
        changed = changed + (same ? 0 : 1);
        signalsSeen = signalsSeen + 1;
    };
    const Host host = {"", look, SIGALRM, 0};
    {
        const Storm storm(host);
        QVERIFY(writesAll());
        QVERIFY(signalsSeen > 1);
    }
    look(0);
    QCOMPARE(int(changed), 0);
    // system() has these ignored, and SIGCHLD blocked, for as long as its line runs.
    const auto ownHandler = std::signal(SIGINT, countSignal);
    EEInfoHandle::instance()->setBeep(true);
    QVERIFY(handlerOf(SIGINT) == countSignal);
    std::signal(SIGINT, ownHandler);
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    QCOMPARE(sigismember(&blocked, SIGCHLD), 0);
}

void TestHosts::closedDescriptors_comeToTheSame_data()
{
    operation_inAnyHost_comesToTheSame_data();
}

void TestHosts::closedDescriptors_comeToTheSame()
{
    QFETCH(int, operation);
    const Operation& tried = allOperations().at(operation);
    const Run usual = runOnce(
        tried, {}, [] {}, [] {});
    const bool zeroIsNotOpen = QByteArray(tried.name).startsWith("DFileSystem");
    for (const QList<int>& numbers :
         {QList<int>{0}, QList<int>{1}, QList<int>{2}, QList<int>{0, 1}, QList<int>{0, 1, 2}}) {
        if (zeroIsNotOpen && numbers.contains(0)) {
            continue;
        }
        std::unique_ptr<ClosedDescriptors> closed;
        bool taken = true;
        const Run run = runOnce(
            tried, {}, [&] { closed = std::make_unique<ClosedDescriptors>(numbers); },
            [&] {
                taken = anyStandardIsOpen(numbers);
                closed.reset();
            });
        QVERIFY(!taken);
        QCOMPARE(run.result, usual.result);
        QCOMPARE(run.ownAfter, usual.ownAfter);
        QCOMPARE(run.heldAfter, run.heldBefore);
        QCOMPARE(run.foreignChange, QString());
    }
}

void TestHosts::closedDescriptors_areNotTakenByFiles()
{
    PanelWorld::writeFile(QLatin1String(plainFile), "content");
    makePipe();
    bool taken = true;
    int result = 0;
    {
        const ClosedDescriptors closed({1, 2});
        const DFileSystem file(plainFile, O_RDWR);
        const DFileStdio stream(plainFile, "rb");
        const DFifo pipe(pipePath, O_RDWR);
        taken = anyStandardIsOpen({1, 2});
        result = file.ioDev() && stream.ioDev() ? 1 : 0;
    }
    QVERIFY(!taken);
    QCOMPARE(result, 1);
}

void TestHosts::closedDescriptors_areNotTakenByQt_data()
{
    QTest::addColumn<int>("use");
    for (std::size_t at = 0; at < fileUses.size(); ++at) {
        QTest::newRow(fileUses[at].name) << int(at);
    }
}

void TestHosts::closedDescriptors_areNotTakenByQt()
{
    QFETCH(int, use);
    const FileUse& tried = fileUses.at(std::size_t(use));
    QDir::setCurrent("/tmp"_s);
    PanelWorld::writeFile(QLatin1String(tried.file),
                          "[General]\nnothing=" + QByteArray(tried.name));
    SettingsFile settings; // for those who use it
    opened->clear();
    {
        const ClosedDescriptors closed({0, 1, 2});
        watchesOpening = true;
        tried.use(settings);
        watchesOpening = false;
    }
    int count = 0;
    for (const Opened& one : qAsConst(*opened)) {
        count += one.path.startsWith(tried.file) ? 1 : 0;
        const bool isStandard = one.number >= 0 && one.number <= STDERR_FILENO;
        // Of registers, which 32-bit programs open by this name too, our own code moves the number.
        const bool isRegister = one.path.endsWith(".dat");
        QVERIFY2(!isStandard || isRegister || one.path == "/dev/null", one.path.constData());
    }
    QVERIFY(count > 0);
}

void TestHosts::closedDescriptors_thatTheHostOpens_stayOpen()
{
    PanelWorld::writeFile(QLatin1String(plainFile), "content");
    const int result = inOtherProcess([] {
        ::close(1);
        {
            const StandardDescriptors standard;
            const int file = ::open(plainFile, O_RDONLY);
            dup2(file, 1);
        }
        char byte = 0;
        return ::read(1, &byte, 1) == 1 && byte == 'c' ? 1 : 0;
    });
    QCOMPARE(result, 1);
}

void TestHosts::closedDescriptors_leadToolsNowhere()
{
    char targets[64] = {};
    int result = 0;
    {
        const ClosedDescriptors closed({0, 1, 2});
        result = PlateformInterface().readcmd("readlink /proc/self/fd/0 /proc/self/fd/2", targets,
                                              sizeof targets - 1);
    }
    QCOMPARE(result, 0);
    QCOMPARE(QByteArray(targets), QByteArray("/dev/null\n/dev/null\n"));
}

void TestHosts::locksOfTheHost_doNotKeepItOut_andAreLost()
{
    const char* const area = "/tmp/smw.dat";
    PanelWorld::writeFile(QLatin1String(area), QByteArray(1024, '\0'));
    const int file = ::open(area, O_RDWR | O_CLOEXEC);
    lseek(file, 779, SEEK_SET);
    QCOMPARE(lockf(file, F_LOCK, 8), 0);
    const auto isFree = [&] {
        return inOtherProcess([&] {
                   const int other = ::open(area, O_RDWR);
                   lseek(other, 779, SEEK_SET);
                   return lockf(other, F_TEST, 8) == 0 ? 1 : 0;
               }) == 1;
    };
    QVERIFY(!isFree());
    const unsigned char value[8] = {1};
    QCOMPARE(WriteLocal(5, 779, 8, value, ""), unsigned(areaDone));
    QVERIFY(isFree());
    ::close(file);
}

/// The test library has a thread of its own, to which the system would give every signal that comes
/// while a handler runs. A thread has the mask of the one that makes it.
int main(int count, char** words)
{
    maskStorms(SIG_BLOCK);
    QCoreApplication application(count, words);
    TestHosts test;
    return QTest::qExec(&test, count, words);
}

#include "test_hosts.moc"
