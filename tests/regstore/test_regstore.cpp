#include "regstore/NamedRegister.h"
#include "regstore/Notice.h"
#include "regstore/RegisterArea.h"
#include "regstore/SysReg.h"
#include "tests/support/FileLocks.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QDir>
#include <QSet>
#include <QTest>

#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

const char* const areaFiles[] = {
    nullptr,        "/tmp/mw.dat",  "/tmp/mb.dat",       "/hmi_data/fw.dat",  "/hmi_data/fb.dat",
    "/tmp/smw.dat", "/tmp/smb.dat", "/hmi_data/sfw.dat", "/hmi_data/sfb.dat", "/hmi_data/rw.dat"};
constexpr int areaBytes = 4096;
const QString registerPipe = "/tmp/fifo_sysreg"_s;
const QString areaPipe = "/tmp/fifo_localreg"_s;

/// Every register, by area: id@offset+size.
const struct
{
    unsigned area;
    const char* registers;
} listing[] = {
    {5, "0@0+2 1@2+2 2@4+2 3@6+2 4@8+2 5@10+2 6@12+2 7@14+1 8@15+4 9@19+1 10@900+21 "
        "11@922+21 13@76+1 14@77+2 16@79+31 17@267+1 18@268+15 21@129+31 22@113+15 "
        "23@284+31 24@348+31 25@161+31 26@193+2 27@195+31 28@380+31 29@316+31 30@227+15 "
        "31@243+15 32@259+2 33@261+2 35@263+2 36@265+2 40@412+31 41@444+31 42@476+31 "
        "43@508+1 44@509+31 45@541+15 46@557+31 47@589+15 48@605+63 49@669+63 50@733+1 "
        "51@734+1 52@735+2 53@737+2 54@739+2 55@741+2 56@743+2 57@745+2 58@747+2 59@749+2 "
        "60@751+8 61@759+12 62@771+8 63@779+8 64@787+8 65@795+8 69@803+8 70@811+12 "
        "71@823+8 72@831+8 73@839+8 74@847+8 82@950+31 84@990+31 88@1030+63 89@1100+2"},
    {6, "34@2+1 37@3+1 39@12+1 68@18+1 77@19+1 81@13+1 83@14+1 85@15+1 86@16+1 87@17+1"},
    {7, "12@164+1 19@165+4 20@169+1 38@170+4 78@180+1"},
    {8, "15@16+1 66@13+1 67@20+1 75@14+1 76@21+1 79@17+1 80@1+1"},
};

struct Row
{
    unsigned id, area, offset, size;
};

QList<Row> listedRegisters()
{
    QList<Row> rows;
    for (const auto& area : listing) {
        for (const QByteArray& entry : QByteArray(area.registers).split(' ')) {
            const QList<QByteArray> place = entry.mid(entry.indexOf('@') + 1).split('+');
            rows << Row{entry.left(entry.indexOf('@')).toUInt(), area.area, place[0].toUInt(),
                        place[1].toUInt()};
        }
    }
    return rows;
}

QString fileOf(unsigned area)
{
    return QString::fromLatin1(areaFiles[area]);
}

QByteArray content(unsigned area)
{
    return PanelWorld::fileContent(fileOf(area));
}

/// A pattern in which every byte and every bit has other neighbours.
QByteArray pattern()
{
    QByteArray bytes(areaBytes, '\0');
    for (int at = 0; at < bytes.size(); ++at) {
        bytes[at] = char(at * 37 + (at >> 8));
    }
    return bytes;
}

bool isBitArea(unsigned area)
{
    return area % 2 == 0;
}

bool bitOf(const QByteArray& bytes, unsigned bit)
{
    return (uchar(bytes.at(int(bit / 8))) >> bit % 8) & 1;
}

unsigned readLocal(unsigned area, unsigned offset, unsigned length, void* buffer)
{
    return ReadLocal(area, offset, length, static_cast<unsigned char*>(buffer), "");
}

unsigned writeLocal(unsigned area, unsigned offset, unsigned length, const void* buffer)
{
    return WriteLocal(area, offset, length, static_cast<const unsigned char*>(buffer), "");
}

uint openDescriptors()
{
    return QDir("/proc/self/fd"_s).count();
}

} // namespace

