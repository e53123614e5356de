#include "fileio/DFifo.h"
#include "fileio/DFileStdio.h"
#include "fileio/DFileSystem.h"
#include "fileio/SigPipeGuard.h"
#include "tests/support/FileLocks.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Slots.h"
#include "tests/support/Text.h"

#include <QDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

const char* const path = "/tmp/file";
const char* const other = "/tmp/other";
const char* const pipePath = "/tmp/pipe";

void store(const QByteArray& content)
{
    PanelWorld::writeFile(QString::fromLatin1(path), content);
}

QByteArray stored(const char* name = path)
{
    return PanelWorld::fileContent(QString::fromLatin1(name));
}

uint openDescriptors()
{
    return QDir("/proc/self/fd"_s).count();
}

int descriptorOf(const DFileSystem& file)
{
    return int(reinterpret_cast<std::intptr_t>(file.ioDev()));
}

/// Whether another process could lock this range of the file.
bool isFree(int offset, int length)
{
    return inOtherProcess([=] {
               const int descriptor = open(path, O_RDWR);
               lseek(descriptor, offset, SEEK_SET);
               return lockf(descriptor, F_TEST, length) == 0 ? 1 : 0;
           }) == 1;
}

/// What is printed to standard error while it lives.
class ErrorOutput
{
public:
    ErrorOutput() : m_saved(dup(STDERR_FILENO))
    {
        const int file = open("/tmp/stderr", O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(file, STDERR_FILENO);
        close(file);
    }
    ~ErrorOutput()
    {
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
    }
    Q_DISABLE_COPY_MOVE(ErrorOutput)
    static QByteArray text() { return stored("/tmp/stderr"); }

private:
    int m_saved;
};

/// A handler that remembers that the signal came.
volatile sig_atomic_t pipeSignals = 0;
void countPipeSignal(int /*number*/)
{
    pipeSignals = pipeSignals + 1;
}

/// Runs a function at SIGUSR1, which then ends a wait in the system.
void interruptWith(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(SIGUSR1, &action, nullptr);
}

/// Waits until the process sleeps in a call of the system. False when it ends instead.
bool sleeps(const OtherProcess& process)
{
    const QString status = "/proc/%1/stat"_s.arg(process.id());
    while (!process.hasEnded()) {
        const QByteArray text = PanelWorld::fileContent(status);
        if (text.mid(text.lastIndexOf(')') + 1).startsWith(" S ")) {
            return true;
        }
    }
    return false;
}

/// From now on, write(2) takes no byte in this process, and calls that no failure.
bool makeWritesTakeNothing()
{
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_write, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO), // with no error: the answer is 0
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = {sizeof rules / sizeof *rules, rules};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

bool sigPipeIsBlocked()
{
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, SIGPIPE) == 1;
}

bool sigPipeIsPending()
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

/// Writes to a pipe that nobody reads.
int writeToBrokenPipe()
{
    int ends[2];
    if (pipe(ends) != 0) {
        return -2;
    }
    close(ends[0]);
    const ssize_t result = write(ends[1], "x", 1);
    close(ends[1]);
    return int(result);
}

} // namespace

