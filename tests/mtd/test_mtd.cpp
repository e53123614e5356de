#include "mtd/CommonDevMtdWR.h"
#include "mtd/FutureMtdWR.h"
#include "tests/mtd/MtdEmulation.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Slots.h"
#include "tests/support/Text.h"

#include <QDir>
#include <QTest>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr unsigned writeBytes = 2048;
constexpr unsigned blockBytes = 4 * writeBytes;
constexpr unsigned deviceBytes = 8 * blockBytes;

constexpr const char* notFlash = "This doesn't seem to be a valid MTD flash device!";
constexpr const char* verifyError = "Verify Error\r";

MtdEmulation::Device goodDevice()
{
    MtdEmulation::Device device;
    device.size = deviceBytes;
    device.eraseSize = blockBytes;
    device.writeSize = writeBytes;
    return device;
}

/// Bytes without a period that fits a block or a unit.
QByteArray pattern(unsigned size)
{
    QByteArray bytes(int(size), '\0');
    for (int at = 0; at < bytes.size(); ++at) {
        bytes[at] = char(at * 37 + at / 251);
    }
    return bytes;
}

unsigned char* data(QByteArray& bytes)
{
    return reinterpret_cast<unsigned char*>(bytes.data());
}

/// A family whose blocks are written and compared whole.
class WholeBlocksMtdWR : public CommonDevMtdWR
{
public:
    int hmi_type() override { return 5; }
};

/// Notes what the copying functions hand over.
class SpyMtdWR : public CommonDevMtdWR
{
public:
    int mtd_read(int /*fd*/, mtd_info_user* info, unsigned char* /*buf*/, unsigned len,
                 erase_info_user* blocks, int count) override
    {
        note(info, len, blocks, count);
        return 17;
    }
    int mtd_write(int /*fd*/, mtd_info_user* info, unsigned char* /*buf*/, unsigned len,
                  erase_info_user* blocks, int count) override
    {
        note(info, len, blocks, count);
        return 23;
    }

    QList<unsigned> starts, lengths;
    unsigned eraseSize = 0;
    unsigned length = 0;

private:
    void note(const mtd_info_user* info, unsigned len, const erase_info_user* blocks, int count)
    {
        eraseSize = info->erasesize;
        length = len;
        for (int at = 0; at < count; ++at) {
            starts << blocks[at].start;
            lengths << blocks[at].length;
        }
    }
};

/// What a call printed, and what it returned.
struct Said
{
    int result = -1;
    QByteArray output;
    QByteArray errors;
};

QByteArray text(std::FILE* file)
{
    std::rewind(file);
    QByteArray bytes(1 << 16, '\0');
    bytes.truncate(int(std::fread(bytes.data(), 1, size_t(bytes.size()), file)));
    std::fclose(file);
    return bytes;
}

template <typename Function>
Said listenTo(Function function)
{
    std::fflush(nullptr);
    std::FILE* files[] = {std::tmpfile(), std::tmpfile()};
    const int saved[] = {dup(STDOUT_FILENO), dup(STDERR_FILENO)};
    dup2(fileno(files[0]), STDOUT_FILENO);
    dup2(fileno(files[1]), STDERR_FILENO);
    Said said;
    said.result = function();
    std::fflush(nullptr);
    for (int at = 0; at < 2; ++at) {
        dup2(saved[at], at == 0 ? STDOUT_FILENO : STDERR_FILENO);
        ::close(saved[at]);
    }
    said.output = text(files[0]);
    said.errors = text(files[1]);
    return said;
}

Said write(MtdWRInterface& mtd, QByteArray bytes, unsigned char device = 0, int start = 0)
{
    return listenTo(
        [&] { return mtd.mtd_copy_write(data(bytes), unsigned(bytes.size()), device, start); });
}

QByteArray readBack(MtdWRInterface& mtd, unsigned size, unsigned char device = 0, int start = 0)
{
    QByteArray bytes(int(size), '?');
    const Said said = listenTo([&] { return mtd.mtd_copy_read(data(bytes), size, device, start); });
    return said.result == 0 ? bytes : QByteArray("failed");
}

QByteArray content(int device = 0)
{
    return QByteArray::fromStdString(MtdEmulation::content(device));
}

/// What was asked of the devices; only calls of this kind, when one is given.
QStringList asked(const char* kind = "")
{
    QStringList lines;
    for (const std::string& line : MtdEmulation::log()) {
        if (line.rfind(kind, 0) == 0) {
            lines << QString::fromStdString(line);
        }
    }
    return lines;
}

QString call(const char* name, unsigned offset, unsigned length)
{
    return "%1 %2 %3"_s.arg(QLatin1String(name)).arg(offset).arg(length);
}

QByteArray eraseLine(int done, int of)
{
    return "Erasing blocks: " + QByteArray::number(done) + '/' + QByteArray::number(of) + " (" +
           QByteArray::number(100 * done / of) + "%)\n";
}

QByteArray endOfErasing(int done, int of)
{
    return "\rErasing blocks: " + QByteArray::number(done) + '/' + QByteArray::number(of) +
           " (100%)\n";
}

QByteArray sizesLine(unsigned blocks, unsigned length)
{
    return "blocks=" + QByteArray::number(blocks) + ",length=" + QByteArray::number(length) + '\n';
}

int openDescriptors()
{
    return QDir("/proc/self/fd"_s).entryList(QDir::Files | QDir::System).size();
}

struct Sizes
{
    unsigned unit, block, device;
};

