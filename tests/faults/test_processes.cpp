#include "regstore/RegisterArea.h"
#include "regstore/SysReg.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QTest>

#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Where an emulator makes each of these many times as slow, one of so many is left.
#ifndef PANEL_ONE_OF
#define PANEL_ONE_OF 1
#endif
constexpr int operations = 1000000 / PANEL_ONE_OF; ///< Of all processes of a crowd together.
constexpr int kills = 10000 / PANEL_ONE_OF;
constexpr int notices = 100000 / PANEL_ONE_OF;
constexpr int pipeful = 100000; ///< Notices, more than any pipe holds.

constexpr int areaBytes = 4096;
const QString byteFile = "/tmp/mw.dat"_s; // area 1
const QString bitFile = "/tmp/mb.dat"_s;  // area 2
const QString registerPipe = "/tmp/fifo_sysreg"_s;
const QString areaPipe = "/tmp/fifo_localreg"_s;

constexpr unsigned char untouchedByte = 0x55;
QByteArray untouched()
{
    return QByteArray(areaBytes, char(untouchedByte));
}

/// Runs a function of their number in several processes at once. How many of them were content.
template <typename Function>
int contentProcesses(int count, Function isContent)
{
    std::vector<std::unique_ptr<OtherProcess>> crowd;
    crowd.reserve(size_t(count));
    for (int number = 0; number < count; ++number) {
        crowd.push_back(std::make_unique<OtherProcess>([=] { return isContent(number) ? 0 : 1; }));
    }
    int content = 0;
    for (const auto& process : crowd) {
        content += process->result() == 0 ? 1 : 0;
    }
    return content;
}

constexpr int sharedByte = 100;

/// Turns one bit of the shared byte over and over, and finds it each time as it was left.
bool keepsItsBit(int bit, int rounds)
{
    const auto at = unsigned(sharedByte * 8 + bit);
    int lost = 0;
    for (int round = 0; round < rounds; ++round) {
        const unsigned char value = round % 2 == 0 ? 1 : 0;
        unsigned char found = 0xFF;
        lost += WriteLocal(2, at, 1, &value, "") == areaDone ? 0 : 1;
        lost += ReadLocal(2, at, 1, &found, "") == areaDone && (found & 1) == value ? 0 : 1;
    }
    return lost == 0;
}

// Each process writes 1536 bytes, of which the first 512 are also the last of the process before,
// and the last 512 also the first of the process after it. Fewer would hardly ever be torn, locks
// or not: the system copies them too fast to be caught at it.
constexpr int stride = 1024;
constexpr int common = 512;
constexpr int width = stride + common;
constexpr int crowdBytes = 16384; ///< Of the area's file, room for eight and more.

/// What a process writes in a round: in each byte its number and the low bits of the round's.
unsigned char valueOf(int process, int round)
{
    return static_cast<unsigned char>(process << 5 | (round & 31));
}

bool isUniform(const unsigned char* bytes, int count)
{
    return std::all_of(bytes, bytes + count, [=](unsigned char byte) { return byte == *bytes; });
}

/// Whether a part that two processes write is one value of one of them.
bool isOneValueOf(const unsigned char* bytes, int one, int other)
{
    return isUniform(bytes, common) && (*bytes >> 5 == one || *bytes >> 5 == other);
}

/// Writes its register and finds its own part as written, and those in common whole.
bool findsNothingTorn(int process, int rounds)
{
    const auto at = unsigned(process * stride);
    std::array<unsigned char, width> bytes;
    int wrong = 0;
    for (int round = 0; round < rounds; ++round) {
        const unsigned char value = valueOf(process, round);
        bytes.fill(value);
        wrong += WriteLocal(1, at, width, bytes.data(), "") == areaDone ? 0 : 1;
        wrong += ReadLocal(1, at, width, bytes.data(), "") == areaDone ? 0 : 1;
        wrong += bytes[common] == value && isUniform(&bytes[common], common) ? 0 : 1;
        wrong += isOneValueOf(&bytes[0], process, process - 1) ? 0 : 1;
        wrong += isOneValueOf(&bytes[stride], process, process + 1) ? 0 : 1;
    }
    return wrong == 0;
}