class TestRegStore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void table_holdsEveryListedRegister();
    void descriptor_hasItsFieldsInOrder();
    void descriptor_ofUnknownId_isNull();
    void register_readsFromItsPlace_data();
    void register_readsFromItsPlace();
    void register_writesToItsPlaceOnly_data();
    void register_writesToItsPlaceOnly();
    void register_unknownId_touchesNothing();
    void register_unknownId_opensNothing();
    void register_sizeComesFromTheTable();
    void bit_comesBackUnmasked();
    void bit_onlyBitZeroOfTheSourceCounts();
    void bits_acrossAByteBoundary();
    void bits_atEveryShiftAndLength();
    void bytes_behindTheEnd_makeTheFileLonger();
    void bits_longerThanTheScratch_touchNothing();
    void bits_longerThanTheScratch_canBeRead();
    void area_badArguments_fail_data();
    void area_badArguments_fail();
    void area_rangesBeyondAFile_fail();
    void area_missingFile_failsAndIsNotMade_data();
    void area_missingFile_failsAndIsNotMade();
    void area_shortFile_fails();
    void area_name_isIgnored();
    void area_synchronisedSet_data();
    void area_synchronisedSet();
    void area_fileIsNeverCutOrGrown();
    void area_valueOfTheRuntimeIsSeenAtOnce();
    void lock_isHeldOnExactlyTheBytesTouched_data();
    void lock_isHeldOnExactlyTheBytesTouched();
    void lock_isLetGo();
    void lock_twoProcessesLoseNoBit();
    void lock_readerSeesNoHalfWrite();
    void notify_area_sendsTwelveBytes();
    void notify_area_withoutReader_isThreeAndWritten();
    void notify_area_failedWrite_sendsNothing();
    void notify_register_sendsItsId();
    void notify_register_withoutReader_failsAndIsWritten();
    void notify_register_failedWrite_sendsNothing();
    void notify_makesTheMissingPipe();
    void notify_fullPipe_failsAndReturns();
    void notify_readerComesAndGoes_weLive();
    void notify_sentAfterTheLock();
    void names_areThoseOfTheRegistersInUse();
    void named_readsAndWritesItsRegister();
    void named_quad_fillsTheRegister();
    void notice_comesBackAsItWas();
    void flatFunctions_useOneStore();
    void operations_leaveNoDescriptor();
};

void TestRegStore::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestRegStore::init()
{
    for (unsigned area = 1; area <= 9; ++area) {
        PanelWorld::writeFile(fileOf(area), pattern());
    }
    QFile::remove(registerPipe);
    QFile::remove(areaPipe);
}

void TestRegStore::table_holdsEveryListedRegister()
{
    const QList<Row> rows = listedRegisters();
    QCOMPARE(rows.size(), 90);
    QSet<unsigned> ids;
    for (const Row& row : rows) {
        ids << row.id;
        const RegisterDescriptor* descriptor = SysReg_LoadReg(row.id);
        QVERIFY(descriptor);
        QCOMPARE(unsigned(descriptor->area), row.area);
        QCOMPARE(descriptor->offset, row.offset);
        QCOMPARE(descriptor->size, row.size);
        QCOMPARE(unsigned(registerTable[row.id].id), row.id);
    }
    QCOMPARE(ids.size(), 90);
    QCOMPARE(int(registerTable.size()), 90);
}

void TestRegStore::descriptor_hasItsFieldsInOrder()
{
    const auto* bytes = reinterpret_cast<const uchar*>(SysReg_LoadReg(79));
    const auto u16 = [bytes](int at) { return bytes[at] | bytes[at + 1] << 8; };
    QCOMPARE(u16(0), 0);
    QCOMPARE(u16(2), 0);
    QCOMPARE(u16(4), 60000);
    QCOMPARE(u16(6), 60000);
    QCOMPARE(int(bytes[8]), 1);
    QCOMPARE(int(bytes[9]), 1);
    QCOMPARE(u16(10), 8);  // area
    QCOMPARE(u16(12), 17); // offset
    QCOMPARE(u16(14), 0);
    QCOMPARE(u16(16), 1); // size
    QCOMPARE(u16(18), 0);
    QCOMPARE(u16(20), 0);
    QCOMPARE(u16(22), 0);
}

void TestRegStore::descriptor_ofUnknownId_isNull()
{
    QVERIFY(SysReg_LoadReg(89));
    for (const unsigned id : {90U, 91U, 65536U, 0xFFFFFFFFU}) {
        QVERIFY(!SysReg_LoadReg(id));
    }
}

void TestRegStore::register_readsFromItsPlace_data()
{
    QTest::addColumn<int>("row");
    const QList<Row> rows = listedRegisters();
    for (int row = 0; row < rows.size(); ++row) {
        QTest::addRow("register %u", rows[row].id) << row;
    }
}

void TestRegStore::register_readsFromItsPlace()
{
    QFETCH(int, row);
    const Row reg = listedRegisters().at(row);
    QByteArray buffer(64, '\x55');
    QCOMPARE(SysReg_Read(reg.id, buffer.data()), 0);
    if (isBitArea(reg.area)) {
        QCOMPARE(bitOf(buffer, 0), bitOf(pattern(), reg.offset));
        QCOMPARE(buffer.mid(1), QByteArray(63, '\x55')); // one byte for one bit
    } else {
        QCOMPARE(buffer.left(int(reg.size)), pattern().mid(int(reg.offset), int(reg.size)));
        QCOMPARE(buffer.mid(int(reg.size)), QByteArray(64 - int(reg.size), '\x55'));
    }
    QCOMPARE(content(reg.area), pattern());
}