bool haveRealFlash()
{
    struct stat info = {};
    return ::stat("/dev/mtd0", &info) == 0 && S_ISCHR(info.st_mode);
}

/// The sizes of "/dev/mtd0", whoever is behind it.
Sizes sizesOfFlash()
{
    mtd_info_user info = {};
    const int descriptor = ::open("/dev/mtd0", O_RDONLY | O_CLOEXEC);
    const int known = ioctl(descriptor, MEMGETINFO, &info);
    ::close(descriptor);
    return known == 0 ? Sizes{info.writesize, info.erasesize, info.size} : Sizes{};
}

/// All bytes of "/dev/mtd0", whoever is behind it.
QByteArray bytesOfFlash()
{
    QByteArray bytes;
    QByteArray part(int(sizesOfFlash().block), '\0');
    const int descriptor = ::open("/dev/mtd0", O_RDONLY | O_CLOEXEC);
    for (ssize_t count = 1; count > 0; bytes += part.left(int(count))) {
        count = qMax<ssize_t>(0, ::read(descriptor, part.data(), size_t(part.size())));
    }
    ::close(descriptor);
    return bytes;
}

/// Adds the rows of a test for the emulated device and, where the kernel has flash, for that as
/// well, all of whose blocks are then taken to be good. The test puts it into place with
/// useFlash().
template <typename AddRows>
void forEachFlash(AddRows addRows)
{
    QTest::addColumn<bool>("real");
    MtdEmulation::plug(0, goodDevice());
    addRows("emulated", false, sizesOfFlash());
    MtdEmulation::unplugAll();
    if (haveRealFlash()) {
        addRows("real", true, sizesOfFlash());
    }
}

Sizes useFlash(bool real)
{
    if (real) {
        MtdEmulation::unplugAll();
    }
    return sizesOfFlash();
}

/// Calls a function with an object of each class.
template <typename Function>
void forEachClass(Function function)
{
    CommonDevMtdWR common;
    function(common);
    FutureMtdWR future;
    function(future);
}

} // namespace

/// The flash library over emulated devices and, where the kernel simulates one, over that as well.
class TestMtd : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void virtualFunctions_haveTheirSlots();
    void families_tellTheirCodes();

    void sizes_comeBack_data();
    void sizes_comeBack();

    void write_saysHowFarItIs_data();
    void write_saysHowFarItIs();
    void write_erasesOnlyWhatItNeeds();
    void write_leavesTheRestOfTheDeviceAlone_data();
    void write_leavesTheRestOfTheDeviceAlone();
    void write_handsOverItsBlocks();
    void write_toEachDevice_opensItsPathForSynchronousWriting_data();
    void write_toEachDevice_opensItsPathForSynchronousWriting();
    void write_aroundBlocksThatCannotBeErased_data();
    void write_aroundBlocksThatCannotBeErased();
    void write_withExactlyEnoughGoodBlocks_succeeds_data();
    void write_withExactlyEnoughGoodBlocks_succeeds();
    void write_withTooFewGoodBlocks_fails_data();
    void write_withTooFewGoodBlocks_fails();
    void write_comparesFourBytesAtATime();
    void write_ofWholeBlocks_comparesThemWhole();
    void write_padsTheRestWithZeros_data();
    void write_padsTheRestWithZeros();
    void write_putsTheRestWhereReadingLooksForIt();
    void flippedBit_isFound_data();
    void flippedBit_isFound();
    void flippedBitInTheRest_isNotLookedFor();
    void unerasedBlocks_failToVerify();

    void read_saysItsSizes();
    void read_handsOverItsBlocks();
    void read_asksForWhatIsWantedOnly();
    void read_endsWhenABlockCannotBeAskedFor();
    void read_withTooFewGoodBlocks_fails();
    void read_ofNothing_asksForNothing();
    void read_withErrors_succeeds();

    void blocksTooFewForTheBuffer_areNotWritten_data();
    void blocksTooFewForTheBuffer_areNotWritten();

    void negativeCount_isAnError();
    void unit_isTheFamilysOwn_data();
    void unit_isTheFamilysOwn();

    void noFlash_isSaid_data();
    void noFlash_isSaid();
    void argumentsThatCannotBeMeant_touchNoDevice_data();
    void argumentsThatCannotBeMeant_touchNoDevice();
    void descriptors_areClosed();
};

void TestMtd::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
    if (!haveRealFlash()) {
        qInfo("this machine simulates no NAND flash; the emulated devices alone are used");
    }
}

void TestMtd::init()
{
    MtdEmulation::plug(0, goodDevice());
}

void TestMtd::cleanup()
{
    MtdEmulation::unplugAll();
}

void TestMtd::virtualFunctions_haveTheirSlots()
{
    QCOMPARE(slotOf(&MtdWRInterface::hmi_type), 0);
    QCOMPARE(slotOf(&MtdWRInterface::mtd_copy_write), 1);
    QCOMPARE(slotOf(&MtdWRInterface::mtd_copy_read), 2);
    QCOMPARE(slotOf(&MtdWRInterface::mtd_read), 3);
    QCOMPARE(slotOf(&MtdWRInterface::mtd_write), 4);
    // The destructor follows, in both its forms: deleting through the base must be safe.
    MtdWRInterface* mtd = new FutureMtdWR;
    QVERIFY(std::has_virtual_destructor<MtdWRInterface>::value);
    delete mtd;
}