/// The areas at which processes are killed. Nothing here allocates: a process with little memory is
/// quick to make, and ten thousand are needed.
const std::array<const char*, 3> killAreas = {"/tmp/smw.dat", "/tmp/smb.dat", "/hmi_data/sfb.dat"};

using Contents = std::array<std::array<unsigned char, areaBytes>, killAreas.size()>;

/// A register that processes are killed at, and what it holds after a number of writes.
struct Target
{
    unsigned id;
    size_t area;  ///< In killAreas.
    size_t place; ///< Bytes, or bits for one of one bit.
    size_t bytes; ///< 0: one bit.

    unsigned char valueAfter(int writes) const
    {
        const int value = bytes == 0 ? writes & 1 : writes * 7 + int(place);
        return static_cast<unsigned char>(value);
    }
    void write(Contents& contents, unsigned char value) const
    {
        auto& bytesOfArea = contents[area];
        if (bytes > 0) {
            std::fill_n(bytesOfArea.begin() + place, bytes, value);
            return;
        }
        const int mask = 1 << place % 8;
        const int byte = bytesOfArea[place / 8];
        bytesOfArea[place / 8] =
            static_cast<unsigned char>(value != 0 ? byte | mask : byte & ~mask);
    }
};

constexpr size_t longestRegister = 63;

const std::array<Target, 8> targets = {{{60, 0, 751, 8},
                                        {61, 0, 759, 12},
                                        {88, 0, 1030, longestRegister},
                                        {43, 0, 508, 1},
                                        {39, 1, 12, 0},
                                        {81, 1, 13, 0},
                                        {86, 1, 16, 0},
                                        {67, 2, 20, 0}}};

/// A number that outlives the process that counts: the writes begun.
using Steps = std::atomic<int>;

Steps* sharedSteps()
{
    void* const page =
        mmap(nullptr, sizeof(Steps), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return new (page) Steps(0);
}

/// Writes one register after the other, without end, and tells each write that it begins with a
/// byte.
int writeOn(Steps& steps, int teller)
{
    for (;; ++steps) {
        const int step = steps;
        const Target& target = targets[size_t(step) % targets.size()];
        std::array<unsigned char, longestRegister> value;
        value.fill(target.valueAfter(step / int(targets.size()) + 1));
        if (write(teller, value.data(), 1) != 1 || SysReg_Write(target.id, value.data(), 1) != 0) {
            return 1;
        }
    }
}

/// What the areas hold after a number of writes, all of them complete.
Contents contentsAfter(int steps)
{
    Contents contents;
    for (auto& area : contents) {
        area.fill(untouchedByte);
    }
    constexpr int count = targets.size();
    for (int number = 0; number < count; ++number) {
        const int writes = (steps - number + count - 1) / count;
        if (writes > 0) {
            const Target& target = targets[size_t(number)];
            target.write(contents, target.valueAfter(writes));
        }
    }
    return contents;
}

Contents contentsNow()
{
    Contents contents = {};
    for (size_t area = 0; area < killAreas.size(); ++area) {
        const int file = open(killAreas[area], O_RDONLY | O_CLOEXEC);
        const ssize_t count = read(file, contents[area].data(), areaBytes);
        close(file);
        contents[area][0] = count == areaBytes ? contents[area][0] : 0;
    }
    return contents;
}

/// Waits until so many writes have begun. False when the writer ends before.
bool waitForWrites(int told, int count)
{
    std::array<char, 32> bytes;
    ssize_t taken = 1;
    for (; count > 0 && taken > 0; count -= int(taken)) {
        taken = read(told, bytes.data(), qMin(size_t(count), bytes.size()));
    }
    return taken > 0;
}

/// Lets a writer begin some writes and kills it at any moment after that. False when it had given
/// up before.
bool killWriter(Steps& steps, std::mt19937& random)
{
    std::array<int, 2> pipe;
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
        return false;
    }
    const OtherProcess writer([&] { return writeOn(steps, pipe[1]); });
    close(pipe[1]);
    const bool writes = waitForWrites(pipe[0], 1 + int(random() % 20));
    for (std::atomic<unsigned> wait{unsigned(random() % 4000)}; wait > 0; --wait) {
    }
    const bool isWriting = writes && !writer.hasEnded();
    close(pipe[0]);
    return isWriting;
}