class TestFileIo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void file_operationsHaveTheirSlots();
    void file_hasOneSetOfOperations();
    void stdio_opensReadsWrites();
    void stdio_interruptedRead_goesOnAndLeavesNoError();
    void stdio_withoutStream_saysSo();
    void stdio_seeksByWhence_data();
    void stdio_seeksByWhence();
    void stdio_failedSeek_returnsThePosition();
    void stdio_reopening_leaksNothing();
    void stdio_locksItsStream();
    void stdio_regularFilesAloneAreBuffered();
    void stdio_copiesInChunks_data();
    void stdio_copiesInChunks();
    void stdio_copyStartsAtThePosition();
    void stdio_copyToFullDisk_fails();
    void stdio_copyWithoutStream_isEmptyAndTrue();
    void system_opensReadsWrites();
    void system_missingFile_isClosed();
    void system_createFlag_makesTheFile();
    void system_createFailsTwice_isClosed();
    void system_interruptedOpen_isNotTriedWithTruncation();
    void system_seeksByWhence_data();
    void system_seeksByWhence();
    void system_descriptorZero_countsAsClosed();
    void system_fileThatTakesNothing_endsTheWrite();
    void negativeLength_isAnError();
    void negativeLength_neverReachesTheSystem();
    void system_closeIsFinal();
    void system_locksExactlyItsRange();
    void system_unlockFreesExactlyItsRange();
    void system_readOnlyLockIsShared();
    void system_lockWaitsForTheOther_data();
    void system_lockWaitsForTheOther();
    void system_lockOutlastsSignals_data();
    void system_lockOutlastsSignals();
    void system_sync();
    void commands_inheritNoFile();
    void fifo_makesAMissingPipe();
    void fifo_withoutReader_saysSoOnce();
    void fifo_cannotBeMade_saysSo();
    void fifo_carriesMessages();
    void fifo_readerGoesAway_writeFailsAndWeLive();
    void fifo_closed_failsEveryTransfer();
    void fifo_closesItsDescriptor();
    void guard_keepsAWriteFromKilling();
    void guard_restoresTheMask();
    void guard_leavesTheHostsSignalAlone();
};

void TestFileIo::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestFileIo::init()
{
    for (const char* name : {path, other, pipePath}) {
        unlink(name);
    }
}

void TestFileIo::file_operationsHaveTheirSlots()
{
    QCOMPARE(slotOf(&File::seek2), 0);
    QCOMPARE(slotOf(&File::read), 1);
    QCOMPARE(slotOf(&File::write), 2);
    QCOMPARE(slotOf(&File::close), 3);
    QCOMPARE(slotOf(&File::offset), 4);
    QCOMPARE(slotOf(&File::ioDev), 5);
    // The destructor follows, in both its forms: deleting through the base closes the file.
    store("x");
    File* const file = new DFileSystem(path, O_RDONLY);
    const int descriptor = int(reinterpret_cast<std::intptr_t>(file->ioDev()));
    QVERIFY(fcntl(descriptor, F_GETFD) != -1);
    delete file;
    QCOMPARE(fcntl(descriptor, F_GETFD), -1);
}

void TestFileIo::file_hasOneSetOfOperations()
{
    store("0123456789");
    DFileStdio stdio(path, "r+b");
    DFileSystem system(path, O_RDWR);
    for (File* file : {static_cast<File*>(&stdio), static_cast<File*>(&system)}) {
        char buffer[4] = {};
        QCOMPARE(file->seek2(3, SEEK_SET), 3);
        QCOMPARE(file->read(buffer, 3), 3);
        QCOMPARE(buffer, "345");
        QCOMPARE(file->offset(), 6);
        QVERIFY(file->ioDev());
        file->close();
        QVERIFY(!file->ioDev());
        QCOMPARE(file->offset(), -1);
    }
}

void TestFileIo::stdio_interruptedRead_goesOnAndLeavesNoError()
{
    static std::atomic<int> handled{0};
    struct sigaction counting = {};
    counting.sa_handler = [](int) { ++handled; }; // without SA_RESTART
    struct sigaction before = {};
    sigaction(SIGUSR1, &counting, &before);
    unlink(pipePath);
    QCOMPARE(mkfifo(pipePath, 0600), 0);
    const int writer = ::open(pipePath, O_RDWR | O_CLOEXEC);
    const pthread_t reader = pthread_self();
    const QScopedPointer<QThread> thread(QThread::create([writer, reader] {
        // A signal when the reader sleeps in its call. An emulator tells its own calls: there, the
        // bytes come without one after a while.
        const QByteArray reading = QByteArray::number(SYS_read) + ' ';
        for (int look = 0; handled == 0 && look < 100000; ++look) {
            if (PanelWorld::fileContent("/proc/self/syscall"_s).startsWith(reading)) {
                pthread_kill(reader, SIGUSR1);
            }
            QThread::usleep(100);
        }
        (void)!::write(writer, "456789 and more", 15);
    }));
    DFileStdio file(pipePath, "rb");
    QByteArray got(20, '-');
    QCOMPARE(::write(writer, "0123", 4), 4); // the wait is for the rest
    thread->start();
    QCOMPARE(file.read(got.data(), 10), 10);
    thread->wait();
    QCOMPARE(got, QByteArray("0123456789----------"));
    QCOMPARE(std::ferror(static_cast<std::FILE*>(file.ioDev())), 0);
    ::close(writer);
    sigaction(SIGUSR1, &before, nullptr);
}