void TestRegStore::register_writesToItsPlaceOnly_data()
{
    register_readsFromItsPlace_data();
}

void TestRegStore::register_writesToItsPlaceOnly()
{
    QFETCH(int, row);
    const Row reg = listedRegisters().at(row);
    for (const char fill : {'\0', '\xFF'}) {
        PanelWorld::writeFile(fileOf(reg.area), pattern());
        QCOMPARE(SysReg_Write(reg.id, QByteArray(64, fill).constData(), 1), 0);
        QByteArray expected = pattern();
        if (isBitArea(reg.area)) {
            const int mask = 1 << reg.offset % 8;
            const int byte = uchar(expected.at(int(reg.offset / 8)));
            expected[int(reg.offset / 8)] = char(fill ? byte | mask : byte & ~mask);
        } else {
            expected.replace(int(reg.offset), int(reg.size), QByteArray(int(reg.size), fill));
        }
        QCOMPARE(content(reg.area), expected);
    }
    for (unsigned area = 1; area <= 9; ++area) {
        QVERIFY(area == reg.area || content(area) == pattern());
    }
}

void TestRegStore::register_unknownId_touchesNothing()
{
    char buffer[64] = {'?'};
    for (const unsigned id : {90U, 1000U, 0xFFFFFFFFU}) {
        QCOMPARE(SysReg_Read(id, buffer), -1);
        QCOMPARE(SysReg_Write(id, buffer, 1), -1);
        QCOMPARE(SysReg_WriteNotify(id, buffer, 1), -1);
    }
    QCOMPARE(buffer[0], '?');
    for (unsigned area = 1; area <= 9; ++area) {
        QCOMPARE(content(area), pattern());
    }
    QVERIFY2(!QFile::exists(registerPipe), "a pipe was opened for an unknown register");
}

void TestRegStore::register_unknownId_opensNothing()
{
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    inotify_add_watch(watch, "/tmp", IN_OPEN | IN_CREATE);
    inotify_add_watch(watch, "/hmi_data", IN_OPEN | IN_CREATE);
    char buffer[64] = {};
    char events[4096];
    for (const unsigned id : {90U, 1000U, 0xFFFFFFFFU}) {
        SysReg_LoadReg(id);
        SysReg_Read(id, buffer);
        SysReg_Write(id, buffer, 1);
        SysReg_WriteNotify(id, buffer, 1);
        QVERIFY(read(watch, events, sizeof events) == -1 && errno == EAGAIN);
    }
    SysReg_Read(89, buffer);
    QVERIFY(read(watch, events, sizeof events) > 0); // the watch would have told
    close(watch);
}

void TestRegStore::register_sizeComesFromTheTable()
{
    const QByteArray value("ABCDEFGHIJKLMNOP");
    QCOMPARE(SysReg_Write(63, value.constData(), 1), 0);
    QCOMPARE(content(5), pattern().replace(779, 8, "ABCDEFGH"));
    QCOMPARE(SysReg_Write(20, value.constData(), 4), 0); // four bytes passed, one taken
    QCOMPARE(content(7), pattern().replace(169, 1, "A"));
}

void TestRegStore::bit_comesBackUnmasked()
{
    PanelWorld::patchFile(fileOf(8), 2, QByteArray(1, char(0b00000110)));
    unsigned char buffer[4] = {};
    QCOMPARE(SysReg_Read(79, buffer), 0);
    QCOMPARE(int(buffer[0]), 0b00000011);
    QCOMPARE(buffer[0] & 1, 1);
    QCOMPARE(int(buffer[1]), 0);
}

void TestRegStore::bit_onlyBitZeroOfTheSourceCounts()
{
    PanelWorld::patchFile(fileOf(8), 2, QByteArray(1, '\xFF'));
    const unsigned char source[] = {0x02, 0xFF, 0xFF, 0xFF};
    QCOMPARE(SysReg_Write(67, source, 4), 0);
    QCOMPARE(content(8).mid(1, 3), pattern().mid(1, 3).replace(1, 1, "\xEF"));
}

void TestRegStore::bits_acrossAByteBoundary()
{
    PanelWorld::patchFile(fileOf(2), 0, QByteArray("\xC0\x02\xAA", 3));
    unsigned char buffer[4] = {0x55, 0x55, 0x55, 0x55};
    QCOMPARE(readLocal(2, 6, 4, buffer), 0U);
    QCOMPARE(int(buffer[0]), 0b00001011); // bits 6 to 13: 1 1, 0 1 0 0 0 0
    QCOMPARE(int(buffer[1]), 0);          // what is left of the second byte
    QCOMPARE(int(buffer[2]), 0x55);       // two bytes are read, no more

    const unsigned char source = 0b0110;
    QCOMPARE(writeLocal(2, 6, 4, &source), 0U);
    QCOMPARE(content(2).left(3), QByteArray("\x80\x01\xAA", 3));
}