/// Sends what is printed to standard error nowhere: nobody wants 100000 lines about a reader that
/// has just gone.
class Silence
{
public:
    Silence() : m_saved(dup(STDERR_FILENO))
    {
        const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nothing, STDERR_FILENO);
        close(nothing);
    }
    ~Silence()
    {
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
    }
    Q_DISABLE_COPY_MOVE(Silence)

private:
    int m_saved;
};

/// Opens the pipe, reads what is there and closes it, over and over, until something is torn.
int comeAndGo(const char* pipe, const QByteArray& notice)
{
    std::array<char, 4096> buffer;
    for (;;) {
        const int end = open(pipe, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        const ssize_t count = read(end, buffer.data(), buffer.size() / 12 * 12);
        close(end);
        for (ssize_t at = 0; at < count; at += notice.size()) {
            if (QByteArray(&buffer[size_t(at)], int(qMin<ssize_t>(count - at, notice.size()))) !=
                notice) {
                return 1;
            }
        }
    }
}

/// Whether bit 16 of area 6, which is register 86, is set.
bool closingBit()
{
    return PanelWorld::areaBit("/tmp/smb.dat"_s, 16);
}

} // namespace

/// Several processes at the same registers, processes that die at them, readers of notices that
/// come and go.
class TestProcesses : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void bitsOfOneByte_writtenByMany_loseNothing_data();
    void bitsOfOneByte_writtenByMany_loseNothing();
    void overlappingRegisters_writtenByMany_areNeverTorn_data();
    void overlappingRegisters_writtenByMany_areNeverTorn();
    void writer_killedAtAnyMoment_leavesOldOrNewValues();
    void notice_readerComesAndGoes_isSentOrNot_data();
    void notice_readerComesAndGoes_isSentOrNot();
    void notice_fullPipe_isNotSent_valueIsWritten();
    void notice_noReader_isNotSent_valueIsWritten();
};

void TestProcesses::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestProcesses::init()
{
    for (const char* file :
         {"/tmp/mw.dat", "/tmp/mb.dat", "/tmp/smw.dat", "/tmp/smb.dat", "/hmi_data/sfb.dat"}) {
        PanelWorld::writeFile(QLatin1String(file), untouched());
    }
    QFile::remove(registerPipe);
    QFile::remove(areaPipe);
}

void TestProcesses::bitsOfOneByte_writtenByMany_loseNothing_data()
{
    QTest::addColumn<int>("processes");
    QTest::newRow("two") << 2;
    QTest::newRow("eight") << 8;
}

void TestProcesses::bitsOfOneByte_writtenByMany_loseNothing()
{
    QFETCH(int, processes);
    const int rounds = operations / 2 / processes; // each reads and writes
    QCOMPARE(contentProcesses(processes, [=](int bit) { return keepsItsBit(bit, rounds); }),
             processes);
    QByteArray expected = untouched(); // the last round has cleared each bit
    expected[sharedByte] = char(0x55 & ~((1 << processes) - 1));
    QCOMPARE(PanelWorld::fileContent(bitFile), expected);
}

void TestProcesses::overlappingRegisters_writtenByMany_areNeverTorn_data()
{
    bitsOfOneByte_writtenByMany_loseNothing_data();
}

void TestProcesses::overlappingRegisters_writtenByMany_areNeverTorn()
{
    QFETCH(int, processes);
    PanelWorld::writeFile(byteFile, QByteArray(crowdBytes, char(untouchedByte)));
    const int rounds = operations / 2 / processes;
    QCOMPARE(contentProcesses(processes, [=](int one) { return findsNothingTorn(one, rounds); }),
             processes);
    const int written = processes * stride + common;
    QCOMPARE(PanelWorld::fileContent(byteFile).mid(written),
             QByteArray(crowdBytes - written, char(untouchedByte)));
}