void TestFileIo::stdio_opensReadsWrites()
{
    DFileStdio file(path, "w+b");
    QVERIFY(file.ioDev());
    QCOMPARE(file.write("panel", 5), 5);
    QCOMPARE(file.offset(), 5);
    QCOMPARE(file.seek2(0, SEEK_SET), 0);
    char buffer[16] = {};
    QCOMPARE(file.read(buffer, sizeof buffer), 5);
    QCOMPARE(buffer, "panel");
    QCOMPARE(file.read(buffer, 0), 0);
    QCOMPARE(file.write("x", -1), 0);
    file.close();
    QCOMPARE(stored(), QByteArray("panel"));
}

void TestFileIo::stdio_withoutStream_saysSo()
{
    DFileStdio file("/tmp/nowhere/file", "rb");
    char buffer[4];
    QVERIFY(!file.ioDev());
    QCOMPARE(file.read(buffer, 4), 0);
    QCOMPARE(file.write("abcd", 4), 0);
    QCOMPARE(file.seek2(1, SEEK_SET), -1);
    QCOMPARE(file.offset(), -1);
    file.lock();
    file.unlock();
    file.close();
    QVERIFY(!file.open("/tmp/nowhere/file", "rb"));
    QVERIFY(file.open(path, "wb"));
}

void TestFileIo::stdio_seeksByWhence_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("whence");
    QTest::addColumn<int>("position");
    QTest::newRow("from the start") << 7 << SEEK_SET << 7;
    QTest::newRow("from here") << 2 << SEEK_CUR << 6;
    QTest::newRow("back from here") << -4 << SEEK_CUR << 0;
    QTest::newRow("from the end") << -1 << SEEK_END << 9;
}

void TestFileIo::stdio_seeksByWhence()
{
    QFETCH(int, offset);
    QFETCH(int, whence);
    QFETCH(int, position);
    store("0123456789");
    DFileStdio file(path, "rb");
    file.seek2(4, SEEK_SET);
    QCOMPARE(file.seek2(offset, whence), position);
    QCOMPARE(file.offset(), position);
}

void TestFileIo::stdio_failedSeek_returnsThePosition()
{
    store("0123456789");
    DFileStdio file(path, "rb");
    file.seek2(4, SEEK_SET);
    QCOMPARE(file.seek2(-100, SEEK_SET), 4);
    QCOMPARE(file.seek2(0, 4711), 4);
}

void TestFileIo::stdio_reopening_leaksNothing()
{
    store("one");
    PanelWorld::writeFile(QString::fromLatin1(other), "two");
    const uint before = openDescriptors();
    {
        DFileStdio file(path, "rb");
        for (int round = 0; round < 100; ++round) {
            QVERIFY(file.open(round % 2 ? path : other, "rb"));
        }
        char buffer[4] = {};
        QCOMPARE(file.read(buffer, 3), 3);
        QCOMPARE(buffer, "one");
        QCOMPARE(openDescriptors(), before + 1);
        QVERIFY(!file.open("/tmp/nowhere/file", "rb"));
        QCOMPARE(openDescriptors(), before);
    }
    QCOMPARE(openDescriptors(), before);
}

void TestFileIo::stdio_locksItsStream()
{
    store("x");
    DFileStdio file(path, "rb");
    auto* stream = static_cast<FILE*>(file.ioDev());
    const auto otherThreadGetsIt = [stream] {
        bool got = false;
        QScopedPointer<QThread> thread(QThread::create([&got, stream] {
            got = ftrylockfile(stream) == 0;
            if (got) {
                funlockfile(stream);
            }
        }));
        thread->start();
        thread->wait();
        return got;
    };
    file.lock();
    QVERIFY(!otherThreadGetsIt());
    file.unlock();
    QVERIFY(otherThreadGetsIt());
}