void TestRegStore::bits_atEveryShiftAndLength()
{
    for (unsigned offset = 100; offset < 108; ++offset) {
        for (unsigned length = 1; length <= 40; ++length) {
            QByteArray buffer(8, '\0');
            QCOMPARE(readLocal(6, offset, length, buffer.data()), 0U);
            for (unsigned bit = 0; bit < length; ++bit) {
                QCOMPARE(bitOf(buffer, bit), bitOf(pattern(), offset + bit));
            }
            const QByteArray source("\x5A\xC3\x0F\x99\x66", 5);
            PanelWorld::writeFile(fileOf(6), pattern());
            QCOMPARE(writeLocal(6, offset, length, source.constData()), 0U);
            const QByteArray written = content(6);
            for (unsigned bit = 80; bit < 160; ++bit) {
                const bool inside = bit >= offset && bit < offset + length;
                QCOMPARE(bitOf(written, bit),
                         inside ? bitOf(source, bit - offset) : bitOf(pattern(), bit));
            }
            PanelWorld::writeFile(fileOf(6), pattern());
        }
    }
}

void TestRegStore::bytes_behindTheEnd_makeTheFileLonger()
{
    const QString file = "/tmp/mw.dat"_s;
    PanelWorld::writeFile(file, QByteArray(8, 'x'));
    const unsigned char bytes[2] = {'a', 'b'};
    QCOMPARE(WriteLocal(1, 10, 2, bytes, ""), unsigned(areaDone));
    QCOMPARE(PanelWorld::fileContent(file), QByteArray("xxxxxxxx\0\0ab", 12));
    // Bits are read first, and there are none behind the end.
    const QString bits = "/tmp/mb.dat"_s;
    PanelWorld::writeFile(bits, QByteArray(8, 'x'));
    QCOMPARE(WriteLocal(2, 80, 1, bytes, ""), unsigned(areaFailed));
    QCOMPARE(PanelWorld::fileContent(bits), QByteArray(8, 'x'));
}

void TestRegStore::bits_longerThanTheScratch_touchNothing()
{
    PanelWorld::writeFile(fileOf(4), pattern() + pattern());
    const QByteArray source(9000, '\0');
    QCOMPARE(writeLocal(4, 0, 4096 * 8 + 1, source.constData()), 15U);
    QCOMPARE(writeLocal(4, 1, 4096 * 8, source.constData()), 15U);
    QCOMPARE(content(4), pattern() + pattern());
    QCOMPARE(writeLocal(4, 0, 4096 * 8, source.constData()), 0U);
    QCOMPARE(content(4), QByteArray(4096, '\0') + pattern());
}

void TestRegStore::bits_longerThanTheScratch_canBeRead()
{
    PanelWorld::writeFile(fileOf(4), pattern() + pattern());
    QByteArray buffer(8192, '\0');
    QCOMPARE(readLocal(4, 0, 8192 * 8, buffer.data()), 0U);
    QCOMPARE(buffer, pattern() + pattern());
}

void TestRegStore::area_badArguments_fail_data()
{
    QTest::addColumn<uint>("area");
    QTest::addColumn<bool>("buffer");
    QTest::newRow("area 0") << 0U << true;
    QTest::newRow("area 10") << 10U << true;
    QTest::newRow("area 2^32 - 1") << 0xFFFFFFFFU << true;
    QTest::newRow("no buffer, bytes") << 5U << false;
    QTest::newRow("no buffer, bits") << 6U << false;
}

void TestRegStore::area_badArguments_fail()
{
    QFETCH(uint, area);
    QFETCH(bool, buffer);
    char bytes[8] = {'?'};
    void* const where = buffer ? bytes : nullptr;
    QCOMPARE(readLocal(area, 0, 1, where), 15U);
    QCOMPARE(writeLocal(area, 0, 1, where), 15U);
    QCOMPARE(WriteLocal_Notify(area, 0, 1, static_cast<unsigned char*>(where), ""), 15U);
    QCOMPARE(bytes[0], '?');
}

void TestRegStore::area_rangesBeyondAFile_fail()
{
    char bytes[8] = {'?'};
    for (const unsigned area : {5U, 6U}) {
        for (const unsigned offset : {0x7FFFFFFFU, 0xFFFFFFFFU, 0x80000000U}) {
            QCOMPARE(readLocal(area, offset, 8, bytes), 15U);
            QCOMPARE(writeLocal(area, offset, 8, bytes), 15U);
        }
        QCOMPARE(writeLocal(area, 0, 0xFFFFFFFFU, bytes), 15U);
        QCOMPARE(writeLocal(area, 7, 0xFFFFFFFFU, bytes), 15U);
    }
    // In a byte area this would be read as a negative length.
    QCOMPARE(readLocal(5, 0, 0xFFFFFFFFU, bytes), 15U);
    QCOMPARE(bytes[0], '?');
    QCOMPARE(content(5).left(areaBytes), pattern());
    QCOMPARE(content(6), pattern());
}

