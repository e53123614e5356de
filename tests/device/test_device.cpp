#include "device/DeviceScreen.h"
#include "device/EEInfoDetail.h"
#include "device/EEInfoHandle.h"
#include "device/PlateformInterface.h"
#include "device/ProcessTable.h"
#include "device/ResolverFile.h"
#include "device/ResolverText.h"
#include "device/ShellLine.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString readTool = "/root/plat-intf/readee"_s;
const QString writeTool = "/root/plat-intf/writeee count=16"_s;
const QString resolverPath = "/etc/resolv.conf"_s;

/// An image in which every byte differs from its neighbours.
QByteArray patternImage()
{
    QByteArray image(1024, '\0');
    for (int at = 0; at < image.size(); ++at) {
        image[at] = char(at * 7 + (at >> 8) + 1);
    }
    return image;
}

template <typename Record>
QByteArray bytesOf(const Record& record)
{
    return QByteArray(reinterpret_cast<const char*>(&record), int(sizeof record));
}

template <typename Record>
Record recordOf(const QByteArray& bytes)
{
    Record record;
    std::memcpy(&record, bytes.constData(), sizeof record);
    return record;
}

/// What is printed to a standard stream while it lives.
class Output
{
public:
    explicit Output(int stream) : m_stream(stream)
    {
        std::fflush(nullptr);
        m_saved = dup(stream);
        const int file = open("/tmp/output", O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(file, stream);
        close(file);
    }
    ~Output()
    {
        std::fflush(nullptr);
        dup2(m_saved, m_stream);
        close(m_saved);
    }
    Q_DISABLE_COPY_MOVE(Output)
    /// What has arrived by now: nobody flushes for the product.
    static QByteArray text() { return PanelWorld::fileContent("/tmp/output"_s); }

private:
    int m_stream;
    int m_saved;
};

/// What a function prints to standard output. The stream is back when this returns: a check that
/// fails while it is redirected would be reported into the file.
template <typename Function>
QByteArray printedBy(Function function)
{
    const Output output(STDOUT_FILENO);
    function();
    return Output::text();
}

uint openDescriptors()
{
    return QDir("/proc/self/fd"_s).count();
}

bool hasChildren()
{
    return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

EEInfoHandle& device()
{
    return *EEInfoHandle::instance();
}

bool sigPipeIsBlocked()
{
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, SIGPIPE) == 1;
}

int toolsStarted = 0;
bool startedWithSigPipeBlocked = false;

} // namespace

/// Stands before the C library's and notes the signal mask that the tool is about to inherit. The
/// tool itself cannot tell: some shells, like this panel's, clear the mask they were given.
extern "C" std::FILE* popen(const char* command, const char* mode)
{
    using Popen = std::FILE* (*)(const char*, const char*);
    static const auto real = reinterpret_cast<Popen>(dlsym(RTLD_NEXT, "popen"));
    ++toolsStarted;
    startedWithSigPipeBlocked = sigPipeIsBlocked();
    return real(command, mode);
}

class TestDevice : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void record_fieldsLieWhereTheImageHasThem_data();
    void record_fieldsLieWhereTheImageHasThem();
    void record_sizes();
    void record_integersAreLittleEndian();
    void screenWidth_isPackedInTwelveBits_data();
    void screenWidth_isPackedInTwelveBits();
    void secondAdapter_isBitZeroOnly_data();
    void secondAdapter_isBitZeroOnly();
    void deviceScreenWidth_isThatOfTheRecord();

    void readcmd_readsWhatTheToolPrints();
    void readcmd_keepsWhatTheToolDoesNotDeliver();
    void readcmd_moreThanAsked_isCut();
    void readcmd_missingTool_clearsByteZeroOnly_data();
    void readcmd_missingTool_clearsByteZeroOnly();
    void readcmd_exitStatusIsNotLookedAt();
    void readcmd_toolThatPrintsNothing_wasStarted_data();
    void readcmd_toolThatPrintsNothing_wasStarted();
    void writecmd_sendsRawBytes();
    void writecmd_missingTool_fails();
    void writecmd_toolThatTakesNothing_wasStarted_data();
    void writecmd_toolThatTakesNothing_wasStarted();
    void writecmd_toolTakesAPart_succeeds();
    void writecmd_exitStatusIsNotLookedAt_data();
    void writecmd_exitStatusIsNotLookedAt();
    void writecmd_toolNobodyMayRun_fails();
    void channel_negativeCount_isNone();
    void channel_withoutProcesses_failsToStart();
    void channel_childrenOfTheHostIgnored_stillWorks();
    void tools_doNotInheritTheGuard_data();
    void tools_doNotInheritTheGuard();
    void channel_leavesNothingBehind();

    void instance_isOne();
    void read_cutsTheRecordsOutOfTheImage();
    void read_nullRecord_runsNothing();
    void read_withoutTool_keepsTheImageReadLast();
    void read_shortImage_isNotDetected();
    void write_runsReadThenWrite();
    void write_changesOnlyTheRecordsBytes();
    void write_foreignBytesGoBackAsJustRead();
    void write_shortImage_goesBackWithWhatWasReadBefore();
    void write_imageThatChangesWithEveryRead_isReadOnce();
    void write_nullRecord_runsNothing();
    void write_failureIsReported();

    void getbright_parsesTheReply_data();
    void getbright_parsesTheReply();
    void getbright_withoutTool_isZero();
    void shellControls_runTheirLines_data();
    void shellControls_runTheirLines();
    void shellControls_statusIsThatOfTheCommand();
    void adapterControls_lineTooLong_runsNothing();
    void adapterControls_childrenOfTheHostIgnored_stillSync();
    void adapterControls_failedCommand_stillSyncs();
    void identity_isThirtyTwoBytes_data();
    void identity_isThirtyTwoBytes();
    void identity_withoutTool_fails();
    void usbSlave_isOneExactAnswer_data();
    void usbSlave_isOneExactAnswer();

    void setLogo_sendsFilesUpToSixMebibytes_data();
    void setLogo_sendsFilesUpToSixMebibytes();
    void setLogo_missingFile_saysTheSame();
    void setLogo_emptyPath_onlyStartsTheTool();
    void setLogo_toolEndsEarly_weLive_data();
    void setLogo_toolEndsEarly_weLive();
    void readLogo_fromAPipe_leavesTheFileEmpty();
    void readLogo_unwritableFile_saysSo();
    void logo_leavesNothingBehind();

    void shellLine_fitsUpTo127Bytes();
    void shellLine_isZeroFilled();
    void shellLine_resultIsThatOfTheCommand();
    void detectProcess_line_data();
    void detectProcess_line();
    void detectProcess_commandLine();

    void resolver_findsServers_data();
    void resolver_findsServers();
    void resolver_replacesServers_data();
    void resolver_replacesServers();
    void resolver_fileIsRewrittenAndBackedUp();
    void resolver_shorterText_leavesNoRest();
    void resolver_bytesOfOthers_stay();
    void resolver_lineShown_isTheLineReplaced_data();
    void resolver_lineShown_isTheLineReplaced();
    void resolver_linesOfAnAdapter_canGo();
    void resolver_unwritableFile_isLeftAlone();
    void resolver_missingFile_isMade();
};

void TestDevice::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestDevice::init()
{
    PanelWorld::restoreTools();
    PanelWorld::setImage(patternImage());
    PanelWorld::clearCommands();
}