void TestFileIo::stdio_regularFilesAloneAreBuffered()
{
    store("");
    DFileStdio file(path, "wb");
    QCOMPARE(file.write("x", 1), 1);
    QCOMPARE(stored(), QByteArray());
    file.close();
    QCOMPARE(stored(), QByteArray("x"));

    unlink(pipePath);
    mkfifo(pipePath, 0600);
    DFifo end(pipePath, O_RDWR | O_NONBLOCK);
    DFileStdio pipe(pipePath, "wb");
    QCOMPARE(pipe.write("x", 1), 1);
    char byte = '?';
    QCOMPARE(end.read(&byte, 1), 1); // what is in the pipe before it is closed
    QCOMPARE(byte, 'x');
}

void TestFileIo::stdio_copiesInChunks_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 262143, 262144, 262145, 524288, 600000}) {
        QTest::addRow("%d bytes", size) << size;
    }
}

void TestFileIo::stdio_copiesInChunks()
{
    QFETCH(int, size);
    QByteArray content(size, '\0');
    for (int at = 0; at < size; ++at) {
        content[at] = char(at * 31 >> 3);
    }
    store(content);
    PanelWorld::writeFile(QString::fromLatin1(other), "what was there before");
    const uint before = openDescriptors();
    DFileStdio file(path, "rb");
    QVERIFY(file.copy2(other));
    QCOMPARE(stored(other), content);
    // A whole chunk is followed by an empty read, which finds the end.
    QVERIFY(feof(static_cast<FILE*>(file.ioDev())));
    QCOMPARE(openDescriptors(), before + 1);
}

void TestFileIo::stdio_copyStartsAtThePosition()
{
    store("0123456789");
    DFileStdio file(path, "rb");
    file.seek2(7, SEEK_SET);
    QVERIFY(file.copy2(other));
    QCOMPARE(stored(other), QByteArray("789"));
}

void TestFileIo::stdio_copyToFullDisk_fails()
{
    store(QByteArray(600000, 'x'));
    DFileStdio file(path, "rb");
    const uint before = openDescriptors();
    QVERIFY(!file.copy2("/dev/full"));
    QVERIFY(!file.copy2("/tmp/nowhere/file"));
    QCOMPARE(openDescriptors(), before);
}

void TestFileIo::stdio_copyWithoutStream_isEmptyAndTrue()
{
    DFileStdio file("/tmp/nowhere/file", "rb");
    QVERIFY(file.copy2(other));
    QVERIFY(QFile::exists(QString::fromLatin1(other)));
    QCOMPARE(stored(other), QByteArray());
}

void TestFileIo::system_opensReadsWrites()
{
    store("0123456789");
    DFileSystem file(path, O_RDWR);
    char buffer[16] = {};
    QCOMPARE(file.read(buffer, 4), 4);
    QCOMPARE(buffer, "0123");
    QCOMPARE(file.write("abc", 3), 3);
    QCOMPARE(file.offset(), 7);
    QCOMPARE(file.read(buffer, sizeof buffer), 3);
    QCOMPARE(stored(), QByteArray("0123abc789"));
}

void TestFileIo::system_missingFile_isClosed()
{
    DFileSystem file("/tmp/nowhere/file", O_RDWR);
    char buffer[4];
    QVERIFY(!file.ioDev());
    QCOMPARE(file.read(buffer, 4), 0);
    QCOMPARE(file.write("abcd", 4), 0);
    QCOMPARE(file.seek2(0, SEEK_SET), -1);
    QCOMPARE(file.offset(), -1);
    QCOMPARE(file.lock(SEEK_SET, 0, 1), -1);
    QCOMPARE(file.unlock(SEEK_SET, 0, 1), -1);
    QCOMPARE(file.sync(), 0);
    const DFileSystem missing(path, O_RDWR);
    QVERIFY2(!QFile::exists(QString::fromLatin1(path)), "made without being asked to");
}

void TestFileIo::system_createFlag_makesTheFile()
{
    const mode_t mask = umask(0);
    const DFileSystem file(path, O_RDWR | O_CREAT);
    umask(mask);
    QVERIFY(file.ioDev());
    struct stat status = {};
    QCOMPARE(stat(path, &status), 0);
    QCOMPARE(int(status.st_mode & 0777), 0644);
}

