#include "device/DeviceScreen.h"
#include "device/EEInfoDetail.h"
#include "device/EEInfoHandle.h"
#include "device/PlateformInterface.h"
#include "device/ProcessTable.h"
#include "tests/faults/Operation.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QFileInfo>

#include <array>
#include <cstring>

namespace {

constexpr const char* imageFile = "/panel/state/image";
constexpr const char* logoFile = "/panel/state/logo";
constexpr const char* resolverFile = "/etc/resolv.conf";
constexpr const char* resolverBackup = "/etc/resolvbak.conf";

/// The status of system() for a line without a process to run it. Where the line was run and its
/// end was not seen, as with a host that ignores its children, it is -1.
constexpr int notRun = 127 << 8;

constexpr const char* notStarted = "Fail to popen\n: ";

EEInfoHandle& device()
{
    return *EEInfoHandle::instance();
}

/// Images in which every byte differs from its neighbours, and from that of the other image.
QByteArray imageOf(int seed)
{
    QByteArray image(1024, '\0');
    for (int at = 0; at < image.size(); ++at) {
        image[at] = char(at * 7 + (at >> 8) + seed);
    }
    return image;
}

/// The image read last, and what the device has since.
const QByteArray staleImage = imageOf(1);
const QByteArray freshImage = imageOf(101);

void prepareImages()
{
    EEInfoDetail::Flash_WR_1 record;
    PanelWorld::setImage(staleImage);
    device().read_flash_wr1_info(&record);
    PanelWorld::setImage(freshImage);
}

/// Where a record came from.
enum Origin { elsewhere, fromStaleImage, fromFreshImage };

template <typename Record>
Origin originOf(const Record& record, std::size_t offset)
{
    const QByteArray stale = QByteArray(staleImage).replace(0, 1, QByteArray(1, '\0'));
    const auto is = [&](const QByteArray& image) {
        return std::memcmp(&record, image.constData() + offset, sizeof record) == 0;
    };
    return is(freshImage) ? fromFreshImage : is(stale) ? fromStaleImage : elsewhere;
}

/// Calls a reading operation of the device and tells where its record came from.
template <typename Record>
Operation readingRecord(const char* name, void (EEInfoHandle::*read)(Record*), std::size_t offset)
{
    static Record record;
    return {name,
            [=] {
                (device().*read)(&record);
                return 0;
            },
            fromFreshImage,
            {},
            {{"popen 1 EMFILE", fromStaleImage, notStarted},
             {"read 1 EIO", fromStaleImage},
             {"read 1 short", fromFreshImage},
             {"pclose 1 ECHILD", fromFreshImage}},
            prepareImages,
            [=] { return static_cast<int>(originOf(record, offset)); }};
}

/// What comes of a transfer to a tool that was started: what it takes is its own business.
QList<Outcome> sendingOutcomes(const char* popen, const char* pclose)
{
    return {{popen, -1, notStarted}, {"write 1 ENOSPC", 0}, {"write 1 short", 0}, {pclose, 0}};
}

/// Nothing is written when the reading tool cannot be started. An image that it delivers in part is
/// not noticed: the rest goes back as it was read before.
QList<Outcome> recordWriteOutcomes()
{
    const OwnRange image = wholeFile(imageFile);
    return QList<Outcome>{{"popen 1 EMFILE", -1, notStarted},
                          {"read 1 EIO", 0, "", image},
                          {"read 1 short", 0},
                          {"pclose 1 ECHILD", 0}} +
           sendingOutcomes("popen 2 EMFILE", "pclose 2 ECHILD");
}

template <typename Record>
Operation writingRecord(const char* name, int (EEInfoHandle::*write)(Record*), std::size_t offset)
{
    static Record record = {};
    return {name,
            [=] { return (device().*write)(&record); },
            0,
            {bytesOf(imageFile, static_cast<int>(offset), sizeof(Record))},
            recordWriteOutcomes(),
            prepareImages};
}

QList<Operation> recordOperations()
{
    return {
        readingRecord("EEInfoHandle::read_flash_wr1_info", &EEInfoHandle::read_flash_wr1_info,
                      EEInfoDetail::wr1Offset),
        readingRecord("EEInfoHandle::read_flash_r_info", &EEInfoHandle::read_flash_r_info,
                      EEInfoDetail::rOnlyOffset),
        readingRecord("EEInfoHandle::read_flash_wr2_info", &EEInfoHandle::read_flash_wr2_info,
                      EEInfoDetail::wr2Offset),
        writingRecord("EEInfoHandle::write_flash_wr1_info", &EEInfoHandle::write_flash_wr1_info,
                      EEInfoDetail::wr1Offset),
        writingRecord("EEInfoHandle::write_flash_wr2_info", &EEInfoHandle::write_flash_wr2_info,
                      EEInfoDetail::wr2Offset),
    };
}

int widthOf(const QByteArray& image)
{
    EEInfoDetail::Flash_ROnly record;
    std::memcpy(&record, image.constData() + EEInfoDetail::rOnlyOffset, sizeof record);
    return EEInfoDetail::screenWidth(record);
}

QList<Operation> channelOperations()
{
    static std::array<char, EEInfoDetail::imageBytes> buffer;
    return {
        {"PlateformInterface::readcmd",
         [] { return PlateformInterface().readcmd("cat /tmp/plain.dat", buffer.data(), 64); },
         0,
         {},
         {{"popen 1 EMFILE", -1, notStarted},
          {"read 1 EIO", 0},
          {"read 1 short", 0},
          {"pclose 1 ECHILD", 0}}},
        {"PlateformInterface::writecmd",
         [] { return PlateformInterface().writecmd("cat >/tmp/new.dat", buffer.data(), 64); },
         0,
         {wholeFile(newFile)},
         sendingOutcomes("popen 1 EMFILE", "pclose 1 ECHILD")},
        {"deviceScreenWidth",
         deviceScreenWidth,
         widthOf(freshImage),
         {},
         {{"popen 1 EMFILE", widthOf(staleImage), notStarted},
          {"read 1 EIO", widthOf(staleImage)},
          {"read 1 short", widthOf(freshImage)},
          {"pclose 1 ECHILD", widthOf(freshImage)}},
         prepareImages},
        // It finds the ps it runs itself, whose number is none of the first; 1 says that there is
        // none.
        {"detectProcess",
         [] { return qMin(detectProcess("ps.-ef"), 2); },
         2,
         {},
         {{"popen 1 EMFILE", -1},
          {"read 1 EIO", 1},
          {"read 1 short", 2},
          {"read 2 EIO", 2},
          {"read 2 short", 2},
          {"pclose 1 ECHILD", 2}}},
    };
}

/// A control that is one line of the shell.
Operation shellControl(const char* name, std::function<int()> run, const char* changes)
{
    return {name,
            std::move(run),
            0,
            {wholeFile(changes)},
            {{"system 1 EAGAIN", notRun}, {"system 1 ECHILD", -1}},
            [=] { // the tool may write behind what it wrote before
                if (*changes) {
                    PanelWorld::writeFile(QLatin1String(changes), QByteArray());
                }
            }};
}

/// A line of the shell and "sync", whose status is the result.
Operation adapterControl(const char* name, std::function<int()> run)
{
    return {name,
            std::move(run),
            0,
            {},
            {{"system 1 EAGAIN", 0},
             {"system 1 ECHILD", 0},
             {"system 2 EAGAIN", notRun},
             {"system 2 ECHILD", -1}}};
}

Operation identityControl(const char* name, std::function<int()> run, const char* changes)
{
    return {name,
            std::move(run),
            0,
            {wholeFile(changes)},
            sendingOutcomes("popen 1 EMFILE", "pclose 1 ECHILD")};
}

QList<Operation> controlOperations()
{
    return {
        {"EEInfoHandle::getbright",
         [] { return device().getbright(); },
         140,
         {},
         {{"popen 1 EMFILE", 0, notStarted},
          {"read 1 EIO", 0},
          {"read 1 short", 140},
          {"read 2 EIO", 140}, // it looks for more
          {"read 2 short", 140},
          {"pclose 1 ECHILD", 140}},
         [] { PanelWorld::setState("backlight"_s, "140\n"); }},
        {"EEInfoHandle::isusbslave",
         [] { return device().isusbslave() ? 1 : 0; },
         1,
         {},
         {{"popen 1 EMFILE", 0, notStarted},
          {"read 1 EIO", 0},
          {"read 1 short", 1},
          {"read 2 EIO", 1}, // it looks for more
          {"read 2 short", 1},
          {"pclose 1 ECHILD", 1}},
         [] { PanelWorld::replaceTool("getusbslave"_s, "echo plug-in"); }},
        shellControl(
            "EEInfoHandle::setBright", [] { return device().setBright(92); },
            "/panel/state/backlight"),
        shellControl(
            "EEInfoHandle::setBeep", [] { return device().setBeep(true); }, "/panel/state/beeps"),
        shellControl(
            "EEInfoHandle::reboot", [] { return device().reboot(); }, ""),
        adapterControl("EEInfoHandle::setIP", [] { return device().setIP(0, "10.0.0.2"); }),
        adapterControl("EEInfoHandle::setMask", [] { return device().setMask(0, "255.0.0.0"); }),
        adapterControl("EEInfoHandle::setGateway",
                       [] { return device().setGateway(0, "10.0.0.1"); }),
        adapterControl("EEInfoHandle::enableNetwork", [] { return device().enableNetwork(0); }),
        adapterControl("EEInfoHandle::disableNetwork", [] { return device().disableNetwork(0); }),
        identityControl(
            "EEInfoHandle::setmpi", [] { return device().setmpi("2"); }, "/panel/state/mpi"),
        identityControl(
            "EEInfoHandle::setserial", [] { return device().setserial("AB"); },
            "/panel/state/serial"),
    };
}

constexpr int logoBytes = 600;
constexpr const char* tooLarge = "pic size is out of 6M";
constexpr const char* logoStarted = "------start------";

void prepareLogo()
{
    PanelWorld::writeFile(QLatin1String(plainFile), QByteArray(logoBytes, 'n'));
    PanelWorld::setState("logo"_s, "old");
}

/// The logo on the device: how much of the new one; -1 for the old one.
int logoStored()
{
    const QByteArray logo = PanelWorld::fileContent(QLatin1String(logoFile));
    return logo == "old" ? -1 : logo.count('n');
}

/// The size of the logo read, -1 when there is no file.
int logoRead()
{
    const QFileInfo file{QLatin1String(newFile)};
    return file.exists() ? int(file.size()) : -1;
}

QList<Operation> logoOperations()
{
    return {
        // The tool takes nothing for an empty logo. What cannot be read whole is not sent.
        {"EEInfoHandle::setLogo",
         [] {
             device().setLogo(plainFile);
             return 0;
         },
         logoBytes,
         {wholeFile(logoFile)},
         {{"popen 1 EMFILE", -1, "writelogo Fail to popen fp1\n: "},
          {"open 1 EMFILE", 0, tooLarge},
          {"lseek 1 EINVAL", 0, tooLarge},
          {"lseek 2 EINVAL", 0, tooLarge},
          {"read 1 EIO", 0, tooLarge},
          {"read 1 short", logoBytes},
          {"close 1 EIO", logoBytes},
          {"write 1 ENOSPC", 0},
          {"write 1 short", logoBytes / 2},
          {"pclose 1 ECHILD", logoBytes}},
         prepareLogo,
         logoStored},
        {"EEInfoHandle::readLogo",
         [] {
             device().readLogo(newFile);
             return 0;
         },
         0,
         {wholeFile(newFile)},
         {{"popen 1 EMFILE", 0, "readLogo Fail to popen fp1\n: "},
          {"open 1 EMFILE", -1, "readLogo Fail to popen fp2\n: "},
          {"lseek 1 EINVAL", 0, logoStarted},
          {"lseek 2 EINVAL", 0, logoStarted},
          {"fflush 1 EPIPE", 0, logoStarted},
          {"close 1 EIO", 0, logoStarted},
          {"pclose 1 ECHILD", 0, logoStarted}},
         prepareLogo,
         logoRead},
    };
}

constexpr const char* resolverText =
    "# a comment\nnameserver 1.1.1.1 # eth0\nnameserver 2.2.2.2 # eth1";
constexpr const char* newText = "# a comment\nnameserver 9.9.9.9 # eth0\nnameserver 2.2.2.2 # eth1";

void prepareResolver()
{
    PanelWorld::writeFile(QLatin1String(resolverFile), resolverText);
    PanelWorld::writeFile(QLatin1String(resolverBackup), "backup");
}

/// What the resolver file is like, and whether the backup file is a copy of it.
enum ResolverState { broken, onlyBackupLeft, oldText, replaced, replacedAndBackedUp };

int resolverState()
{
    const QByteArray text = PanelWorld::fileContent(QLatin1String(resolverFile));
    const QByteArray backup = PanelWorld::fileContent(QLatin1String(resolverBackup));
    if (text == newText) {
        return backup == newText ? replacedAndBackedUp : replaced;
    }
    if (backup != "backup") {
        return broken;
    }
    return text == resolverText ? oldText : onlyBackupLeft;
}

QList<Operation> resolverOperations()
{
    return {
        // A file that takes nothing is not copied over its backup.
        {"EEInfoHandle::setDNSToSys",
         [] {
             device().setDNSToSys(0, 0, "9.9.9.9"_s);
             return 0;
         },
         replacedAndBackedUp,
         {wholeFile(resolverFile), wholeFile(resolverBackup)},
         {{"open 1 EMFILE", oldText},
          {"read 1 EIO", oldText},
          {"read 1 short", replacedAndBackedUp},
          {"read 2 EIO", replacedAndBackedUp}, // the text is there; it only looks for the end
          {"read 2 short", replacedAndBackedUp},
          {"close 1 EIO", replacedAndBackedUp},
          {"open 2 EMFILE", oldText},
          {"lseek 1 EINVAL", onlyBackupLeft, "QWARN"}, // Qt says it, whoever uses the file
          {"write 1 ENOSPC", replaced},                // closing the file tries again

          {"write 1 short", onlyBackupLeft},
          {"close 2 EIO", replacedAndBackedUp},
          {"system 1 EAGAIN", replaced},
          {"system 1 ECHILD", replacedAndBackedUp}},
         prepareResolver,
         resolverState},
    };
}

} // namespace

QList<Operation> deviceOperations()
{
    return channelOperations() + recordOperations() + controlOperations() + logoOperations() +
           resolverOperations();
}