void TestDevice::cleanup()
{
    QVERIFY2(!hasChildren(), "a tool was not waited for");
}

void TestDevice::record_fieldsLieWhereTheImageHasThem_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("listedOffset");
    QTest::addColumn<int>("listedSize");
#define FIELD(record, field, listedOffset, listedSize)                                             \
    {                                                                                              \
#record "." #field, offsetof(EEInfoDetail::record, field),                                 \
            sizeof(EEInfoDetail::record::field), listedOffset, listedSize                          \
    }
    const struct
    {
        const char* name;
        size_t offset, size;
        int listedOffset, listedSize;
    } fields[] = {
        FIELD(Flash_WR_1, reserved_0, 0, 4),      FIELD(Flash_WR_1, reserved_4, 4, 2),
        FIELD(Flash_WR_1, reserved_6, 6, 2),      FIELD(Flash_WR_1, reserved_8, 8, 2),
        FIELD(Flash_WR_1, reserved_10, 10, 16),   FIELD(Flash_WR_1, reserved_26, 26, 2),
        FIELD(Flash_WR_1, reserved_28, 28, 1),    FIELD(Flash_WR_1, brightness, 29, 2),
        FIELD(Flash_WR_1, reserved_31, 31, 2),    FIELD(Flash_WR_1, eth0_mac, 33, 6),
        FIELD(Flash_WR_1, reserved_39, 39, 2),    FIELD(Flash_WR_1, eth0_ip, 41, 4),
        FIELD(Flash_WR_1, eth0_gateway, 45, 4),   FIELD(Flash_WR_1, eth0_mask, 49, 4),
        FIELD(Flash_WR_1, reserved_53, 53, 2),    FIELD(Flash_WR_1, reserved_55, 55, 2),
        FIELD(Flash_WR_1, reserved_57, 57, 4),    FIELD(Flash_WR_1, reserved_61, 61, 16),
        FIELD(Flash_WR_1, reserved_77, 77, 40),   FIELD(Flash_WR_1, reserved_117, 117, 4),
        FIELD(Flash_WR_1, reserved_121, 121, 4),  FIELD(Flash_WR_1, reserved_125, 125, 2),
        FIELD(Flash_WR_1, reserved_127, 127, 2),  FIELD(Flash_WR_1, reserved_129, 129, 12),
        FIELD(Flash_WR_1, reserved_141, 141, 16), FIELD(Flash_WR_1, settings_close_hidden, 157, 1),
        FIELD(Flash_WR_1, reserved_158, 158, 6),  FIELD(Flash_WR_1, reserved_164, 164, 2),
        FIELD(Flash_WR_1, eth1_mac, 166, 6),      FIELD(Flash_WR_1, reserved_172, 172, 2),
        FIELD(Flash_WR_1, eth1_ip, 174, 4),       FIELD(Flash_WR_1, eth1_gateway, 178, 4),
        FIELD(Flash_WR_1, eth1_mask, 182, 4),     FIELD(Flash_WR_1, reserved_186, 186, 1),
        FIELD(Flash_ROnly, reserved_0, 0, 2),     FIELD(Flash_ROnly, reserved_2, 2, 2),
        FIELD(Flash_ROnly, reserved_4, 4, 2),     FIELD(Flash_ROnly, hw_options, 6, 1),
        FIELD(Flash_ROnly, reserved_7, 7, 2),     FIELD(Flash_ROnly, reserved_9, 9, 1),
        FIELD(Flash_ROnly, reserved_10, 10, 2),   FIELD(Flash_ROnly, reserved_12, 12, 2),
        FIELD(Flash_ROnly, screen_width, 14, 2),  FIELD(Flash_ROnly, reserved_16, 16, 1),
        FIELD(Flash_ROnly, reserved_17, 17, 1),   FIELD(Flash_ROnly, reserved_18, 18, 1),
        FIELD(Flash_ROnly, reserved_19, 19, 2),   FIELD(Flash_ROnly, reserved_21, 21, 4),
        FIELD(Flash_ROnly, reserved_25, 25, 2),   FIELD(Flash_ROnly, reserved_27, 27, 2),
        FIELD(Flash_ROnly, reserved_29, 29, 4),   FIELD(Flash_ROnly, reserved_33, 33, 4),
        FIELD(Flash_ROnly, reserved_37, 37, 4),   FIELD(Flash_ROnly, reserved_41, 41, 4),
        FIELD(Flash_ROnly, reserved_45, 45, 4),   FIELD(Flash_ROnly, reserved_49, 49, 4),
        FIELD(Flash_ROnly, reserved_53, 53, 1),   FIELD(Flash_ROnly, reserved_54, 54, 24),
        FIELD(Flash_ROnly, reserved_78, 78, 1),   FIELD(Flash_ROnly, reserved_79, 79, 1),
        FIELD(Flash_ROnly, reserved_80, 80, 45),  FIELD(Flash_ROnly, reserved_125, 125, 123),
        FIELD(Flash_ROnly, reserved_248, 248, 4), FIELD(Flash_ROnly, reserved_252, 252, 4),
        FIELD(Flash_WR_2, block_0, 0, 64),        FIELD(Flash_WR_2, block_1, 64, 64),
        FIELD(Flash_WR_2, block_2, 128, 64),
    };
#undef FIELD
    for (const auto& field : fields) {
        QTest::newRow(field.name) << int(field.offset) << int(field.size) << field.listedOffset
                                  << field.listedSize;
    }
}

void TestDevice::record_fieldsLieWhereTheImageHasThem()
{
    QFETCH(int, offset);
    QFETCH(int, size);
    QFETCH(int, listedOffset);
    QFETCH(int, listedSize);
    QCOMPARE(offset, listedOffset);
    QCOMPARE(size, listedSize);
}

void TestDevice::record_sizes()
{
    QCOMPARE(int(sizeof(EEInfoDetail::Flash_WR_1)), 187);
    QCOMPARE(int(sizeof(EEInfoDetail::Flash_ROnly)), 256);
    QCOMPARE(int(sizeof(EEInfoDetail::Flash_WR_2)), 192);
    QCOMPARE(bytesOf(EEInfoDetail::Flash_WR_1{}), QByteArray(187, '\0'));
}

void TestDevice::record_integersAreLittleEndian()
{
    EEInfoDetail::Flash_WR_1 record = {};
    record.brightness = 0x1234;
    record.eth0_ip = 192U | 168U << 8 | 1U << 16 | 10U << 24;
    QCOMPARE(bytesOf(record).mid(29, 2), QByteArray("\x34\x12", 2));
    QCOMPARE(bytesOf(record).mid(41, 4), QByteArray("\xC0\xA8\x01\x0A", 4));
}

void TestDevice::screenWidth_isPackedInTwelveBits_data()
{
    QTest::addColumn<int>("byte14");
    QTest::addColumn<int>("byte15");
    QTest::addColumn<int>("width");
    QTest::newRow("1920") << 0x80 << 0x70 << 1920;
    QTest::newRow("1280") << 0x00 << 0x50 << 1280;
    QTest::newRow("800") << 0x20 << 0x30 << 800;
    QTest::newRow("the low nibble is not part of it") << 0x80 << 0x7F << 1920;
    QTest::newRow("largest") << 0xFF << 0xF0 << 4095;
    QTest::newRow("zero") << 0x00 << 0x0F << 0;
}