void TestMtd::families_tellTheirCodes()
{
    QCOMPARE(CommonDevMtdWR().hmi_type(), 0);
    QCOMPARE(FutureMtdWR().hmi_type(), 6);
    static_assert(std::is_base_of<CommonDevMtdWR, FutureMtdWR>::value, "shares the operations");
    static_assert(std::is_same<MtdWRInterface::mtd_info_user, ::mtd_info_user>::value);
    static_assert(std::is_same<MtdWRInterface::erase_info_user, ::erase_info_user>::value);
}

namespace {

/// Lengths and starts around all edges of a device.
void addSizes(const char* flash, bool real, const Sizes& sizes)
{
    const QList<unsigned> lengths = {0,
                                     1,
                                     2,
                                     3,
                                     4,
                                     5,
                                     sizes.unit - 1,
                                     sizes.unit,
                                     sizes.unit + 1,
                                     sizes.block - 1,
                                     sizes.block,
                                     sizes.block + 1,
                                     sizes.block + sizes.unit,
                                     3 * sizes.block - 3,
                                     3 * sizes.block};
    const unsigned middle = sizes.device / sizes.block / 2 * sizes.block;
    for (const unsigned start : {0U, sizes.block, middle}) {
        for (const unsigned length : lengths) {
            QTest::addRow("%s: %u bytes at %u", flash, length, start) << length << start << real;
        }
        QTest::addRow("%s: all from %u", flash, start) << sizes.device - start << start << real;
    }
}

void compareWithWhatComesBack(MtdWRInterface& mtd, unsigned length, unsigned start)
{
    const QByteArray bytes = pattern(length);
    const Said said = write(mtd, bytes, 0, int(start));
    QCOMPARE(said.result, 0);
    QCOMPARE(said.errors, QByteArray());
    QCOMPARE(readBack(mtd, length, 0, int(start)), bytes);
}

} // namespace

void TestMtd::sizes_comeBack_data()
{
    QTest::addColumn<unsigned>("length");
    QTest::addColumn<unsigned>("start");
    forEachFlash(addSizes);
}

void TestMtd::sizes_comeBack()
{
    QFETCH(bool, real);
    QFETCH(unsigned, length);
    QFETCH(unsigned, start);
    useFlash(real);
    forEachClass([=](MtdWRInterface& mtd) { compareWithWhatComesBack(mtd, length, start); });
    WholeBlocksMtdWR wholeBlocks;
    compareWithWhatComesBack(wholeBlocks, length, start);
}

void TestMtd::write_saysHowFarItIs_data()
{
    QTest::addColumn<unsigned>("length");
    QTest::addColumn<unsigned>("blocks");
    forEachFlash([](const char* flash, bool real, const Sizes& sizes) {
        const auto row = [=](const char* name, unsigned length, unsigned blocks) {
            QTest::addRow("%s: %s", flash, name) << length << blocks << real;
        };
        row("nothing", 0, 0);
        row("a byte", 1, 1);
        row("a block", sizes.block, 1);
        row("a block and a byte", sizes.block + 1, 2);
        row("three blocks", 3 * sizes.block, 3);
    });
}

void TestMtd::write_saysHowFarItIs()
{
    QFETCH(bool, real);
    QFETCH(unsigned, length);
    QFETCH(unsigned, blocks);
    useFlash(real);
    QByteArray output = sizesLine(blocks, length);
    for (unsigned done = 1; done <= blocks; ++done) {
        output += eraseLine(int(done), int(blocks));
    }
    output += endOfErasing(int(blocks), int(blocks));
    forEachClass([=](MtdWRInterface& mtd) {
        const Said said = write(mtd, pattern(length));
        QCOMPARE(said.result, 0);
        QCOMPARE(said.output, output);
        QCOMPARE(said.errors, QByteArray());
    });
}

void TestMtd::write_erasesOnlyWhatItNeeds()
{
    CommonDevMtdWR mtd;
    QCOMPARE(write(mtd, QByteArray()).result, 0);
    QCOMPARE(asked("erase"), QStringList());
    QCOMPARE(asked("write"), QStringList());

    QCOMPARE(write(mtd, pattern(blockBytes + 1), 0, int(2 * blockBytes)).result, 0);
    QCOMPARE(asked("erase"), QStringList({call("erase", 2 * blockBytes, blockBytes),
                                          call("erase", 3 * blockBytes, blockBytes)}));
    QCOMPARE(asked("bad"), QStringList());
}

void TestMtd::write_leavesTheRestOfTheDeviceAlone_data()
{
    forEachFlash(
        [](const char* flash, bool real, const Sizes& /*sizes*/) { QTest::newRow(flash) << real; });
}

void TestMtd::write_leavesTheRestOfTheDeviceAlone()
{
    QFETCH(bool, real);
    const Sizes sizes = useFlash(real);
    const auto block = int(sizes.block);
    CommonDevMtdWR common;
    QCOMPARE(write(common, pattern(sizes.device)).result, 0); // something that can be lost
    forEachClass([=](MtdWRInterface& mtd) {
        const QByteArray before = bytesOfFlash();
        QCOMPARE(before.size(), int(sizes.device));
        QByteArray bytes = before.mid(3 * block, block + 5);
        std::reverse(bytes.begin(), bytes.end());
        QCOMPARE(write(mtd, bytes, 0, 3 * block).result, 0);
        const QByteArray after = bytesOfFlash();
        QCOMPARE(after.left(3 * block), before.left(3 * block));
        QCOMPARE(after.mid(3 * block, bytes.size()), bytes);
        QCOMPARE(after.mid(5 * block), before.mid(5 * block));
    });
}

