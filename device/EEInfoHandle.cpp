#include "device/EEInfoHandle.h"

#include "device/BootLogo.h"
#include "device/ResolverFile.h"
#include "device/ShellLine.h"

#include <QFile>
#include <QString>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int replyBytes = 32;
constexpr int identityBytes = 32;
constexpr int decimal = 10;

/// A tool's reply, which may fill the buffer to its last byte: one more keeps it a text.
using Reply = std::array<char, replyBytes + 1>;

} // namespace

EEInfoHandle* EEInfoHandle::m_eeinfoHanle = nullptr;

EEInfoHandle* EEInfoHandle::instance()
{
    if (!m_eeinfoHanle) {
        static EEInfoHandle handle; // goes with the library, and holds nothing to give back
        m_eeinfoHanle = &handle;
    }
    return m_eeinfoHanle;
}

int EEInfoHandle::readImage()
{
    return m_interface.readcmd("/root/plat-intf/readee", image, sizeof image);
}

template <typename Record>
void EEInfoHandle::readRecord(Record* rec, std::size_t offset)
{
    if (!rec) {
        return;
    }
    readImage();
    std::memcpy(rec, image + offset, sizeof *rec);
}

template <typename Record>
int EEInfoHandle::writeRecord(const Record* rec, std::size_t offset)
{
    if (!rec) {
        return -1;
    }
    if (readImage() != 0) {
        return -1; // the bytes of others would go back as old as the last read
    }
    std::memcpy(image + offset, rec, sizeof *rec);
    return m_interface.writecmd("/root/plat-intf/writeee count=16", image, sizeof image);
}

void EEInfoHandle::read_flash_wr1_info(EEInfoDetail::Flash_WR_1* rec)
{
    readRecord(rec, EEInfoDetail::wr1Offset);
}

void EEInfoHandle::read_flash_r_info(EEInfoDetail::Flash_ROnly* rec)
{
    readRecord(rec, EEInfoDetail::rOnlyOffset);
}

void EEInfoHandle::read_flash_wr2_info(EEInfoDetail::Flash_WR_2* rec)
{
    readRecord(rec, EEInfoDetail::wr2Offset);
}

int EEInfoHandle::write_flash_wr1_info(EEInfoDetail::Flash_WR_1* rec)
{
    return writeRecord(rec, EEInfoDetail::wr1Offset);
}

int EEInfoHandle::write_flash_wr2_info(EEInfoDetail::Flash_WR_2* rec)
{
    return writeRecord(rec, EEInfoDetail::wr2Offset);
}

int EEInfoHandle::getbright()
{
    Reply reply = {};
    m_interface.readcmd("/root/plat-intf/getbright", reply.data(), replyBytes);
    const long value = std::strtol(reply.data(), nullptr, decimal);
    return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

int EEInfoHandle::setBright(int level)
{
    return ShellLine::run("/root/plat-intf/setbright %d", level);
}

int EEInfoHandle::setBeep(bool longBeep)
{
    return ShellLine::run("/root/plat-intf/setbeep %s", longBeep ? "long" : "short");
}

int EEInfoHandle::setIdentity(const char* tool, const char* text)
{
    std::array<char, identityBytes> field = {};
    if (text) {
        std::memcpy(field.data(), text, strnlen(text, field.size()));
    }
    return m_interface.writecmd(tool, field.data(), identityBytes);
}

int EEInfoHandle::setmpi(const char* text)
{
    return setIdentity("/root/plat-intf/setmpi", text);
}

int EEInfoHandle::setserial(const char* text)
{
    return setIdentity("/root/plat-intf/setserial", text);
}

bool EEInfoHandle::isusbslave()
{
    Reply reply = {};
    m_interface.readcmd("/root/plat-intf/getusbslave", reply.data(), replyBytes);
    std::string word(reply.data());
    if (word.size() > 2) {
        word.pop_back(); // the tool's line end
    }
    return word == "plug-in";
}

int EEInfoHandle::setIP(int n, std::string addr)
{
    return ShellLine::runAndSync("ifconfig eth%d %s", n, addr.c_str());
}

int EEInfoHandle::setMask(int n, std::string mask)
{
    return ShellLine::runAndSync("ifconfig eth%d netmask %s", n, mask.c_str());
}

int EEInfoHandle::setGateway(int /*n*/, std::string gw)
{
    return ShellLine::runAndSync("route add default gw %s", gw.c_str());
}

int EEInfoHandle::enableNetwork(int n)
{
    return ShellLine::runAndSync("ifconfig eth%d up", n);
}

int EEInfoHandle::disableNetwork(int n)
{
    return ShellLine::runAndSync("ifconfig eth%d down", n);
}

int EEInfoHandle::reboot()
{
    return ShellLine::run("reboot");
}

void EEInfoHandle::setLogo(const std::string& path)
{
    BootLogo::write(path);
}

void EEInfoHandle::readLogo(const std::string& path)
{
    BootLogo::read(path);
}

void EEInfoHandle::replaceDns(QFile& file, int n, int index, QString dns)
{
    if (ResolverFile::replaceServer(file, n, index, dns)) {
        ResolverFile::backUp();
    }
}

void EEInfoHandle::setDNSToSys(int n, int index, QString dns)
{
    QFile file(QString::fromLatin1(ResolverFile::path));
    replaceDns(file, n, index, dns);
}