void TestDevice::screenWidth_isPackedInTwelveBits()
{
    QFETCH(int, byte14);
    QFETCH(int, byte15);
    QFETCH(int, width);
    QByteArray bytes(256, '\0');
    bytes[14] = char(byte14);
    bytes[15] = char(byte15);
    const auto record = recordOf<EEInfoDetail::Flash_ROnly>(bytes);
    QCOMPARE(EEInfoDetail::screenWidth(record), width);
    const std::uint16_t others = record.screen_width;
    QCOMPARE(EEInfoDetail::packScreenWidth(width, others), others);
}

void TestDevice::secondAdapter_isBitZeroOnly_data()
{
    QTest::addColumn<int>("options");
    QTest::addColumn<bool>("second");
    QTest::newRow("00") << 0x00 << false;
    QTest::newRow("01") << 0x01 << true;
    QTest::newRow("fe") << 0xFE << false;
    QTest::newRow("ff") << 0xFF << true;
}

void TestDevice::secondAdapter_isBitZeroOnly()
{
    QFETCH(int, options);
    QFETCH(bool, second);
    EEInfoDetail::Flash_ROnly record = {};
    record.hw_options = std::uint8_t(options);
    QCOMPARE(EEInfoDetail::hasSecondAdapter(record), second);
}

void TestDevice::deviceScreenWidth_isThatOfTheRecord()
{
    PanelWorld::patchImage(256 + 14, QByteArray("\x00\x5F", 2));
    QCOMPARE(deviceScreenWidth(), 1280);
    PanelWorld::patchImage(256 + 14, QByteArray("\x80\x70", 2));
    QCOMPARE(deviceScreenWidth(), 1920);
    QCOMPARE(PanelWorld::commands(), QStringList({readTool, readTool}));
}

void TestDevice::readcmd_readsWhatTheToolPrints()
{
    QByteArray buffer(1024, '?');
    QCOMPARE(PlateformInterface().readcmd("/root/plat-intf/readee", buffer.data(), 1024), 0);
    QCOMPARE(buffer, patternImage());
}

void TestDevice::readcmd_keepsWhatTheToolDoesNotDeliver()
{
    QByteArray buffer(8, '?');
    QCOMPARE(PlateformInterface().readcmd("printf abc", buffer.data(), 8), 0);
    QCOMPARE(buffer, QByteArray("abc?????"));
    buffer.fill('?');
    QCOMPARE(PlateformInterface().readcmd("true", buffer.data(), 8), 0);
    QCOMPARE(buffer, QByteArray("\0???????", 8));
}

void TestDevice::readcmd_moreThanAsked_isCut()
{
    QByteArray buffer(8, '?');
    QCOMPARE(PlateformInterface().readcmd("printf abcdefgh", buffer.data(), 4), 0);
    QCOMPARE(buffer, QByteArray("abcd????"));
    // A tool that prints on without end is no reason to wait.
    QCOMPARE(PlateformInterface().readcmd("yes", buffer.data(), 4), 0);
    QCOMPARE(buffer, QByteArray("y\ny\n????"));
}

void TestDevice::readcmd_missingTool_clearsByteZeroOnly_data()
{
    QTest::addColumn<bool>("present");
    QTest::newRow("missing") << false;
    QTest::newRow("not executable") << true;
}

void TestDevice::readcmd_missingTool_clearsByteZeroOnly()
{
    QFETCH(bool, present);
    if (present) {
        QFile::setPermissions(readTool, QFile::ReadOwner);
    } else {
        PanelWorld::replaceTool("readee"_s, QByteArray());
    }
    QByteArray buffer(1024, '?');
    const Output errors(STDERR_FILENO);
    QCOMPARE(PlateformInterface().readcmd("/root/plat-intf/readee", buffer.data(), 1024), -1);
    QCOMPARE(buffer, QByteArray("\0", 1) + QByteArray(1023, '?'));
    QVERIFY(Output::text().contains(present ? "Fail to popen\n: Permission denied\n"
                                            : "Fail to popen\n: No such file or directory\n"));
}

void TestDevice::readcmd_exitStatusIsNotLookedAt()
{
    QByteArray buffer(4, '?');
    QCOMPARE(PlateformInterface().readcmd("printf ab; exit 3", buffer.data(), 4), 0);
    QCOMPARE(buffer, QByteArray("ab??"));
    QCOMPARE(PlateformInterface().readcmd("kill -9 $$", buffer.data(), 4), 0);
}

void TestDevice::readcmd_toolThatPrintsNothing_wasStarted_data()
{
    QTest::addColumn<QByteArray>("tool");
    QTest::newRow("as of a missing command") << QByteArray("exit 127");
    QTest::newRow("as of a command nobody may run") << QByteArray("exit 126");
}

void TestDevice::readcmd_toolThatPrintsNothing_wasStarted()
{
    QFETCH(QByteArray, tool);
    PanelWorld::replaceTool("readee"_s, tool);
    QByteArray buffer(4, '?');
    const Output errors(STDERR_FILENO);
    QCOMPARE(PlateformInterface().readcmd("/root/plat-intf/readee", buffer.data(), 4), 0);
    QCOMPARE(buffer, QByteArray("\0???", 4));
    QVERIFY(!Output::text().contains("Fail to popen"));
}

void TestDevice::writecmd_sendsRawBytes()
{
    QByteArray bytes = patternImage(); // zeros and all
    QCOMPARE(PlateformInterface().writecmd("cat > /tmp/taken", bytes.data(), 1024), 0);
    QCOMPARE(PanelWorld::fileContent("/tmp/taken"_s), patternImage());
    QCOMPARE(PlateformInterface().writecmd("cat > /tmp/taken", bytes.data(), 0), 0);
    QCOMPARE(PanelWorld::fileContent("/tmp/taken"_s), QByteArray());
}

void TestDevice::writecmd_missingTool_fails()
{
    PanelWorld::replaceTool("writeee"_s, QByteArray());
    for (const int size : {1, 32, 1024, 1000000}) {
        QByteArray bytes(size, 'x');
        const Output errors(STDERR_FILENO);
        QCOMPARE(
            PlateformInterface().writecmd("/root/plat-intf/writeee", bytes.data(), bytes.size()),
            -1);
        QVERIFY(Output::text().contains("Fail to popen\n: No such file or directory\n"));
    }
}

void TestDevice::writecmd_toolThatTakesNothing_wasStarted_data()
{
    QTest::addColumn<QByteArray>("tool");
    QTest::addColumn<int>("size");
    for (const char* tool : {"exit 0", "exit 1", "sleep 0.05; exit 0", "exec 0<&-; sleep 0.05"}) {
        for (const int size : {1, 1024, 65536, 65537, 1000000}) {
            QTest::addRow("%s, %d bytes", tool, size) << QByteArray(tool) << size;
        }
    }
}

void TestDevice::writecmd_toolThatTakesNothing_wasStarted()
{
    QFETCH(QByteArray, tool);
    QFETCH(int, size);
    QByteArray bytes(size, 'x');
    const int result = inOtherProcess([&] {
        std::signal(SIGPIPE, SIG_DFL); // deadly unless it is kept away
        const int written =
            PlateformInterface().writecmd(tool.constData(), bytes.data(), bytes.size());
        return written == 0 && std::signal(SIGPIPE, SIG_DFL) == SIG_DFL ? 1 : 0;
    });
    QCOMPARE(result, 1);
}