void TestFileIo::system_createFailsTwice_isClosed()
{
    // O_EXCL fails on a file that exists, the first time and the second.
    store("kept");
    const DFileSystem file(path, O_RDWR | O_CREAT | O_EXCL);
    QVERIFY(!file.ioDev());
    QCOMPARE(stored(), QByteArray("kept"));
    const DFileSystem folder("/tmp/nowhere/file", O_RDWR | O_CREAT);
    QVERIFY(!folder.ioDev());
}

void TestFileIo::system_interruptedOpen_isNotTriedWithTruncation()
{
    // It waits for a reader of the pipe when the signal comes; then a file lies in the pipe's
    // place.
    mkfifo(path, 0600);
    PanelWorld::writeFile(QString::fromLatin1(other), "what was there before");
    OtherProcess opener([] {
        interruptWith([](int /*number*/) { (void)!rename(other, path); });
        const DFileSystem file(path, O_WRONLY | O_CREAT);
        return file.ioDev() ? 1 : 0;
    });
    QVERIFY(sleeps(opener));
    kill(opener.id(), SIGUSR1);
    QCOMPARE(opener.result(), 1);
    QCOMPARE(stored(), QByteArray("what was there before"));
}

void TestFileIo::system_seeksByWhence_data()
{
    stdio_seeksByWhence_data();
    QTest::newRow("before the start is no position") << -1 << SEEK_SET << -1;
}

void TestFileIo::system_seeksByWhence()
{
    QFETCH(int, offset);
    QFETCH(int, whence);
    QFETCH(int, position);
    store("0123456789");
    DFileSystem file(path, O_RDONLY);
    file.seek2(4, SEEK_SET);
    QCOMPARE(file.seek2(offset, whence), position);
    QCOMPARE(file.offset(), position < 0 ? 4 : position);
}

void TestFileIo::system_descriptorZero_countsAsClosed()
{
    store("0123456789");
    const int result = inOtherProcess([] {
        close(STDIN_FILENO);
        DFileSystem file(path, O_RDWR); // gets the lowest number, 0
        char buffer[4] = {'?', 0, 0, 0};
        const bool closed = file.read(buffer, 4) == 0 && buffer[0] == '?' &&
                            file.write("abcd", 4) == 0 && file.lock(SEEK_SET, 0, 1) == -1 &&
                            file.unlock(SEEK_SET, 0, 1) == -1 && file.seek2(0, SEEK_SET) == -1 &&
                            file.offset() == -1 && file.sync() == 0 && !file.ioDev();
        return closed && fcntl(0, F_GETFD) >= 0 ? 1 : 0;
    });
    QCOMPARE(result, 1);
    QCOMPARE(stored(), QByteArray("0123456789"));
}

void TestFileIo::system_fileThatTakesNothing_endsTheWrite()
{
    store("kept");
    const int taken = inOtherProcess([] {
        DFileSystem file(path, O_WRONLY);
        if (!makeWritesTakeNothing()) {
            return 1; // an emulator, which makes the calls of the system itself
        }
        alarm(120); // a write that never ends is killed
        return file.write("changed", 7) == 0 ? 0 : 2;
    });
    if (taken == 1) {
        // As QSKIP does, which is a macro that not every compiler takes with one argument.
        QTest::qSkip("the system lets nobody change what its calls answer", __FILE__, __LINE__);
        return;
    }
    QCOMPARE(taken, 0);
    QCOMPARE(stored(), QByteArray("kept"));
}

void TestFileIo::negativeLength_isAnError()
{
    store("0123456789");
    char buffer[4] = {'?', '?', '?', '?'};
    {
        DFileSystem file(path, O_RDWR);
        QCOMPARE(file.read(buffer, -1), -1);
        QCOMPARE(errno, EINVAL);
        QCOMPARE(file.write("abcd", -1), -1);
        QCOMPARE(file.offset(), 0);
        DFileStdio stream(path, "r+b");
        QCOMPARE(stream.read(buffer, -1), 0);
        QCOMPARE(stream.write("abcd", -1), 0);
        unlink(pipePath);
        mkfifo(pipePath, 0600);
        DFifo pipe(pipePath, O_RDWR | O_NONBLOCK);
        QCOMPARE(pipe.write("abcd", -1), -1);
        QCOMPARE(errno, EINVAL);
        QCOMPARE(pipe.write("abcd", 4), 4);
        QCOMPARE(pipe.read(buffer, -1), -1);
    }
    QCOMPARE(QByteArray(buffer, 4), QByteArray("????"));
    QCOMPARE(stored(), QByteArray("0123456789"));
}