void TestMtd::write_handsOverItsBlocks()
{
    MtdEmulation::Device device = goodDevice();
    device.badBlocks = {blockBytes};
    MtdEmulation::plug(0, device);
    SpyMtdWR mtd;
    QCOMPARE(write(mtd, pattern(blockBytes + 1)).result, 23);
    QCOMPARE(mtd.starts, QList<unsigned>({0, 2 * blockBytes}));
    QCOMPARE(mtd.lengths, QList<unsigned>({blockBytes, blockBytes}));
    QCOMPARE(mtd.eraseSize, blockBytes);
    QCOMPARE(mtd.length, blockBytes + 1);
    QCOMPARE(asked().constLast(), "close"_s);
}

void TestMtd::write_toEachDevice_opensItsPathForSynchronousWriting_data()
{
    QTest::addColumn<int>("device");
    for (int device = 0; device <= 3; ++device) {
        QTest::addRow("/dev/mtd%d", device) << device;
    }
}

void TestMtd::write_toEachDevice_opensItsPathForSynchronousWriting()
{
    QFETCH(int, device);
    MtdEmulation::unplugAll();
    MtdEmulation::plug(device, goodDevice()); // its path alone
    CommonDevMtdWR mtd;
    QCOMPARE(write(mtd, pattern(10), uchar(device)).result, 0);
    QCOMPARE(readBack(mtd, 10, uchar(device)), pattern(10));
    const QStringList opened = asked("open");
    const QString synchronous = call("open", unsigned(device), O_RDWR | O_SYNC | O_CLOEXEC);
    QCOMPARE(opened, QStringList({synchronous, synchronous}));
}

void TestMtd::write_aroundBlocksThatCannotBeErased_data()
{
    QTest::addColumn<bool>("marked");
    QTest::addColumn<unsigned>("first");
    QTest::addColumn<unsigned>("second");
    for (const bool marked : {true, false}) {
        const char* kind = marked ? "marked bad" : "erase fails";
        QTest::addRow("%s: the first", kind) << marked << 0U << 0U;
        QTest::addRow("%s: the second", kind) << marked << 1U << 1U;
        QTest::addRow("%s: second and third", kind) << marked << 1U << 2U;
        QTest::addRow("%s: first and third", kind) << marked << 0U << 2U;
    }
}

void TestMtd::write_aroundBlocksThatCannotBeErased()
{
    QFETCH(bool, marked);
    QFETCH(unsigned, first);
    QFETCH(unsigned, second);
    MtdEmulation::Device device = goodDevice();
    (marked ? device.badBlocks : device.failingErases) = {first * blockBytes, second * blockBytes};
    MtdEmulation::plug(0, device);

    CommonDevMtdWR mtd;
    const QByteArray bytes = pattern(2 * blockBytes + writeBytes + 3);
    const Said said = write(mtd, bytes);
    QCOMPARE(said.result, 0);
    QCOMPARE(said.output, sizesLine(3, unsigned(bytes.size())) + eraseLine(1, 3) + eraseLine(2, 3) +
                              eraseLine(3, 3) + endOfErasing(3, 3));
    QByteArray found;
    for (unsigned block = 0; found.size() < bytes.size(); ++block) {
        const QByteArray there = content().mid(int(block * blockBytes), int(blockBytes));
        if (block == first || block == second) {
            QVERIFY2(there == QByteArray(int(blockBytes), '\0'), "nothing goes into a bad block");
        } else {
            found += there;
        }
    }
    QCOMPARE(found.left(bytes.size()), bytes);
    if (marked) { // reading knows of no others
        QCOMPARE(readBack(mtd, unsigned(bytes.size())), bytes);
    }
}

void TestMtd::write_withExactlyEnoughGoodBlocks_succeeds_data()
{
    QTest::addColumn<unsigned>("bad");
    QTest::newRow("the first is bad") << 5U;
    QTest::newRow("the second is bad") << 6U;
    QTest::newRow("the last is bad") << 7U;
}

void TestMtd::write_withExactlyEnoughGoodBlocks_succeeds()
{
    QFETCH(unsigned, bad);
    MtdEmulation::Device device = goodDevice();
    device.badBlocks = {bad * blockBytes};
    MtdEmulation::plug(0, device);
    forEachClass([](MtdWRInterface& mtd) {
        // Three blocks are left, of which two are good.
        const QByteArray bytes = pattern(2 * blockBytes);
        const Said said = write(mtd, bytes, 0, int(5 * blockBytes));
        QCOMPARE(said.result, 0);
        QCOMPARE(said.output, sizesLine(2, 2 * blockBytes) + eraseLine(1, 2) + eraseLine(2, 2) +
                                  endOfErasing(2, 2));
        QCOMPARE(readBack(mtd, 2 * blockBytes, 0, int(5 * blockBytes)), bytes);
    });
    QCOMPARE(content().mid(int(bad * blockBytes), int(blockBytes)),
             QByteArray(int(blockBytes), '\0'));
}

void TestMtd::write_withTooFewGoodBlocks_fails_data()
{
    QTest::addColumn<QList<unsigned>>("bad"); // of the emulated device's eight
    QTest::addColumn<int>("left");            // blocks from the start on
    QTest::addColumn<int>("needed");
    QTest::addColumn<int>("good");
    const QList<unsigned> noneBad;
    forEachFlash([&](const char* flash, bool real, const Sizes& /*sizes*/) {
        QTest::addRow("%s: needs three, two are left", flash) << noneBad << 2 << 3 << 2 << real;
        QTest::addRow("%s: starts at the end", flash) << noneBad << 0 << 1 << 0 << real;
        QTest::addRow("%s: starts behind the end", flash) << noneBad << -90 << 1 << 0 << real;
    });
    QTest::newRow("the last is bad") << QList<unsigned>({7}) << 2 << 2 << 1 << false;
    QTest::newRow("none is good") << QList<unsigned>({6, 7}) << 2 << 1 << 0 << false;
    QTest::newRow("more than the device") << noneBad << 8 << 9 << 8 << false;
}