void TestDevice::writecmd_toolTakesAPart_succeeds()
{
    QByteArray bytes(1024, 'x');
    QCOMPARE(PlateformInterface().writecmd("head -c 16 > /dev/null", bytes.data(), 1024), 0);
    QCOMPARE(PlateformInterface().writecmd("sleep 0.05; dd bs=1 count=1 of=/dev/null 2>/dev/null",
                                           bytes.data(), 1024),
             0);
}

void TestDevice::writecmd_exitStatusIsNotLookedAt_data()
{
    QTest::addColumn<QByteArray>("tool");
    QTest::newRow("any") << QByteArray("cat > /dev/null; exit 7");
    QTest::newRow("killed") << QByteArray("cat > /dev/null; kill -9 $$");
    // A tool that is there was started, whatever its own last command came to.
    QTest::newRow("as of a missing command") << QByteArray("cat > /dev/null; exit 127");
    QTest::newRow("the same, nothing taken") << QByteArray("exit 127");
    QTest::newRow("as of a command nobody may run") << QByteArray("cat > /dev/null; exit 126");
}

void TestDevice::writecmd_exitStatusIsNotLookedAt()
{
    QFETCH(QByteArray, tool);
    QByteArray bytes(40, 'x');
    PanelWorld::replaceTool("writeee"_s, tool);
    const Output errors(STDERR_FILENO);
    QCOMPARE(PlateformInterface().writecmd("/root/plat-intf/writeee count=16", bytes.data(),
                                           bytes.size()),
             0);
    QVERIFY(!Output::text().contains("Fail to popen"));
}

void TestDevice::writecmd_toolNobodyMayRun_fails()
{
    QFile::setPermissions("/root/plat-intf/writeee"_s, QFile::ReadOwner);
    QByteArray bytes(40, 'x');
    const Output errors(STDERR_FILENO);
    QCOMPARE(PlateformInterface().writecmd("/root/plat-intf/writeee count=16", bytes.data(),
                                           bytes.size()),
             -1);
    QVERIFY(Output::text().contains("Fail to popen\n: Permission denied\n"));
}

void TestDevice::channel_negativeCount_isNone()
{
    char byte = 'x';
    QCOMPARE(PlateformInterface().readcmd("printf ab", &byte, -1), 0);
    QCOMPARE(byte, '\0');
    byte = 'x';
    QCOMPARE(PlateformInterface().writecmd("cat > /tmp/taken", &byte, -1), 0);
    QCOMPARE(PanelWorld::fileContent("/tmp/taken"_s), QByteArray());
}

void TestDevice::channel_withoutProcesses_failsToStart()
{
    const int result = inOtherProcess([] {
        // With no descriptor left, popen itself fails.
        while (dup(0) >= 0) {
        }
        char buffer[4] = {'a', 'b', 'c', 'd'};
        const bool read = PlateformInterface().readcmd("printf xyz", buffer, 4) == -1 &&
                          std::memcmp(buffer, "\0bcd", 4) == 0;
        return read && PlateformInterface().writecmd("cat", buffer, 4) == -1 ? 1 : 0;
    });
    QCOMPARE(result, 1);
}

void TestDevice::channel_childrenOfTheHostIgnored_stillWorks()
{
    const int result = inOtherProcess([] {
        std::signal(SIGCHLD, SIG_IGN);
        char buffer[4] = {};
        return PlateformInterface().readcmd("printf ab", buffer, 4) == 0 && buffer[1] == 'b' &&
                       PlateformInterface().writecmd("cat > /dev/null", buffer, 4) == 0
                   ? 1
                   : 0;
    });
    QCOMPARE(result, 1);
}

void TestDevice::tools_doNotInheritTheGuard_data()
{
    QTest::addColumn<quintptr>("operation");
    const auto row = [](const char* name, void (*operation)()) {
        QTest::newRow(name) << quintptr(operation);
    };
    row("writecmd", [] {
        char byte = 'x';
        PlateformInterface().writecmd("cat > /dev/null", &byte, 1);
    });
    row("readcmd", [] {
        char byte = 'x';
        PlateformInterface().readcmd("true", &byte, 1);
    });
    row("setLogo", [] { device().setLogo(std::string()); });
}

void TestDevice::tools_doNotInheritTheGuard()
{
    QFETCH(quintptr, operation);
    toolsStarted = 0;
    startedWithSigPipeBlocked = false;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a test table cannot hold a function
    reinterpret_cast<void (*)()>(operation)();
    QCOMPARE(toolsStarted, 1);
    QVERIFY(!startedWithSigPipeBlocked);
    QVERIFY(!sigPipeIsBlocked());
}

void TestDevice::channel_leavesNothingBehind()
{
    PanelWorld::replaceTool("writeee"_s, QByteArray());
    QByteArray bytes(100000, 'x');
    const uint before = openDescriptors();
    const Output errors(STDERR_FILENO);
    const char* const commands[] = {"cat > /dev/null", "exit 1", "/root/plat-intf/writeee"};
    for (const char* command : commands) {
        PlateformInterface().writecmd(command, bytes.data(), bytes.size());
        PlateformInterface().writecmd(command, bytes.data(), 10);
        PlateformInterface().readcmd(command, bytes.data(), 10);
    }
    QCOMPARE(openDescriptors(), before + 1); // the redirected stream
}

void TestDevice::instance_isOne()
{
    QVERIFY(EEInfoHandle::instance());
    QCOMPARE(EEInfoHandle::instance(), EEInfoHandle::instance());
}

void TestDevice::read_cutsTheRecordsOutOfTheImage()
{
    EEInfoDetail::Flash_WR_1 wr1 = {};
    EEInfoDetail::Flash_ROnly rOnly = {};
    EEInfoDetail::Flash_WR_2 wr2 = {};
    device().read_flash_wr1_info(&wr1);
    device().read_flash_r_info(&rOnly);
    device().read_flash_wr2_info(&wr2);
    QCOMPARE(bytesOf(wr1), patternImage().mid(0, 187));
    QCOMPARE(bytesOf(rOnly), patternImage().mid(256, 256));
    QCOMPARE(bytesOf(wr2), patternImage().mid(512, 192));
    QCOMPARE(PanelWorld::commands(), QStringList({readTool, readTool, readTool}));
}