void TestFileIo::negativeLength_neverReachesTheSystem()
{
    // Where a length is 64 bits wide the system refuses it as well, but finds first that these are
    // not open for such a transfer.
    store("0123456789");
    unlink(pipePath);
    mkfifo(pipePath, 0600);
    const auto refused = [](auto&& transfer) {
        errno = 0;
        return transfer() == -1 && errno == EINVAL;
    };
    char byte = '?';
    DFileSystem reader(path, O_RDONLY);
    DFileSystem writer(path, O_WRONLY);
    DFifo readingEnd(pipePath, O_RDONLY | O_NONBLOCK);
    DFifo writingEnd(pipePath, O_WRONLY);
    QVERIFY(refused([&] { return reader.write(&byte, -1); }));
    QVERIFY(refused([&] { return writer.read(&byte, -1); }));
    QVERIFY(refused([&] { return readingEnd.write(&byte, -1); }));
    QVERIFY(refused([&] { return writingEnd.read(&byte, -1); }));
}

void TestFileIo::system_closeIsFinal()
{
    store("x");
    const uint before = openDescriptors();
    DFileSystem file(path, O_RDWR);
    QCOMPARE(openDescriptors(), before + 1);
    file.close();
    file.close();
    QCOMPARE(openDescriptors(), before);
    QVERIFY(!file.ioDev());
}

void TestFileIo::system_locksExactlyItsRange()
{
    store("0123456789");
    DFileSystem file(path, O_RDWR);
    // whence, offset, length: the order of seek2 is the other one.
    QCOMPARE(file.lock(SEEK_SET, 3, 4), 0);
    QCOMPARE(file.offset(), 3);
    QVERIFY(isFree(0, 3));
    for (int at = 3; at < 7; ++at) {
        QVERIFY(!isFree(at, 1));
    }
    QVERIFY(isFree(7, 100));
    QCOMPARE(file.lock(SEEK_SET, -1, 1), -1);
}

void TestFileIo::system_unlockFreesExactlyItsRange()
{
    store("0123456789");
    DFileSystem file(path, O_RDWR);
    file.lock(SEEK_SET, 2, 6);
    char buffer[6];
    file.read(buffer, 6); // the position moves on
    QCOMPARE(file.unlock(SEEK_SET, 2, 3), 0);
    QVERIFY(isFree(2, 3));
    QVERIFY(!isFree(5, 1));
    QVERIFY(!isFree(7, 1));
    file.close();
    QVERIFY(isFree(0, 100));
}

void TestFileIo::system_readOnlyLockIsShared()
{
    store("0123456789");
    DFileSystem file(path, O_RDONLY);
    QCOMPARE(file.lock(SEEK_SET, 3, 4), 0);
    QVERIFY(isFree(0, 3));
    QVERIFY(isFree(7, 100));
    OtherProcess writer([] {
        DFileSystem file(path, O_RDWR);
        return file.lock(SEEK_SET, 6, 1) == 0 ? 1 : 0;
    });
    QCOMPARE(FileLocks::awaitedBy(writer), QByteArray("WRITE 6 6"));
    OtherProcess reader([] {
        DFileSystem file(path, O_RDONLY);
        return file.lock(SEEK_SET, 3, 4) == 0 ? 1 : 0;
    });
    QCOMPARE(FileLocks::awaitedBy(reader), QByteArray());
    QCOMPARE(reader.result(), 1);
    QCOMPARE(file.unlock(SEEK_SET, 3, 4), 0);
    QCOMPARE(writer.result(), 1);
    QVERIFY(isFree(0, 100));
}

void TestFileIo::system_lockWaitsForTheOther_data()
{
    QTest::addColumn<int>("flags");
    QTest::addColumn<QByteArray>("awaited");
    QTest::newRow("writer") << O_RDWR << QByteArray("WRITE 0 4");
    QTest::newRow("reader") << O_RDONLY << QByteArray("READ 0 4");
}