void TestProcesses::writer_killedAtAnyMoment_leavesOldOrNewValues()
{
    Steps* const steps = sharedSteps();
    std::mt19937 random(20260314); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same every time
    int done = 0;
    for (int kill = 0; kill < kills; ++kill) {
        QVERIFY(killWriter(*steps, random));
        const Contents found = contentsNow();
        const bool isNew = found == contentsAfter(*steps + 1);
        done += isNew ? 1 : 0;
        QVERIFY2(isNew || found == contentsAfter(*steps), "neither the old nor the new value");
    }
    // Both happened: a write that was begun only, and one that was done.
    QVERIFY(done > 0 && done < kills);
    QVERIFY(*steps > kills); // writers did write
    munmap(steps, sizeof(Steps));
}

void TestProcesses::notice_readerComesAndGoes_isSentOrNot_data()
{
    QTest::addColumn<bool>("ofRegister");
    QTest::newRow("of a register") << true;
    QTest::newRow("of an area") << false;
}

namespace {

/// Writes register 86 with a notice, by its id or by its place.
int writeWithNotice(bool ofRegister, const unsigned char& value)
{
    return ofRegister ? SysReg_WriteNotify(86, &value, 1)
                      : static_cast<int>(WriteLocal_Notify(6, 16, 1, &value, ""));
}

/// What that returns when the value is written and the notice cannot be sent.
int notSentResult(bool ofRegister)
{
    return ofRegister ? -1 : static_cast<int>(areaNotNotified);
}

struct Tally
{
    int sent = 0, notSent = 0, others = 0, notWritten = 0;
};

Tally sendMany(bool ofRegister, const OtherProcess& reader)
{
    const Silence silence;
    Tally tally;
    for (int round = 0; round < notices && !reader.hasEnded(); ++round) {
        const unsigned char value = round % 2 == 0 ? 0 : 1;
        const int result = writeWithNotice(ofRegister, value);
        ++(result == 0                           ? tally.sent
           : result == notSentResult(ofRegister) ? tally.notSent
                                                 : tally.others);
        tally.notWritten += closingBit() == (value != 0) ? 0 : 1;
    }
    return tally;
}

} // namespace

void TestProcesses::notice_readerComesAndGoes_isSentOrNot()
{
    QFETCH(bool, ofRegister);
    const char* const pipe = ofRegister ? "/tmp/fifo_sysreg" : "/tmp/fifo_localreg";
    const QByteArray notice =
        ofRegister ? QByteArray("\x56\0\0\0", 4) : QByteArray("\x06\0\0\0\x10\0\0\0\x01\0\0\0", 12);
    mkfifo(pipe, 0600);
    const OtherProcess reader([=] { return comeAndGo(pipe, notice); });
    const Tally tally = sendMany(ofRegister, reader);
    QVERIFY2(!reader.hasEnded(), "the reader found a torn notice");
    QCOMPARE(tally.others, 0);
    QCOMPARE(tally.notWritten, 0);
    QCOMPARE(tally.sent + tally.notSent, notices);
    QVERIFY(tally.sent > 0 && tally.notSent > 0);
}

void TestProcesses::notice_fullPipe_isNotSent_valueIsWritten()
{
    for (const bool ofRegister : {true, false}) {
        NoticeListener listener(ofRegister ? registerPipe : areaPipe);
        int sent = 0;
        while (sent < pipeful && writeWithNotice(ofRegister, 0) == 0) {
            ++sent;
        }
        QVERIFY(sent > 0 && sent < pipeful);
        QVERIFY(!closingBit());
        QCOMPARE(writeWithNotice(ofRegister, 1), notSentResult(ofRegister));
        QVERIFY(closingBit());
        QCOMPARE(listener.takeAll().size(), sent * (ofRegister ? 4 : 12)); // none was cut
    }
}

void TestProcesses::notice_noReader_isNotSent_valueIsWritten()
{
    const Silence silence;
    for (const bool ofRegister : {true, false}) {
        for (const bool value : {true, false, true, false}) {
            QCOMPARE(writeWithNotice(ofRegister, value ? 1 : 0), notSentResult(ofRegister));
            QCOMPARE(closingBit(), value);
        }
    }
}

QTEST_GUILESS_MAIN(TestProcesses)
#include "test_processes.moc"