void TestRegStore::area_missingFile_failsAndIsNotMade_data()
{
    QTest::addColumn<uint>("area");
    for (unsigned area = 1; area <= 9; ++area) {
        QTest::addRow("area %u", area) << area;
    }
}

void TestRegStore::area_missingFile_failsAndIsNotMade()
{
    QFETCH(uint, area);
    QVERIFY(QFile::remove(fileOf(area)));
    char bytes[8] = {'?'};
    QCOMPARE(readLocal(area, 0, 8, bytes), 15U);
    QCOMPARE(writeLocal(area, 0, 8, bytes), 15U);
    QVERIFY(!QFile::exists(fileOf(area)));
    QCOMPARE(bytes[0], '?');
}

void TestRegStore::area_shortFile_fails()
{
    PanelWorld::writeFile(fileOf(5), "0123456789");
    PanelWorld::writeFile(fileOf(6), "01");
    char bytes[16] = {};
    QCOMPARE(readLocal(5, 8, 4, bytes), 15U);
    QCOMPARE(readLocal(6, 12, 8, bytes), 15U);
    QCOMPARE(writeLocal(6, 12, 8, bytes), 15U);
    QCOMPARE(content(6), QByteArray("01"));
    QCOMPARE(SysReg_Read(63, bytes), -1);
}

void TestRegStore::area_name_isIgnored()
{
    unsigned char byte = 0;
    for (const char* name : {"", "anything", static_cast<const char*>(nullptr)}) {
        QCOMPARE(ReadLocal(5, 3, 1, &byte, name), 0U);
        QCOMPARE(WriteLocal(5, 3, 1, &byte, name), 0U);
    }
    QCOMPARE(content(5), pattern());
}

void TestRegStore::area_synchronisedSet_data()
{
    QTest::addColumn<uint>("area");
    QTest::addColumn<bool>("synchronised");
    for (unsigned area = 1; area <= 9; ++area) {
        QTest::addRow("area %u", area)
            << area << (area == 3 || area == 4 || area == 7 || area == 8);
    }
}

namespace {

/// Flags with which a descriptor of the file is open in a child that waits for the lock.
int flagsWhileWriting(unsigned area)
{
    const int descriptor = open(areaFiles[area], O_RDWR);
    lockf(descriptor, F_LOCK, 16);
    const pid_t child = fork();
    if (child == 0) {
        const unsigned char byte = 0;
        _exit(int(WriteLocal(area, 0, 1, &byte, "")));
    }
    int flags = -1;
    const QString folder = "/proc/%1/fd"_s.arg(child);
    while (flags < 0) {
        for (const QString& name : QDir(folder).entryList(QDir::System | QDir::Files)) {
            const QString info = "/proc/%1/fdinfo/%2"_s.arg(child).arg(name);
            if (QFile::symLinkTarget(folder + QLatin1Char('/') + name) != fileOf(area) ||
                name.toInt() == descriptor) {
                continue;
            }
            const QList<QByteArray> lines = PanelWorld::fileContent(info).split('\n');
            flags = lines.value(1).mid(int(qstrlen("flags:"))).trimmed().toInt(nullptr, 8);
        }
    }
    close(descriptor); // lets the child go on
    waitpid(child, nullptr, 0);
    return flags;
}

} // namespace

void TestRegStore::area_synchronisedSet()
{
    QFETCH(uint, area);
    QFETCH(bool, synchronised);
    const int flags = flagsWhileWriting(area);
    QCOMPARE((flags & O_DSYNC) == O_DSYNC, synchronised);
    QCOMPARE(flags & O_ACCMODE, isBitArea(area) ? O_RDWR : O_WRONLY);
    QCOMPARE(flags & (O_CREAT | O_TRUNC), 0);
}

void TestRegStore::area_fileIsNeverCutOrGrown()
{
    const QByteArray value(64, 'v');
    for (const Row& row : listedRegisters()) {
        SysReg_Write(row.id, value.constData(), 64);
    }
    for (unsigned area = 1; area <= 9; ++area) {
        QCOMPARE(content(area).size(), areaBytes);
    }
}

void TestRegStore::area_valueOfTheRuntimeIsSeenAtOnce()
{
    unsigned char byte = 0;
    for (const char value : {'a', 'b', 'c'}) {
        PanelWorld::patchFile(fileOf(7), 169, QByteArray(1, value));
        QCOMPARE(SysReg_Read(20, &byte), 0);
        QCOMPARE(char(byte), value);
    }
}