void TestMtd::write_withTooFewGoodBlocks_fails()
{
    QFETCH(bool, real);
    QFETCH(QList<unsigned>, bad);
    QFETCH(int, left);
    QFETCH(int, needed);
    QFETCH(int, good);
    MtdEmulation::Device device = goodDevice();
    for (const unsigned block : qAsConst(bad)) {
        device.badBlocks.insert(block * blockBytes);
    }
    MtdEmulation::plug(0, device);
    const Sizes sizes = useFlash(real);

    const unsigned length = unsigned(needed) * sizes.block;
    QByteArray output = sizesLine(unsigned(needed), length);
    for (int done = 1; done <= good; ++done) {
        output += eraseLine(done, needed);
    }
    output += endOfErasing(good, needed);
    forEachClass([=](MtdWRInterface& mtd) {
        const int erased = asked("erase").size();
        const int descriptors = openDescriptors();
        const int start = int(sizes.device) - left * int(sizes.block);
        const Said said = write(mtd, pattern(length), 0, start);
        QCOMPARE(said.result, 1);
        QCOMPARE(said.output, output);
        QCOMPARE(openDescriptors(), descriptors);
        QCOMPARE(asked("erase").size() - erased, real ? 0 : qMax(0, left));
    });
    QCOMPARE(asked("write"), QStringList());
}

void TestMtd::write_comparesFourBytesAtATime()
{
    CommonDevMtdWR mtd;
    QCOMPARE(write(mtd, pattern(blockBytes + writeBytes), 0, int(blockBytes)).result, 0);
    QStringList expected;
    for (unsigned at = 0; at < blockBytes + writeBytes; at += 4) {
        expected << call("read", blockBytes + at, 4);
    }
    QCOMPARE(asked("read"), expected);
    QCOMPARE(asked("write"), QStringList({call("write", blockBytes, blockBytes),
                                          call("write", 2 * blockBytes, writeBytes)}));
}

void TestMtd::write_ofWholeBlocks_comparesThemWhole()
{
    WholeBlocksMtdWR mtd;
    QCOMPARE(write(mtd, pattern(2 * blockBytes + 1)).result, 0);
    QCOMPARE(asked("read"),
             QStringList({call("read", 0, blockBytes), call("read", blockBytes, blockBytes)}));
    QCOMPARE(asked("write"),
             QStringList({call("write", 0, blockBytes), call("write", blockBytes, blockBytes),
                          call("write", 2 * blockBytes, blockBytes)}));
}

void TestMtd::write_padsTheRestWithZeros_data()
{
    QTest::addColumn<unsigned>("length");
    QTest::addColumn<unsigned>("at");
    QTest::newRow("a byte") << 1U << 0U;
    QTest::newRow("all but a byte of a unit") << writeBytes - 1 << 0U;
    QTest::newRow("a byte over a unit") << writeBytes + 1 << writeBytes;
    QTest::newRow("a byte over a block") << blockBytes + 1 << blockBytes;
}

void TestMtd::write_padsTheRestWithZeros()
{
    QFETCH(unsigned, length);
    QFETCH(unsigned, at);
    CommonDevMtdWR mtd;
    const QByteArray bytes = pattern(length);
    QCOMPARE(write(mtd, bytes).result, 0);
    QCOMPARE(asked("write").constLast(), call("write", at, writeBytes));
    QCOMPARE(asked("write").size(), at == 0 ? 1 : 2);
    QCOMPARE(content().left(int(at + writeBytes)), bytes.leftJustified(int(at + writeBytes), '\0'));
    const unsigned behind = at + writeBytes;
    const unsigned erased = (length + blockBytes - 1) / blockBytes * blockBytes;
    QCOMPARE(content().mid(int(behind), int(erased - behind)),
             QByteArray(int(erased - behind), '\xFF'));
}

void TestMtd::write_putsTheRestWhereReadingLooksForIt()
{
    MtdEmulation::Device device = goodDevice();
    device.badBlocks = {0, 3 * blockBytes};
    MtdEmulation::plug(0, device);
    CommonDevMtdWR mtd;
    // Its first good block is not where the device stands after opening.
    QCOMPARE(write(mtd, "abc").result, 0);
    QCOMPARE(asked("write"), QStringList(call("write", blockBytes, writeBytes)));
    QCOMPARE(readBack(mtd, 3), QByteArray("abc"));
    // The second good block does not follow the first one.
    const QByteArray bytes = pattern(blockBytes + 1);
    QCOMPARE(write(mtd, bytes, 0, int(2 * blockBytes)).result, 0);
    QCOMPARE(asked("write").constLast(), call("write", 4 * blockBytes, writeBytes));
    QCOMPARE(readBack(mtd, blockBytes + 1, 0, int(2 * blockBytes)), bytes);
    QCOMPARE(content().mid(3 * blockBytes, int(blockBytes)), QByteArray(int(blockBytes), '\0'));
}