void TestDevice::read_nullRecord_runsNothing()
{
    device().read_flash_wr1_info(nullptr);
    device().read_flash_r_info(nullptr);
    device().read_flash_wr2_info(nullptr);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestDevice::read_withoutTool_keepsTheImageReadLast()
{
    EEInfoDetail::Flash_WR_1 record = {};
    device().read_flash_wr1_info(&record);
    PanelWorld::replaceTool("readee"_s, QByteArray());
    record = {};
    const Output errors(STDERR_FILENO);
    device().read_flash_wr1_info(&record);
    QCOMPARE(bytesOf(record), patternImage().mid(0, 187).replace(0, 1, QByteArray("\0", 1)));
}

void TestDevice::read_shortImage_isNotDetected()
{
    EEInfoDetail::Flash_WR_1 record = {};
    device().read_flash_wr1_info(&record);
    PanelWorld::replaceTool("readee"_s, "printf ABC");
    device().read_flash_wr1_info(&record);
    QCOMPARE(bytesOf(record), patternImage().mid(0, 187).replace(0, 3, "ABC"));
}

void TestDevice::write_runsReadThenWrite()
{
    EEInfoDetail::Flash_WR_1 wr1 = {};
    QCOMPARE(device().write_flash_wr1_info(&wr1), 0);
    QCOMPARE(PanelWorld::commands(), QStringList({readTool, writeTool}));
    PanelWorld::clearCommands();
    EEInfoDetail::Flash_WR_2 wr2 = {};
    QCOMPARE(device().write_flash_wr2_info(&wr2), 0);
    QCOMPARE(PanelWorld::commands(), QStringList({readTool, writeTool}));
    QCOMPARE(PanelWorld::inputOf(1).size(), 1024);
}

void TestDevice::write_changesOnlyTheRecordsBytes()
{
    auto wr1 = recordOf<EEInfoDetail::Flash_WR_1>(QByteArray(187, '\xEE'));
    QCOMPARE(device().write_flash_wr1_info(&wr1), 0);
    QCOMPARE(PanelWorld::image(), patternImage().replace(0, 187, QByteArray(187, '\xEE')));
    PanelWorld::setImage(patternImage());
    auto wr2 = recordOf<EEInfoDetail::Flash_WR_2>(QByteArray(192, '\xDD'));
    QCOMPARE(device().write_flash_wr2_info(&wr2), 0);
    QCOMPARE(PanelWorld::image(), patternImage().replace(512, 192, QByteArray(192, '\xDD')));
}

void TestDevice::write_foreignBytesGoBackAsJustRead()
{
    EEInfoDetail::Flash_WR_1 wr1 = {};
    device().read_flash_wr1_info(&wr1);
    // Meanwhile somebody else changes the image, in our bytes and in theirs.
    QByteArray changed = patternImage();
    for (const int at : {5, 187, 200, 255, 256, 300, 511, 512, 703, 704, 900, 1023}) {
        changed[at] = char(changed.at(at) ^ 0x55);
    }
    PanelWorld::setImage(changed);
    QCOMPARE(device().write_flash_wr1_info(&wr1), 0);
    QCOMPARE(PanelWorld::image(), changed.replace(0, 187, patternImage().left(187)));
}

void TestDevice::write_shortImage_goesBackWithWhatWasReadBefore()
{
    EEInfoDetail::Flash_WR_1 wr1 = {};
    device().read_flash_wr1_info(&wr1); // all 1024 bytes
    PanelWorld::clearCommands();
    PanelWorld::replaceTool("readee"_s, "printf ABC");
    auto wr2 = recordOf<EEInfoDetail::Flash_WR_2>(QByteArray(192, '\xDD'));
    QCOMPARE(device().write_flash_wr2_info(&wr2), 0);
    const QByteArray sent =
        patternImage().replace(0, 3, "ABC").replace(512, 192, QByteArray(192, '\xDD'));
    QCOMPARE(PanelWorld::inputOf(0), sent);
    // Longer than what precedes the record's end, shorter than the image.
    PanelWorld::replaceTool("readee"_s, "head -c 800 /dev/zero");
    wr1 = recordOf<EEInfoDetail::Flash_WR_1>(QByteArray(187, '\xEE'));
    QCOMPARE(device().write_flash_wr1_info(&wr1), 0);
    QCOMPARE(PanelWorld::inputOf(1),
             QByteArray(187, '\xEE') + QByteArray(800 - 187, '\0') + sent.mid(800));
}

void TestDevice::write_imageThatChangesWithEveryRead_isReadOnce()
{
    // A device that counts its reads in bytes of others, as octal digits.
    PanelWorld::writeFile("/tmp/reads"_s, "0");
    PanelWorld::replaceTool("readee"_s,
                            "n=$(($(cat /tmp/reads) + 1))\n"
                            "echo $n > /tmp/reads\n"
                            "for at in 200 300 900; do\n"
                            "    printf \"\\\\00$n\" | dd of=/panel/state/image bs=1 seek=$at "
                            "conv=notrunc 2>/dev/null\n"
                            "done\n"
                            "cat /panel/state/image");
    const auto expectedAfter = [](char reads) {
        QByteArray image = patternImage();
        for (const int at : {200, 300, 900}) {
            image[at] = reads;
        }
        return image;
    };
    EEInfoDetail::Flash_WR_1 wr1 = {};
    device().read_flash_wr1_info(&wr1);
    EEInfoDetail::Flash_WR_2 wr2 = {};
    device().read_flash_wr2_info(&wr2);
    PanelWorld::clearCommands();

    wr1.brightness = 0xABCD;
    QCOMPARE(device().write_flash_wr1_info(&wr1), 0);
    QCOMPARE(PanelWorld::inputOf(0), expectedAfter(3).replace(29, 2, QByteArray("\xCD\xAB", 2)));
    std::memset(wr2.block_1, 0x11, sizeof wr2.block_1);
    QCOMPARE(device().write_flash_wr2_info(&wr2), 0);
    QCOMPARE(PanelWorld::inputOf(1), expectedAfter(4)
                                         .replace(29, 2, QByteArray("\xCD\xAB", 2))
                                         .replace(576, 64, QByteArray(64, '\x11')));
}

void TestDevice::write_nullRecord_runsNothing()
{
    QCOMPARE(device().write_flash_wr1_info(nullptr), -1);
    QCOMPARE(device().write_flash_wr2_info(nullptr), -1);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestDevice::write_failureIsReported()
{
    EEInfoDetail::Flash_WR_1 record = {};
    PanelWorld::replaceTool("writeee"_s, QByteArray());
    const Output errors(STDERR_FILENO);
    QCOMPARE(device().write_flash_wr1_info(&record), -1);
    PanelWorld::replaceTool("writeee"_s, "exit 0");
    QCOMPARE(device().write_flash_wr1_info(&record), 0); // it was started
    QCOMPARE(PanelWorld::image(), patternImage());
}

void TestDevice::getbright_parsesTheReply_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("level");
    QTest::newRow("number") << QByteArray("140\n") << 140;
    QTest::newRow("no line end") << QByteArray("76") << 76;
    QTest::newRow("leading white space") << QByteArray(" \t\n 92\n") << 92;
    QTest::newRow("stops at the first non-digit") << QByteArray("12 34") << 12;
    QTest::newRow("hexadecimal is not read") << QByteArray("0x10") << 0;
    QTest::newRow("negative") << QByteArray("-5") << -5;
    QTest::newRow("nothing") << QByteArray() << 0;
    QTest::newRow("no number") << QByteArray("bright") << 0;
    QTest::newRow("32 bytes without an end") << QByteArray(32, ' ').replace(31, 1, "7") << 7;
    QTest::newRow("what lies behind 32 bytes")
        << QByteArray(32, ' ').replace(31, 1, "7") + "89" << 7;
    QTest::newRow("beyond an int") << QByteArray("99999999999999999999") << INT_MAX;
}

void TestDevice::getbright_parsesTheReply()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, level);
    PanelWorld::writeFile("/tmp/reply"_s, reply);
    PanelWorld::replaceTool("getbright"_s, "cat /tmp/reply");
    QCOMPARE(device().getbright(), level);
}

void TestDevice::getbright_withoutTool_isZero()
{
    PanelWorld::replaceTool("getbright"_s, QByteArray());
    const Output errors(STDERR_FILENO);
    QCOMPARE(device().getbright(), 0);
}

using Control = int (*)();