void TestRegStore::lock_isHeldOnExactlyTheBytesTouched_data()
{
    QTest::addColumn<uint>("area");
    QTest::addColumn<uint>("offset");
    QTest::addColumn<uint>("length");
    QTest::addColumn<int>("firstByte");
    QTest::addColumn<int>("bytes");
    QTest::newRow("bytes") << 5U << 751U << 8U << 751 << 8;
    QTest::newRow("one bit") << 8U << 17U << 1U << 2 << 1;
    QTest::newRow("bits of two bytes") << 8U << 6U << 4U << 0 << 2;
    QTest::newRow("all bits of two bytes") << 2U << 8U << 16U << 1 << 2;
}

void TestRegStore::lock_isHeldOnExactlyTheBytesTouched()
{
    QFETCH(uint, area);
    QFETCH(uint, offset);
    QFETCH(uint, length);
    QFETCH(int, firstByte);
    QFETCH(int, bytes);
    const int descriptor = open(areaFiles[area], O_RDWR);
    lockf(descriptor, F_LOCK, 0);
    OtherProcess writer([=] {
        const char source[16] = {};
        return int(writeLocal(area, offset, length, source));
    });
    OtherProcess reader([=] {
        char buffer[16];
        return int(readLocal(area, offset, length, buffer));
    });
    const QByteArray range =
        QByteArray::number(firstByte) + ' ' + QByteArray::number(firstByte + bytes - 1);
    QCOMPARE(FileLocks::awaitedBy(writer), "WRITE " + range);
    QCOMPARE(FileLocks::awaitedBy(reader), "READ " + range);
    QCOMPARE(content(area), pattern());
    close(descriptor); // which lets both go on
    QCOMPARE(writer.result(), 0);
    QCOMPARE(reader.result(), 0);
}

void TestRegStore::lock_isLetGo()
{
    unsigned char byte = 7;
    QCOMPARE(SysReg_Write(20, &byte, 1), 0);
    QCOMPARE(SysReg_Read(20, &byte), 0);
    const int freeAgain = inOtherProcess([] {
        const int descriptor = open(areaFiles[7], O_RDWR);
        return lockf(descriptor, F_TEST, 0) == 0 ? 1 : 0;
    });
    QCOMPARE(freeAgain, 1);
}

void TestRegStore::lock_twoProcessesLoseNoBit()
{
    // Each process turns bits of its own in the same byte, and finds each as it left it.
    PanelWorld::writeFile(fileOf(2), QByteArray(1, '\0'));
    constexpr int rounds = 2000;
    QList<pid_t> children;
    for (unsigned bit = 0; bit < 8; bit += 2) {
        const pid_t child = fork();
        if (child == 0) {
            int lost = 0;
            for (int round = 0; round < rounds; ++round) {
                const unsigned char value = round % 2 ? 0 : 1;
                unsigned char found = 2;
                writeLocal(2, bit, 1, &value);
                readLocal(2, bit, 1, &found);
                lost += (found & 1) != value;
            }
            _exit(lost == 0 ? 0 : 1);
        }
        children << child;
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        QCOMPARE(status, 0);
    }
}

void TestRegStore::lock_readerSeesNoHalfWrite()
{
    constexpr unsigned size = 2048;
    QVERIFY(writeLocal(1, 0, size, QByteArray(size, 'a').constData()) == 0);
    const pid_t writer = fork();
    if (writer == 0) {
        for (int round = 0;; ++round) {
            writeLocal(1, 0, size, QByteArray(size, round % 2 ? 'a' : 'b').constData());
        }
    }
    int halves = 0;
    for (int round = 0; round < 5000; ++round) {
        QByteArray value(size, '\0');
        readLocal(1, 0, size, value.data());
        halves += value.count(value.at(0)) != int(size);
    }
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    QCOMPARE(halves, 0);
}

void TestRegStore::notify_area_sendsTwelveBytes()
{
    NoticeListener runtime(areaPipe);
    const unsigned char value[] = {0x12, 0x34};
    QCOMPARE(WriteLocal_Notify(5, 0x0301, 2, value, ""), 0U);
    QCOMPARE(runtime.takeAll(), QByteArray("\x05\0\0\0\x01\x03\0\0\x02\0\0\0", 12));
    QCOMPARE(content(5).mid(0x0301, 2), QByteArray("\x12\x34"));
    QCOMPARE(WriteLocal_Notify(8, 17, 1, value, ""), 0U); // bits as given
    QCOMPARE(runtime.takeAll(), QByteArray("\x08\0\0\0\x11\0\0\0\x01\0\0\0", 12));
}

void TestRegStore::notify_area_withoutReader_isThreeAndWritten()
{
    const unsigned char value = 'v';
    QCOMPARE(WriteLocal_Notify(5, 10, 1, &value, ""), 3U);
    QCOMPARE(content(5).mid(10, 1), QByteArray("v"));
}

void TestRegStore::notify_area_failedWrite_sendsNothing()
{
    NoticeListener runtime(areaPipe);
    QFile::remove(fileOf(5));
    const unsigned char value = 'v';
    QCOMPARE(WriteLocal_Notify(5, 10, 1, &value, ""), 15U);
    QCOMPARE(runtime.takeAll(), QByteArray());
}