void TestMtd::flippedBit_isFound_data()
{
    QTest::addColumn<unsigned>("unit");
    QTest::addColumn<unsigned>("length");
    QTest::addColumn<long>("at");
    QTest::newRow("the first byte") << writeBytes << writeBytes << 0L;
    QTest::newRow("the fourth") << writeBytes << writeBytes << 3L;
    QTest::newRow("the last of a unit") << writeBytes << writeBytes << long(writeBytes) - 1;
    QTest::newRow("the last of a block") << writeBytes << blockBytes << long(blockBytes) - 1;
    QTest::newRow("the last of the second block")
        << writeBytes << 2 * blockBytes << 2 * long(blockBytes) - 1;
    QTest::newRow("the last whole unit")
        << writeBytes << 2 * writeBytes + 1 << 2 * long(writeBytes) - 1;
    // Flash that takes single bytes: the last group of four has less.
    QTest::newRow("the last of five") << 1U << 5U << 4L;
    QTest::newRow("the last of seven") << 1U << 7U << 6L;
    QTest::newRow("the only one") << 1U << 1U << 0L;
}

void TestMtd::flippedBit_isFound()
{
    QFETCH(unsigned, unit);
    QFETCH(unsigned, length);
    QFETCH(long, at);
    MtdEmulation::Device device = goodDevice();
    device.writeSize = unit;
    MtdEmulation::plug(0, device);
    CommonDevMtdWR mtd;
    QCOMPARE(write(mtd, pattern(length)).result, 0);

    device.flippedByte = at;
    MtdEmulation::plug(0, device);
    const Said said = write(mtd, pattern(length));
    QCOMPARE(said.result, 1);
    QVERIFY2(said.output.endsWith(verifyError), said.output.constData());
    QCOMPARE(said.output.count(verifyError), 1);
    QCOMPARE(asked().constLast(), "close"_s);

    if (length >= blockBytes) {
        WholeBlocksMtdWR wholeBlocks;
        const Said compared = write(wholeBlocks, pattern(length));
        QCOMPARE(compared.result, 1);
        QVERIFY2(compared.output.endsWith(verifyError), compared.output.constData());
    }
}

void TestMtd::flippedBitInTheRest_isNotLookedFor()
{
    MtdEmulation::Device device = goodDevice();
    device.flippedByte = writeBytes;
    MtdEmulation::plug(0, device);
    CommonDevMtdWR mtd;
    const Said said = write(mtd, pattern(writeBytes + 1));
    QCOMPARE(said.result, 0);
    QVERIFY(!said.output.contains(verifyError));
    QVERIFY(content().at(int(writeBytes)) != pattern(writeBytes + 1).at(int(writeBytes)));
}

void TestMtd::unerasedBlocks_failToVerify()
{
    // Bits can only be cleared: what is written over something else reads back otherwise.
    CommonDevMtdWR mtd;
    QCOMPARE(write(mtd, pattern(blockBytes)).result, 0);
    const int descriptor = ::open("/dev/mtd0", O_RDWR | O_CLOEXEC);
    mtd_info_user info = {};
    QCOMPARE(ioctl(descriptor, MEMGETINFO, &info), 0);
    erase_info_user block = {0, blockBytes};
    QByteArray other(int(blockBytes), 'x');
    const Said said = listenTo(
        [&] { return mtd.mtd_write(descriptor, &info, data(other), blockBytes, &block, 1); });
    ::close(descriptor);
    QCOMPARE(said.result, 1);
    QCOMPARE(said.output, QByteArray(verifyError));
}

void TestMtd::read_saysItsSizes()
{
    QByteArray bytes(int(2 * blockBytes + 1), '?');
    CommonDevMtdWR mtd;
    const Said said =
        listenTo([&] { return mtd.mtd_copy_read(data(bytes), unsigned(bytes.size()), 0, 0); });
    QCOMPARE(said.result, 0);
    QCOMPARE(said.output, sizesLine(3, unsigned(bytes.size())));
    QCOMPARE(said.errors, QByteArray());
    QCOMPARE(asked().constLast(), "close"_s);
}

void TestMtd::read_handsOverItsBlocks()
{
    MtdEmulation::Device device = goodDevice();
    device.badBlocks = {blockBytes};
    device.failingErases = {3 * blockBytes}; // which reading does not try
    MtdEmulation::plug(0, device);
    SpyMtdWR mtd;
    QByteArray bytes(int(2 * blockBytes + 1), '?');
    const Said said = listenTo(
        [&] { return mtd.mtd_copy_read(data(bytes), unsigned(bytes.size()), 0, int(blockBytes)); });
    QCOMPARE(said.result, 17);
    QCOMPARE(mtd.starts, QList<unsigned>({2 * blockBytes, 3 * blockBytes, 4 * blockBytes}));
    QCOMPARE(mtd.lengths, QList<unsigned>({blockBytes, blockBytes, blockBytes}));
    QCOMPARE(mtd.length, 2 * blockBytes + 1);
    QCOMPARE(asked("bad"),
             QStringList({"bad 8192"_s, "bad 16384"_s, "bad 24576"_s, "bad 32768"_s}));
    QCOMPARE(asked("erase"), QStringList());
}

void TestMtd::read_asksForWhatIsWantedOnly()
{
    MtdEmulation::Device device = goodDevice();
    device.badBlocks = {blockBytes};
    MtdEmulation::plug(0, device);
    CommonDevMtdWR mtd;
    QCOMPARE(readBack(mtd, blockBytes + 1).size(), int(blockBytes + 1));
    QCOMPARE(asked("read"),
             QStringList({call("read", 0, blockBytes), call("read", 2 * blockBytes, 1)}));
}