void TestDevice::shellControls_runTheirLines_data()
{
    QTest::addColumn<quintptr>("control");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char* name, Control control, const QStringList& lines) {
        QTest::newRow(name) << quintptr(control) << lines;
    };
    const QString sync = "sync"_s;
    const auto line = [](const char* text) { return QString::fromLatin1(text); };
    row("brightness", [] { return device().setBright(92); },
        {line("/root/plat-intf/setbright 92")});
    row("dark", [] { return device().setBright(0); }, {line("/root/plat-intf/setbright 0")});
    row("long beep", [] { return device().setBeep(true); }, {line("/root/plat-intf/setbeep long")});
    row("short beep", [] { return device().setBeep(false); },
        {line("/root/plat-intf/setbeep short")});
    row("address", [] { return device().setIP(0, "10.0.0.9"); },
        {line("ifconfig eth0 10.0.0.9"), sync});
    row("mask", [] { return device().setMask(1, "255.0.0.0"); },
        {line("ifconfig eth1 netmask 255.0.0.0"), sync});
    row("gateway of eth0", [] { return device().setGateway(0, "10.0.0.1"); },
        {line("route add default gw 10.0.0.1"), sync});
    row("gateway of eth1", [] { return device().setGateway(1, "10.0.0.1"); },
        {line("route add default gw 10.0.0.1"), sync});
    row("on", [] { return device().enableNetwork(1); }, {line("ifconfig eth1 up"), sync});
    row("off", [] { return device().disableNetwork(0); }, {line("ifconfig eth0 down"), sync});
    row("restart", [] { return device().reboot(); }, {line("reboot")});
}

void TestDevice::shellControls_runTheirLines()
{
    QFETCH(quintptr, control);
    QFETCH(QStringList, lines);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a test table cannot hold a function
    QCOMPARE(reinterpret_cast<Control>(control)(), 0);
    QCOMPARE(PanelWorld::commands(), lines);
}

void TestDevice::shellControls_statusIsThatOfTheCommand()
{
    PanelWorld::replaceTool("setbright"_s, "exit 3");
    QCOMPARE(WEXITSTATUS(device().setBright(1)), 3);
    PanelWorld::replaceTool("setbeep"_s, QByteArray());
    const Output errors(STDERR_FILENO);
    QCOMPARE(WEXITSTATUS(device().setBeep(true)), 127);
    QVERIFY(Output::text().contains("not found"));
}

void TestDevice::adapterControls_lineTooLong_runsNothing()
{
    const Output errors(STDERR_FILENO);
    const std::string tooLong(120, '1');
    QCOMPARE(device().setIP(0, tooLong), -1);
    QCOMPARE(device().setMask(0, tooLong), -1);
    QCOMPARE(device().setGateway(0, tooLong), -1);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QVERIFY(!Output::text().isEmpty());
}

void TestDevice::adapterControls_childrenOfTheHostIgnored_stillSync()
{
    // The status of the command is then unknown: no reason to think it was not run.
    const int result = inOtherProcess([] {
        std::signal(SIGCHLD, SIG_IGN);
        device().setIP(0, "10.0.0.9");
        device().disableNetwork(1);
        return std::signal(SIGCHLD, SIG_DFL) == SIG_IGN ? 1 : 0;
    });
    QCOMPARE(result, 1);
    QCOMPARE(PanelWorld::commands(),
             QStringList({"ifconfig eth0 10.0.0.9", "sync", "ifconfig eth1 down", "sync"}));
}

void TestDevice::adapterControls_failedCommand_stillSyncs()
{
    const Output errors(STDERR_FILENO);
    // The shell cannot even parse this one.
    QCOMPARE(device().setIP(0, "10.0.0.9 ("), 0);
    QCOMPARE(PanelWorld::commands(), QStringList({"sync"_s}));
}

void TestDevice::identity_isThirtyTwoBytes_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("sent");
    const QByteArray thirtyThree("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456");
    QTest::newRow("two characters") << QByteArray("A7") << QByteArray("A7") + QByteArray(30, '\0');
    QTest::newRow("empty") << QByteArray("") << QByteArray(32, '\0');
    QTest::newRow("31") << thirtyThree.left(31) << thirtyThree.left(31) + QByteArray(1, '\0');
    QTest::newRow("32 fill the field") << thirtyThree.left(32) << thirtyThree.left(32);
    QTest::newRow("33 are cut") << thirtyThree << thirtyThree.left(32);
}

void TestDevice::identity_isThirtyTwoBytes()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, sent);
    QCOMPARE(device().setserial(text.constData()), 0);
    QCOMPARE(device().setmpi(text.constData()), 0);
    QCOMPARE(PanelWorld::commands(),
             QStringList({"/root/plat-intf/setserial"_s, "/root/plat-intf/setmpi"_s}));
    QCOMPARE(PanelWorld::inputOf(0), sent);
    QCOMPARE(PanelWorld::inputOf(1), sent);
}

void TestDevice::identity_withoutTool_fails()
{
    PanelWorld::replaceTool("setserial"_s, QByteArray());
    PanelWorld::replaceTool("setmpi"_s, "exit 0"); // takes nothing, but was started
    const Output errors(STDERR_FILENO);
    QCOMPARE(device().setserial("A7"), -1);
    QCOMPARE(Output::text().count("Fail to popen\n: "), 1);
    QCOMPARE(device().setmpi("A7"), 0);
    QCOMPARE(Output::text().count("Fail to popen\n: "), 1);
}

void TestDevice::usbSlave_isOneExactAnswer_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("slave");
    QTest::newRow("plug-in and a line end") << QByteArray("plug-in\n") << true;
    QTest::newRow("without its line end it is cut") << QByteArray("plug-in") << false;
    QTest::newRow("two line ends") << QByteArray("plug-in\n\n") << false;
    QTest::newRow("plug-out") << QByteArray("plug-out\n") << false;
    QTest::newRow("another case") << QByteArray("Plug-in\n") << false;
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("a line end") << QByteArray("\n") << false;
    QTest::newRow("two characters are not cut") << QByteArray("pl") << false;
    QTest::newRow("32 bytes without an end") << QByteArray(32, 'p') << false;
}

void TestDevice::usbSlave_isOneExactAnswer()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, slave);
    PanelWorld::writeFile("/tmp/reply"_s, reply);
    PanelWorld::replaceTool("getusbslave"_s, "cat /tmp/reply");
    QCOMPARE(device().isusbslave(), slave);
}

namespace {

const QString logoPath = "/tmp/logo.bin"_s;

void makeLogo(qint64 size)
{
    QFile file(logoPath);
    if (!file.open(QIODevice::WriteOnly) || file.write("start") < 0 || !file.resize(size)) {
        qFatal("cannot make a logo");
    }
}

} // namespace

void TestDevice::setLogo_sendsFilesUpToSixMebibytes_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("sent");
    QTest::addColumn<QByteArray>("said");
    const QByteArray tooLarge("pic size is out of 6M");
    QTest::newRow("empty") << 0 << false << QByteArray();
    QTest::newRow("one byte") << 1 << true << QByteArray();
    QTest::newRow("larger than a pipe") << 200000 << true << QByteArray();
    QTest::newRow("exactly six") << 6291456 << true << QByteArray();
    QTest::newRow("one more") << 6291457 << false << tooLarge;
}