void TestRegStore::notify_register_sendsItsId()
{
    NoticeListener runtime(registerPipe);
    const unsigned char value[8] = {1};
    QCOMPARE(SysReg_WriteNotify(86, value, 1), 0);
    QCOMPARE(SysReg_WriteNotify(79, value, 4), 0);
    QCOMPARE(SysReg_Write(20, value, 1), 0); // without a notice
    QCOMPARE(runtime.takeAll(), QByteArray("\x56\0\0\0\x4f\0\0\0", 8));
}

void TestRegStore::notify_register_withoutReader_failsAndIsWritten()
{
    const unsigned char value = 'v';
    QCOMPARE(SysReg_WriteNotify(20, &value, 1), -1);
    QCOMPARE(content(7).mid(169, 1), QByteArray("v"));
}

void TestRegStore::notify_register_failedWrite_sendsNothing()
{
    NoticeListener runtime(registerPipe);
    QFile::remove(fileOf(7));
    const unsigned char value = 'v';
    QCOMPARE(SysReg_WriteNotify(20, &value, 1), -1);
    QCOMPARE(runtime.takeAll(), QByteArray());
}

void TestRegStore::notify_makesTheMissingPipe()
{
    const unsigned char value = 1;
    SysReg_WriteNotify(20, &value, 1);
    WriteLocal_Notify(5, 0, 1, &value, "");
    QVERIFY(QFile::exists(registerPipe));
    QVERIFY(QFile::exists(areaPipe));
}

void TestRegStore::notify_fullPipe_failsAndReturns()
{
    NoticeListener runtime(registerPipe);
    const unsigned char value = 1;
    int sent = 0;
    while (sent < 100000 && SysReg_WriteNotify(86, &value, 1) == 0) {
        ++sent;
    }
    QCOMPARE(sent, 65536 / 4); // what a pipe holds
    runtime.takeAll();
    QCOMPARE(SysReg_WriteNotify(86, &value, 1), 0);
}

void TestRegStore::notify_readerComesAndGoes_weLive()
{
    const unsigned char value = 1;
    {
        NoticeListener runtime(registerPipe);
    }
    const pid_t child = fork();
    if (child == 0) {
        for (;;) {
            close(open("/tmp/fifo_sysreg", O_RDONLY | O_NONBLOCK));
        }
    }
    int results[2] = {};
    // Nobody wants 3000 lines about a reader that has just gone.
    const int saved = dup(STDERR_FILENO);
    const int nothing = open("/dev/null", O_WRONLY);
    dup2(nothing, STDERR_FILENO);
    for (int round = 0; round < 3000; ++round) {
        const int result = SysReg_WriteNotify(20, &value, 1);
        ++results[result == 0 ? 0 : 1];
        if (result != 0 && result != -1) {
            break;
        }
    }
    dup2(saved, STDERR_FILENO);
    close(saved);
    close(nothing);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    QCOMPARE(results[0] + results[1], 3000);
}