void TestMtd::read_endsWhenABlockCannotBeAskedFor()
{
    MtdEmulation::Device device = goodDevice();
    device.unknownBlocks = {blockBytes};
    MtdEmulation::plug(0, device);
    CommonDevMtdWR mtd;
    QCOMPARE(readBack(mtd, 2 * blockBytes), QByteArray("failed"));
    QCOMPARE(asked("bad"), QStringList({"bad 0"_s, "bad 8192"_s}));
    QCOMPARE(asked("read"), QStringList());
    QCOMPARE(asked().constLast(), "close"_s);
    QCOMPARE(readBack(mtd, blockBytes), QByteArray(int(blockBytes), '\0'));
}

void TestMtd::read_withTooFewGoodBlocks_fails()
{
    MtdEmulation::Device device = goodDevice();
    device.badBlocks = {7 * blockBytes};
    MtdEmulation::plug(0, device);
    CommonDevMtdWR mtd;
    QCOMPARE(readBack(mtd, 2 * blockBytes, 0, int(6 * blockBytes)), QByteArray("failed"));
    QCOMPARE(asked("read"), QStringList());
    QCOMPARE(readBack(mtd, 2 * blockBytes, 0, int(5 * blockBytes)),
             QByteArray(int(2 * blockBytes), '\0'));
}

void TestMtd::read_ofNothing_asksForNothing()
{
    CommonDevMtdWR mtd;
    QCOMPARE(readBack(mtd, 0), QByteArray());
    QCOMPARE(asked("bad"), QStringList());
    QCOMPARE(asked("read"), QStringList());
    QCOMPARE(listenTo([&] { return mtd.mtd_copy_read(nullptr, 0, 0, 0); }).result, 0);
}

void TestMtd::read_withErrors_succeeds()
{
    // A descriptor that cannot be read: the caller compares, if it cares.
    const int descriptor = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    mtd_info_user info = {};
    erase_info_user block = {0, blockBytes};
    QByteArray bytes(10, '?');
    CommonDevMtdWR mtd;
    const int result = mtd.mtd_read(descriptor, &info, data(bytes), 10, &block, 1);
    ::close(descriptor);
    QCOMPARE(result, 0);
    QCOMPARE(bytes, QByteArray(10, '?'));
}

void TestMtd::blocksTooFewForTheBuffer_areNotWritten_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<unsigned>("length");
    QTest::addColumn<bool>("whole");
    for (const bool whole : {true, false}) {
        QTest::addRow("less than none, %d", whole) << -1 << 1U << whole;
        QTest::addRow("none, %d", whole) << 0 << 1U << whole;
        QTest::addRow("one for a block and a byte, %d", whole) << 1 << blockBytes + 1 << whole;
        QTest::addRow("one for two, %d", whole) << 1 << 2 * blockBytes << whole;
    }
}

void TestMtd::blocksTooFewForTheBuffer_areNotWritten()
{
    QFETCH(int, count);
    QFETCH(unsigned, length);
    QFETCH(bool, whole);
    const int descriptor = ::open("/dev/mtd0", O_RDWR | O_CLOEXEC);
    mtd_info_user info = {};
    QCOMPARE(ioctl(descriptor, MEMGETINFO, &info), 0);
    erase_info_user block = {0, blockBytes};
    QByteArray bytes = pattern(length);
    CommonDevMtdWR common;
    WholeBlocksMtdWR wholeBlocks;
    CommonDevMtdWR& mtd = whole ? wholeBlocks : common;
    QCOMPARE(mtd.mtd_write(descriptor, &info, data(bytes), length, &block, count), 1);
    QCOMPARE(mtd.mtd_write(descriptor, &info, data(bytes), 0, nullptr, 0), 0);
    ::close(descriptor);
    QCOMPARE(asked("write"), QStringList());
}

void TestMtd::negativeCount_isAnError()
{
    const int descriptor = ::open("/dev/mtd0", O_RDWR | O_CLOEXEC);
    mtd_info_user info = {};
    erase_info_user block = {0, blockBytes};
    QByteArray bytes(4, '?');
    CommonDevMtdWR mtd;
    QCOMPARE(mtd.mtd_read(descriptor, &info, data(bytes), 4, &block, -1), 1);
    QCOMPARE(mtd.mtd_read(descriptor, &info, data(bytes), 0, &block, -1), 1);
    QCOMPARE(mtd.mtd_write(descriptor, &info, data(bytes), 0, &block, -1), 1);
    ::close(descriptor);
    QCOMPARE(bytes, QByteArray("????"));
    QCOMPARE(asked("read"), QStringList());
    QCOMPARE(asked("write"), QStringList());
}

void TestMtd::unit_isTheFamilysOwn_data()
{
    QTest::addColumn<bool>("whole");
    QTest::addColumn<unsigned>("writeSize");
    QTest::addColumn<unsigned>("firstBlock");
    QTest::addColumn<int>("result");
    QTest::addColumn<QStringList>("writes");
    const QStringList blocks = {call("write", 0, blockBytes),
                                call("write", blockBytes, blockBytes)};
    const QStringList units = {call("write", 0, blockBytes), call("write", blockBytes, writeBytes)};
    QTest::newRow("the write size") << false << writeBytes << blockBytes << 0 << units;
    QTest::newRow("no write size") << false << 0U << blockBytes << 1 << QStringList();
    QTest::newRow("the first block") << true << writeBytes << blockBytes << 0 << blocks;
    QTest::newRow("the first block, no write size") << true << 0U << blockBytes << 0 << blocks;
    QTest::newRow("a first block of nothing") << true << writeBytes << 0U << 1 << QStringList();
}