void TestDevice::setLogo_sendsFilesUpToSixMebibytes()
{
    QFETCH(int, size);
    QFETCH(bool, sent);
    QFETCH(QByteArray, said);
    makeLogo(size);
    QCOMPARE(printedBy([] { device().setLogo(logoPath.toStdString()); }), said);
    QCOMPARE(PanelWorld::commands(), QStringList({"/root/plat-intf/writelogo"_s}));
    QCOMPARE(PanelWorld::inputOf(0), sent ? PanelWorld::fileContent(logoPath) : QByteArray());
}

void TestDevice::setLogo_missingFile_saysTheSame()
{
    QCOMPARE(printedBy([] { device().setLogo("/tmp/no-logo"); }),
             QByteArray("pic size is out of 6M"));
    QCOMPARE(PanelWorld::inputOf(0), QByteArray());
}

void TestDevice::setLogo_emptyPath_onlyStartsTheTool()
{
    QCOMPARE(printedBy([] { device().setLogo(std::string()); }), QByteArray());
    QCOMPARE(PanelWorld::commands(), QStringList({"/root/plat-intf/writelogo"_s}));
    QCOMPARE(PanelWorld::inputOf(0), QByteArray());
}

void TestDevice::setLogo_toolEndsEarly_weLive_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("one byte") << 1;
    QTest::newRow("less than the stream's buffer") << 1000;
    QTest::newRow("fits into the pipe") << 65536;
    QTest::newRow("larger than the pipe") << 1000000;
}

void TestDevice::setLogo_toolEndsEarly_weLive()
{
    QFETCH(int, size);
    makeLogo(size);
    PanelWorld::replaceTool("writelogo"_s, "exit 1");
    QCOMPARE(inOtherProcess([] {
                 std::signal(SIGPIPE, SIG_DFL);
                 device().setLogo(logoPath.toStdString());
                 return 1;
             }),
             1);
}

void TestDevice::readLogo_fromAPipe_leavesTheFileEmpty()
{
    PanelWorld::setState("logo"_s, "a picture");
    PanelWorld::writeFile(logoPath, "what was there before");
    QCOMPARE(printedBy([] { device().readLogo(logoPath.toStdString()); }),
             QByteArray("------start------"));
    QVERIFY(QFile::exists(logoPath));
    QCOMPARE(PanelWorld::fileContent(logoPath), QByteArray());
    QCOMPARE(PanelWorld::commands(), QStringList({"/root/plat-intf/readlogo"_s}));
}

void TestDevice::readLogo_unwritableFile_saysSo()
{
    const Output errors(STDERR_FILENO);
    device().readLogo("/tmp/nowhere/logo");
    QVERIFY(Output::text().contains("readLogo Fail to popen fp2\n: No such file or directory"));
}

void TestDevice::logo_leavesNothingBehind()
{
    makeLogo(1000);
    const uint before = openDescriptors();
    printedBy([] {
        const Output errors(STDERR_FILENO);
        for (const char* path : {"/tmp/logo.bin", "/tmp/no-logo", "", "/tmp/nowhere/logo"}) {
            device().setLogo(path);
            device().readLogo(path);
        }
    });
    QCOMPARE(openDescriptors(), before);
}

void TestDevice::shellLine_fitsUpTo127Bytes()
{
    const QByteArray fits(127, 'a');
    char line[ShellLine::bufferBytes];
    QVERIFY(ShellLine::format(line, "%s", fits.constData()));
    QCOMPARE(QByteArray(line), fits);

    // A line of 127 bytes runs, one of 128 does not.
    const QByteArray touch("touch /tmp/");
    const QByteArray name(127 - touch.size(), 'n');
    QCOMPARE(ShellLine::run("touch /tmp/%s", name.constData()), 0);
    QVERIFY(QFile::exists("/tmp/"_s + QString::fromLatin1(name)));
    const Output errors(STDERR_FILENO);
    QCOMPARE(ShellLine::run("touch /tmp/%sx", name.constData()), -1);
    QVERIFY(!QFile::exists("/tmp/"_s + QString::fromLatin1(name + 'x')));
    QVERIFY(Output::text().contains("127 bytes"));
    QVERIFY(!ShellLine::format(line, "%sx", fits.constData()));
    QCOMPARE(QByteArray(line), QByteArray());
}

void TestDevice::shellLine_isZeroFilled()
{
    char line[ShellLine::bufferBytes];
    std::memset(line, '?', sizeof line);
    QVERIFY(ShellLine::format(line, "ls %d", 7));
    QCOMPARE(QByteArray(line, sizeof line), QByteArray("ls 7") + QByteArray(124, '\0'));
}

void TestDevice::shellLine_resultIsThatOfTheCommand()
{
    QCOMPARE(ShellLine::run("exit %d", 0), 0);
    QCOMPARE(WEXITSTATUS(ShellLine::run("exit %d", 5)), 5);
}

void TestDevice::detectProcess_line_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<int>("result");
    QTest::newRow("process id first") << QByteArray("  123 root runtime -x\n") << 123;
    QTest::newRow("first of two lines") << QByteArray("7 a runtime\n8 b runtime\n") << 7;
    QTest::newRow("no such process") << QByteArray("7 a other\n") << 1;
    QTest::newRow("empty list") << QByteArray() << 1;
    QTest::newRow("a name in front") << QByteArray("root 123 runtime\n") << 0;
    QTest::newRow("a long line") << QByteArray("55 ") + QByteArray(500, 'x') + "runtime\n" << 55;
}

void TestDevice::detectProcess_line()
{
    QFETCH(QByteArray, list);
    QFETCH(int, result);
    PanelWorld::writeFile("/tmp/list"_s, list);
    // A process list of our own, in front of the panel's.
    QDir().mkpath("/tmp/bin"_s);
    PanelWorld::writeFile("/tmp/bin/ps"_s, "#!/bin/sh\ncat /tmp/list\n");
    QFile::setPermissions("/tmp/bin/ps"_s, QFile::ReadOwner | QFile::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/tmp/bin:" + path);
    const int found = detectProcess("runtime");
    qputenv("PATH", path);
    QCOMPARE(found, result);
}

void TestDevice::detectProcess_commandLine()
{
    detectProcess("runtime");
    const QStringList commands = PanelWorld::commands();
    QVERIFY(commands.contains("ps -ef"_s));
    QVERIFY(commands.contains("grep runtime"_s));
    QVERIFY(commands.contains("grep -v grep"_s));
    QCOMPARE(commands.size(), 3);

    const Output errors(STDERR_FILENO);
    QCOMPARE(detectProcess(QByteArray(200, 'x').constData()), -1);
    QCOMPARE(PanelWorld::commands().size(), 3);
}

void TestDevice::resolver_findsServers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("adapter");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("address");
    const auto text = "nameserver 1.1.1.1 # eth1\nnameserver 2.2.2.2 # eth0\n"_s;
    QTest::newRow("eth0 first") << text << 0 << 0 << "2.2.2.2";
    QTest::newRow("eth0 has no backup") << text << 0 << 1 << "";
    QTest::newRow("eth1 first") << text << 1 << 0 << "1.1.1.1";
    QTest::newRow("third line is ignored") << "a 1 # eth0\nb 2 # eth0\nc 3 # eth0" << 0 << 1 << "2";
    QTest::newRow("tag at the start does not count") << "eth0 9.9.9.9" << 0 << 0 << "";
    QTest::newRow("untagged") << "nameserver 8.8.8.8" << 0 << 0 << "";
    QTest::newRow("one word only") << "# eth0" << 0 << 0 << "eth0";
    QTest::newRow("no blank at all") << "xeth0" << 0 << 0 << "";
    QTest::newRow("two blanks") << "nameserver  8.8.8.8 # eth0" << 0 << 0 << "";
    QTest::newRow("empty") << "" << 0 << 0 << "";
    QTest::newRow("no such index") << text << 0 << -1 << "";
    QTest::newRow("eth10 counts as eth1") << "nameserver 5.5.5.5 # eth10" << 1 << 0 << "5.5.5.5";
}