namespace {

/// The locks of the system at the moment when a notice arrives.
char locksAtNotice[4096];

void listLocks(int /*number*/)
{
    const int list = open("/proc/locks", O_RDONLY | O_CLOEXEC);
    const ssize_t size = read(list, locksAtNotice, sizeof locksAtNotice - 1);
    locksAtNotice[size > 0 ? size : 0] = '\0';
    close(list);
}

/// Whether a call that sends a notice holds a lock while it does so. This process reads the pipe
/// too, and the system interrupts it as soon as a notice is in there. -1 when none arrives.
template <typename Call>
int holdsLockAtNotice(const QString& pipe, Call call)
{
    const int reader = open(pipe.toLatin1().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::signal(SIGIO, listLocks);
    fcntl(reader, F_SETOWN, getpid());
    fcntl(reader, F_SETFL, O_NONBLOCK | O_ASYNC);
    qstrcpy(locksAtNotice, "none arrived");
    call();
    close(reader);
    const QByteArray list(locksAtNotice);
    return list == "none arrived" ? -1 : list.contains(' ' + QByteArray::number(getpid()) + ' ');
}

} // namespace

void TestRegStore::notify_sentAfterTheLock()
{
    mkfifo("/tmp/fifo_sysreg", 0600);
    mkfifo("/tmp/fifo_localreg", 0600);
    static const unsigned char value = 1;
    QCOMPARE(inOtherProcess([] {
                 return holdsLockAtNotice(registerPipe, [] { SysReg_WriteNotify(20, &value, 1); });
             }),
             0);
    QCOMPARE(inOtherProcess([] {
                 return holdsLockAtNotice(areaPipe, [] { WriteLocal_Notify(5, 0, 1, &value, ""); });
             }),
             0);
    // Another lock of the process is seen: the check can fail.
    QCOMPARE(inOtherProcess([] {
                 lockf(open(areaFiles[1], O_RDWR), F_LOCK, 1);
                 return holdsLockAtNotice(registerPipe, [] { SysReg_WriteNotify(20, &value, 1); });
             }),
             1);
}

void TestRegStore::names_areThoseOfTheRegistersInUse()
{
    const struct
    {
        const char* name;
        unsigned id;
        bool announced;
    } expected[] = {
        {"language", 20, true},      {"eth0_ip", 60, false},   {"eth0_mask", 62, false},
        {"eth0_gateway", 63, false}, {"eth0_off", 66, false},  {"eth0_dhcp", 67, true},
        {"eth1_ip", 69, false},      {"eth1_mask", 71, false}, {"eth1_gateway", 72, false},
        {"eth1_off", 75, false},     {"eth1_dhcp", 76, true},  {"default_adapter", 78, true},
        {"buzzer", 79, true},        {"date_lock", 80, false}, {"settings_window", 86, true},
    };
    QCOMPARE(registerNames.size(), std::size(expected));
    for (std::size_t at = 0; at < std::size(expected); ++at) {
        const RegisterName& row = registerNames[at];
        QCOMPARE(row.id, expected[at].id);
        QCOMPARE(QLatin1String(row.name), QLatin1String(expected[at].name));
        QCOMPARE(row.announced == Announced::Yes, expected[at].announced);
        QCOMPARE(findRegisterName(row.id), &row);
        QCOMPARE(findRegisterName(std::string_view(expected[at].name)), &row);
    }
    QVERIFY(!findRegisterName(0));
    QVERIFY(!findRegisterName("eth2_ip"));
}

void TestRegStore::named_readsAndWritesItsRegister()
{
    NoticeListener runtime(registerPipe);
    writeLocal(8, 8, 16, "\x81\x7E");
    QCOMPARE(Registers::eth1Off.write(quint8(0xFF)), 0); // bit 14, and no other
    QCOMPARE(content(8).mid(1, 2), QByteArray("\xC1\x7E"));
    QCOMPARE(Registers::eth1Off.write(quint8(0xFE)), 0);
    QCOMPARE(content(8).mid(1, 2), QByteArray("\x81\x7E"));
    QCOMPARE(runtime.takeAll(), QByteArray());
    writeLocal(7, 179, 3, "abc");
    QCOMPARE(Registers::defaultAdapter.writeNotify(quint32(0x01020302)), 0);
    QCOMPARE(content(7).mid(179, 3), QByteArray("a\x02"
                                                "c"));
    QCOMPARE(runtime.takeAll(), QByteArray("\x4e\0\0\0", 4));
    quint32 word = 0xAABBCCDD;
    QCOMPARE(Registers::defaultAdapter.read(word), 0);
    QCOMPARE(word, 0xAABBCC02U);
    QVERIFY(Registers::defaultAdapter.load());
    QFile::remove(fileOf(7));
    QCOMPARE(Registers::defaultAdapter.read(word), -1);
    QCOMPARE(word, 0xAABBCC02U);
    QCOMPARE(Registers::language.writeNotify(quint8(1)), -1);
}

void TestRegStore::named_quad_fillsTheRegister()
{
    const QByteArray before(8, 'v');
    writeLocal(5, 779, 8, before.constData());
    QCOMPARE(Registers::eth0Gateway.write(0x0A01A8C0), 0);
    QCOMPARE(content(5).mid(779, 8), QByteArray("\xC0\xA8\x01\x0A\0\0\0\0", 8));
}

void TestRegStore::notice_comesBackAsItWas()
{
    const AreaNotice notice = {8, 0x01020304, 0xFFFFFFFF};
    const auto message = encodeNotice(notice);
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(message.data()), int(message.size())),
             QByteArray("\x08\0\0\0\x04\x03\x02\x01\xFF\xFF\xFF\xFF", 12));
    QVERIFY(decodeNotice<AreaNotice>(message) == notice);
}

void TestRegStore::flatFunctions_useOneStore()
{
    QCOMPARE(SysReg_LoadReg(0), SysReg::Instance().loadReg(0));
    QCOMPARE(&SysReg::Instance(), &SysReg::Instance());
    SysReg own;
    QVERIFY(own.loadReg(0) != SysReg_LoadReg(0));
    unsigned char value = 9;
    QCOMPARE(own.write(20, &value, 1), 0);
    value = 0;
    QCOMPARE(SysReg_Read(20, &value), 0);
    QCOMPARE(int(value), 9);
}

void TestRegStore::operations_leaveNoDescriptor()
{
    char buffer[64] = {};
    const uint before = openDescriptors();
    for (unsigned id = 0; id < 95; ++id) {
        SysReg_Read(id, buffer);
        SysReg_Write(id, buffer, 1);
    }
    QFile::remove(fileOf(5));
    SysReg_Read(63, buffer);
    QCOMPARE(openDescriptors(), before);
}

QTEST_GUILESS_MAIN(TestRegStore)
#include "test_regstore.moc"