void TestMtd::unit_isTheFamilysOwn()
{
    QFETCH(bool, whole);
    QFETCH(unsigned, writeSize);
    QFETCH(unsigned, firstBlock);
    QFETCH(int, result);
    QFETCH(QStringList, writes);
    CommonDevMtdWR common;
    WholeBlocksMtdWR wholeBlocks;
    CommonDevMtdWR& mtd = whole ? wholeBlocks : common;
    QCOMPARE(write(mtd, QByteArray(int(3 * blockBytes), '\xFF')).result, 0); // erases them
    const QStringList before = asked("write");

    const int descriptor = ::open("/dev/mtd0", O_RDWR | O_CLOEXEC);
    mtd_info_user info = {};
    QCOMPARE(ioctl(descriptor, MEMGETINFO, &info), 0);
    info.writesize = writeSize;
    erase_info_user blocks[] = {
        {0, firstBlock}, {blockBytes, blockBytes}, {2 * blockBytes, blockBytes}};
    QByteArray bytes = pattern(blockBytes + 1);
    const Said said = listenTo([&] {
        return mtd.mtd_write(descriptor, &info, data(bytes), unsigned(bytes.size()), blocks, 3);
    });
    ::close(descriptor);
    QCOMPARE(said.result, result);
    QCOMPARE(said.output, QByteArray());
    QCOMPARE(asked("write"), before + writes);
}

void TestMtd::noFlash_isSaid_data()
{
    QTest::addColumn<int>("device");
    QTest::addColumn<int>("leftOpen");
    QTest::addColumn<unsigned>("eraseSize");
    QTest::addColumn<unsigned>("writeSize");
    QTest::newRow("no such path") << 3 << 0 << 0U << 0U;
    QTest::newRow("a device of another kind") << 1 << 1 << 0U << 0U;
    QTest::newRow("flash without an erase size") << 2 << 1 << 0U << writeBytes;
    QTest::newRow("flash without a write size") << 2 << 1 << blockBytes << 0U;
}

void TestMtd::noFlash_isSaid()
{
    QFETCH(int, device);
    QFETCH(int, leftOpen);
    QFETCH(unsigned, eraseSize);
    QFETCH(unsigned, writeSize);
    MtdEmulation::Device other = goodDevice();
    other.isFlash = false;
    MtdEmulation::plug(1, other);
    MtdEmulation::Device sizeless = goodDevice();
    sizeless.eraseSize = eraseSize;
    sizeless.writeSize = writeSize;
    MtdEmulation::plug(2, sizeless);

    CommonDevMtdWR mtd;
    QByteArray bytes(10, '?');
    for (const bool writing : {true, false}) {
        const int before = openDescriptors();
        const Said said = writing ? write(mtd, bytes, uchar(device)) : listenTo([&] {
            return mtd.mtd_copy_read(data(bytes), 10, uchar(device), 0);
        });
        QCOMPARE(said.result, 1);
        QCOMPARE(said.output, QByteArray(notFlash));
        QCOMPARE(openDescriptors(), before + leftOpen);
    }
    QCOMPARE(asked("erase") + asked("write") + asked("read"), QStringList());
}

void TestMtd::argumentsThatCannotBeMeant_touchNoDevice_data()
{
    QTest::addColumn<int>("device");
    QTest::addColumn<int>("start");
    QTest::addColumn<bool>("buffer");
    QTest::addColumn<QByteArray>("line");
    for (const int device : {4, 5, 255}) {
        QTest::addRow("device %d", device)
            << device << 0 << true
            << "mtd: there is no flash device " + QByteArray::number(device) + ", only 0 to 3\n";
    }
    QTest::newRow("before the device")
        << 0 << -1 << true << QByteArray("mtd: no flash device begins at -1\n");
    QTest::newRow("no buffer") << 0 << 0 << false << QByteArray("mtd: no buffer for 10 bytes\n");
}

void TestMtd::argumentsThatCannotBeMeant_touchNoDevice()
{
    QFETCH(int, device);
    QFETCH(int, start);
    QFETCH(bool, buffer);
    QFETCH(QByteArray, line);
    CommonDevMtdWR mtd;
    QByteArray bytes(10, '?');
    unsigned char* const place = buffer ? data(bytes) : nullptr;
    for (const bool writing : {true, false}) {
        const Said said = listenTo([&] {
            return writing ? mtd.mtd_copy_write(place, 10, uchar(device), start)
                           : mtd.mtd_copy_read(place, 10, uchar(device), start);
        });
        QCOMPARE(said.result, 1);
        QCOMPARE(said.output, QByteArray());
        QCOMPARE(said.errors, line);
    }
    QCOMPARE(asked(), QStringList());
    QCOMPARE(bytes, QByteArray(10, '?'));
}

void TestMtd::descriptors_areClosed()
{
    CommonDevMtdWR mtd;
    const int before = openDescriptors();
    QCOMPARE(write(mtd, pattern(blockBytes + 1)).result, 0);
    QCOMPARE(readBack(mtd, blockBytes + 1).size(), int(blockBytes + 1));
    QCOMPARE(write(mtd, pattern(deviceBytes), 0, int(blockBytes)).result, 1);
    QCOMPARE(readBack(mtd, deviceBytes, 0, int(blockBytes)), QByteArray("failed"));
    QCOMPARE(openDescriptors(), before);
}

QTEST_GUILESS_MAIN(TestMtd)
#include "test_mtd.moc"