void TestFileIo::system_lockWaitsForTheOther()
{
    QFETCH(int, flags);
    QFETCH(QByteArray, awaited);
    store("0123456789");
    DFileSystem file(path, O_RDWR);
    file.lock(SEEK_SET, 0, 10);
    OtherProcess waiting([flags] {
        DFileSystem file(path, flags);
        char buffer[6] = {};
        const bool locked = file.lock(SEEK_SET, 0, 5) == 0;
        file.read(buffer, 5);
        return locked && qstrcmp(buffer, "first") == 0 ? 1 : 0;
    });
    QCOMPARE(FileLocks::awaitedBy(waiting), awaited);
    file.write("first", 5);
    file.unlock(SEEK_SET, 0, 10);
    QCOMPARE(waiting.result(), 1);
}

void TestFileIo::system_lockOutlastsSignals_data()
{
    system_lockWaitsForTheOther_data();
}

void TestFileIo::system_lockOutlastsSignals()
{
    QFETCH(int, flags);
    QFETCH(QByteArray, awaited);
    store("0123456789");
    DFileSystem file(path, O_RDWR);
    file.lock(SEEK_SET, 0, 10);
    static int handled[2];
    QCOMPARE(pipe(handled), 0);
    OtherProcess waiting([flags] {
        interruptWith([](int /*number*/) { (void)!write(handled[1], "h", 1); });
        DFileSystem file(path, flags);
        return file.lock(SEEK_SET, 0, 5) == 0 ? 1 : 0;
    });
    for (int round = 0; round < 3; ++round) {
        QCOMPARE(FileLocks::awaitedBy(waiting), awaited);
        kill(waiting.id(), SIGUSR1);
        char byte = 0;
        QCOMPARE(read(handled[0], &byte, 1), ssize_t(1));
    }
    QCOMPARE(FileLocks::awaitedBy(waiting), awaited);
    file.unlock(SEEK_SET, 0, 10);
    QCOMPARE(waiting.result(), 1);
    close(handled[0]);
    close(handled[1]);
}

void TestFileIo::system_sync()
{
    store("x");
    DFileSystem file(path, O_RDWR);
    QCOMPARE(file.sync(), 0);
    // A pipe cannot be brought to a medium.
    mkfifo(pipePath, 0600);
    DFileSystem fifo(pipePath, O_RDWR);
    QCOMPARE(fifo.sync(), -1);
}

void TestFileIo::commands_inheritNoFile()
{
    store("x");
    const DFileSystem file(path, O_RDWR);
    DFileStdio stream(path, "rb");
    stream.open(path, "rb");
    mkfifo(pipePath, 0600);
    const DFifo fifo(pipePath, O_RDWR);
    QVERIFY(fcntl(descriptorOf(file), F_GETFD) & FD_CLOEXEC);
    QVERIFY(fcntl(fileno(static_cast<FILE*>(stream.ioDev())), F_GETFD) & FD_CLOEXEC);
    QCOMPARE(std::system("ls -l /proc/self/fd | grep -q -e /tmp/file -e /tmp/pipe") >> 8, 1);
}

void TestFileIo::fifo_makesAMissingPipe()
{
    const mode_t mask = umask(0022);
    const ErrorOutput errors;
    DFifo fifo(pipePath, O_RDWR | O_NONBLOCK);
    umask(mask);
    struct stat status = {};
    QCOMPARE(stat(pipePath, &status), 0);
    QVERIFY(S_ISFIFO(status.st_mode));
    QCOMPARE(int(status.st_mode & 0777), 0755); // 0777 less the umask
    QCOMPARE(fifo.write("open", 4), 4);         // opened again after it was made
    QCOMPARE(ErrorOutput::text(), QByteArray("open fifo: No such file or directory\n"));
}

void TestFileIo::fifo_withoutReader_saysSoOnce()
{
    mkfifo(pipePath, 0600);
    const ErrorOutput errors;
    DFifo fifo(pipePath, O_WRONLY | O_NONBLOCK);
    QCOMPARE(fifo.write("x", 1), -1);
    QCOMPARE(ErrorOutput::text(), QByteArray("open fifo: No such device or address\n"));
}