void TestDevice::resolver_findsServers()
{
    QFETCH(QString, text);
    QFETCH(int, adapter);
    QFETCH(int, index);
    QFETCH(QString, address);
    QCOMPARE(ResolverText::server(text.toUtf8(), adapter, index), address);
    QVERIFY(index >= 0 || !ResolverText::hasServer(text.toUtf8(), adapter, index));
}

void TestDevice::resolver_replacesServers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("adapter");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("result");
    const auto text = "nameserver 1.1.1.1 # eth1\nnameserver 2.2.2.2 # eth0"_s;
    QTest::newRow("in place") << text << 1 << 0
                              << "nameserver 9.9.9.9 # eth1\nnameserver 2.2.2.2 # eth0";
    QTest::newRow("missing backup is appended")
        << text << 0 << 1 << text + "\nnameserver 9.9.9.9 # eth0"_s;
    QTest::newRow("backup without a first") << "nameserver 2.2.2.2 # eth0" << 1 << 1
                                            << "nameserver 2.2.2.2 # eth0\n"
                                               "nameserver 9.9.9.9 # eth1";
    QTest::newRow("blank lines and the last line end go")
        << "\n\nsearch plant\n\nnameserver 8.8.8.8\n"
        << 0 << 0 << "search plant\nnameserver 8.8.8.8\nnameserver 9.9.9.9 # eth0";
    QTest::newRow("empty file") << "" << 0 << 0 << "nameserver 9.9.9.9 # eth0";
    QTest::newRow("foreign lines stay to the byte")
        << "  odd \t line\r\nnameserver 2.2.2.2 # eth0" << 0 << 0
        << "  odd \t line\r\nnameserver 9.9.9.9 # eth0";
}

void TestDevice::resolver_replacesServers()
{
    QFETCH(QString, text);
    QFETCH(int, adapter);
    QFETCH(int, index);
    QFETCH(QString, result);
    QCOMPARE(ResolverText::replaceServer(text.toUtf8(), adapter, index, "9.9.9.9"_s),
             result.toUtf8());
}

void TestDevice::resolver_fileIsRewrittenAndBackedUp()
{
    PanelWorld::writeFile(resolverPath, "nameserver 1.1.1.1 # eth1\n\nnameserver 8.8.8.8\n");
    device().setDNSToSys(0, 0, "7.7.7.7"_s);
    const QByteArray expected("nameserver 1.1.1.1 # eth1\nnameserver 8.8.8.8\n"
                              "nameserver 7.7.7.7 # eth0");
    QCOMPARE(PanelWorld::fileContent(resolverPath), expected);
    QCOMPARE(PanelWorld::commands(), QStringList({"cp /etc/resolv.conf /etc/resolvbak.conf"_s}));
    QCOMPARE(PanelWorld::fileContent("/etc/resolvbak.conf"_s), expected);
}

void TestDevice::resolver_shorterText_leavesNoRest()
{
    PanelWorld::writeFile(resolverPath, "nameserver 100.100.100.100 # eth0\n\n\nsearch plant\n\n");
    device().setDNSToSys(0, 0, "7.7.7.7"_s);
    QCOMPARE(PanelWorld::fileContent(resolverPath),
             QByteArray("nameserver 7.7.7.7 # eth0\nsearch plant"));
}

void TestDevice::resolver_bytesOfOthers_stay()
{
    const QByteArray others("search \0 plant\n# \xc3\xa4\xff\x80", 21);
    PanelWorld::writeFile(resolverPath, others + "\nnameserver 1.1.1.1 # eth0\n");
    device().setDNSToSys(0, 0, "7.7.7.7"_s);
    QCOMPARE(PanelWorld::fileContent(resolverPath), others + "\nnameserver 7.7.7.7 # eth0");
}

void TestDevice::resolver_lineShown_isTheLineReplaced_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("shown"); // first server of eth0
    QTest::addColumn<QByteArray>("rewritten");
    const QByteArray mark("\xEF\xBB\xBF");
    const QByteArray server("nameserver 9.9.9.9 # eth0");
    QTest::newRow("mark before a tag at the start")
        << mark + "eth0 1.1.1.1\nnameserver 2.2.2.2 # eth0"
        << "2.2.2.2" << mark + "eth0 1.1.1.1\n" + server;
    QTest::newRow("mark before a server") << mark + "nameserver 1.1.1.1 # eth0\nsearch plant"
                                          << "1.1.1.1" << server + "\nsearch plant";
    QTest::newRow("mark in a later line") << "search plant\n" + mark + "eth0 1.1.1.1"
                                          << "1.1.1.1"
                                          << "search plant\n" + server;
    QTest::newRow("zero byte before the server")
        << QByteArray("search \0 plant\nnameserver 1.1.1.1 # eth0", 41) << "1.1.1.1"
        << QByteArray("search \0 plant\n", 15) + server;
    QTest::newRow("zero byte within the line")
        << QByteArray("# \0 eth0\nnameserver 1.1.1.1 # eth0", 34) << QString(QChar(0))
        << server + "\nnameserver 1.1.1.1 # eth0";
    QTest::newRow("an address of two bytes a letter")
        << QByteArray("nameserver 1.1.1.\xC3\xA9 # eth0") << "1.1.1.é"_s << server;
}

void TestDevice::resolver_lineShown_isTheLineReplaced()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, shown);
    QFETCH(QByteArray, rewritten);
    PanelWorld::writeFile(resolverPath, file);
    QString address;
    QVERIFY(ResolverFile::server(0, 0, address));
    QCOMPARE(address, shown);
    device().setDNSToSys(0, 0, "9.9.9.9"_s);
    QCOMPARE(PanelWorld::fileContent(resolverPath), rewritten);
}

void TestDevice::resolver_linesOfAnAdapter_canGo()
{
    const QByteArray others("\xEF\xBB\xBF"
                            "eth0 \0\n\nnameserver 2.2.2.2 # eth1\n",
                            37);
    QCOMPARE(ResolverText::withoutServers(others + "a eth0\nb eth0\nc eth0\n# \xFF", 0),
             others + "# \xFF");
}

void TestDevice::resolver_unwritableFile_isLeftAlone()
{
    QFile folder("/tmp"_s);
    device().replaceDns(folder, 0, 0, "7.7.7.7"_s);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QByteArray text("untouched");
    QVERIFY(!ResolverFile::load(folder, text));
    QCOMPARE(text, QByteArray("untouched"));
    QVERIFY(!ResolverFile::store(folder, text));
}

void TestDevice::resolver_missingFile_isMade()
{
    QFile::remove(resolverPath);
    device().setDNSToSys(1, 0, "7.7.7.7"_s);
    QCOMPARE(PanelWorld::fileContent(resolverPath), QByteArray("nameserver 7.7.7.7 # eth1"));
}

QTEST_GUILESS_MAIN(TestDevice)
#include "test_device.moc"