void TestFileIo::fifo_cannotBeMade_saysSo()
{
    const ErrorOutput errors;
    DFifo fifo("/tmp/nowhere/pipe", O_WRONLY | O_NONBLOCK);
    QCOMPARE(fifo.write("x", 1), -1);
    QCOMPARE(ErrorOutput::text(), QByteArray("open fifo: No such file or directory\n"
                                             "mkfifo: No such file or directory\n"));
}

void TestFileIo::fifo_carriesMessages()
{
    mkfifo(pipePath, 0600);
    DFifo reader(pipePath, O_RDONLY | O_NONBLOCK);
    DFifo writer(pipePath, O_WRONLY | O_NONBLOCK);
    QCOMPARE(writer.write("notice", 6), 6);
    char buffer[16] = {};
    QCOMPARE(reader.read(buffer, sizeof buffer), 6);
    QCOMPARE(buffer, "notice");
}

void TestFileIo::fifo_readerGoesAway_writeFailsAndWeLive()
{
    mkfifo(pipePath, 0600);
    for (auto disposition : {SIG_DFL, SIG_IGN, &countPipeSignal}) {
        const int result = inOtherProcess([disposition] {
            std::signal(SIGPIPE, disposition);
            pipeSignals = 0;
            auto* reader = new DFifo(pipePath, O_RDONLY | O_NONBLOCK);
            DFifo writer(pipePath, O_WRONLY | O_NONBLOCK);
            delete reader;
            const bool failed = writer.write("x", 1) == -1;
            const bool untouched = std::signal(SIGPIPE, SIG_DFL) == disposition;
            return failed && untouched && pipeSignals == 0 && !sigPipeIsBlocked() ? 1 : 0;
        });
        QCOMPARE(result, 1);
    }
}

void TestFileIo::fifo_closed_failsEveryTransfer()
{
    const ErrorOutput errors;
    DFifo fifo("/tmp/nowhere/pipe", O_RDWR);
    char byte = '?';
    QCOMPARE(fifo.read(&byte, 1), -1);
    QCOMPARE(fifo.write(&byte, 1), -1);
    QCOMPARE(byte, '?');
}

void TestFileIo::fifo_closesItsDescriptor()
{
    mkfifo(pipePath, 0600);
    const uint before = openDescriptors();
    for (int round = 0; round < 10; ++round) {
        DFifo fifo(pipePath, O_RDWR | O_NONBLOCK);
        QCOMPARE(openDescriptors(), before + 1);
    }
    QCOMPARE(openDescriptors(), before);
}

void TestFileIo::guard_keepsAWriteFromKilling()
{
    // The check itself can fail: without the guard the process is ended by the signal.
    QCOMPARE(inOtherProcess([] {
                 std::signal(SIGPIPE, SIG_DFL);
                 return writeToBrokenPipe();
             }),
             -SIGPIPE);
    QCOMPARE(inOtherProcess([] {
                 std::signal(SIGPIPE, SIG_DFL);
                 const SigPipeGuard guard;
                 return writeToBrokenPipe() == -1 ? 1 : 0;
             }),
             1);
}

void TestFileIo::guard_restoresTheMask()
{
    QVERIFY(!sigPipeIsBlocked());
    {
        const SigPipeGuard guard;
        QVERIFY(sigPipeIsBlocked());
        {
            const SigPipeGuard inner;
            writeToBrokenPipe();
        }
        QVERIFY(sigPipeIsBlocked());
        QVERIFY(!sigPipeIsPending());
    }
    QVERIFY(!sigPipeIsBlocked());
}

void TestFileIo::guard_leavesTheHostsSignalAlone()
{
    // A host that blocks SIGPIPE itself, with one pending, finds it as it was.
    const int result = inOtherProcess([] {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &set, nullptr);
        raise(SIGPIPE);
        {
            const SigPipeGuard guard;
            writeToBrokenPipe();
        }
        return sigPipeIsBlocked() && sigPipeIsPending() ? 1 : 0;
    });
    QCOMPARE(result, 1);
}

QTEST_GUILESS_MAIN(TestFileIo)
#include "test_fileio.moc"
