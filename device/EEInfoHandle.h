#pragma once

#include "device/EEInfoDetail.h"
#include "device/PlateformInterface.h"
#include "fileio/Export.h"

#include <string>

class QFile;
class QString;

/// The one object through which pages reach the device: the information image (1024 bytes, read
/// and written by platform tools) and the device controls. Every operation blocks until its tool
/// or command has ended. GUI thread only.
class PANEL_EXPORT EEInfoHandle
{
public:
    /// The one instance, made at first use and never destroyed.
    static EEInfoHandle* instance();

    EEInfoHandle(const EEInfoHandle&) = delete;
    EEInfoHandle& operator=(const EEInfoHandle&) = delete;

    // Records. Each operation reads the image afresh. A null record runs no tool. What the tool
    // does not deliver stays as it was read last (zeros before the first reading); byte 0 of the
    // image is cleared before each reading.

    void read_flash_wr1_info(EEInfoDetail::Flash_WR_1* rec);
    void read_flash_r_info(EEInfoDetail::Flash_ROnly* rec);
    void read_flash_wr2_info(EEInfoDetail::Flash_WR_2* rec);

    /// Reads the image, replaces the record's bytes and writes the image back; all other bytes go
    /// back as they were read. Returns the result of the write, 0 or -1; -1 for a null record, and
    /// when the reading tool cannot be started: nothing is written then. A tool that is started and
    /// delivers less than the image is not noticed: the rest goes back as it was read last.
    int write_flash_wr1_info(EEInfoDetail::Flash_WR_1* rec);
    int write_flash_wr2_info(EEInfoDetail::Flash_WR_2* rec);

    // Controls.

    /// Raw backlight value, decimal text of the tool; 0 when it prints nothing.
    int getbright();
    /// Sets the raw backlight value, 0 (dark) to 255. Returns the status of system().
    int setBright(int level);
    /// Sounds the beeper once, long or short. Returns the status of system().
    int setBeep(bool longBeep);

    /// Store 32 bytes: the text, cut or filled up with zeros. 0, or -1 when the tool fails.
    int setmpi(const char* text);
    int setserial(const char* text);

    /// Whether the USB port is plugged in as a slave: the tool says "plug-in" and a line end.
    bool isusbslave();

    // Adapter commands for eth0 and eth1 (n), applied to the running system and not stored. Each
    // is followed by "sync", whose status is returned; a command line that is too long returns -1
    // and runs nothing.

    int setIP(int n, std::string addr);
    int setMask(int n, std::string mask);
    /// Adds a default route; the adapter is the kernel's choice.
    int setGateway(int n, std::string gw);
    int enableNetwork(int n);
    int disableNetwork(int n);

    /// Restarts the panel. Returns the status of system().
    int reboot();

    // The boot logo; see BootLogo.

    void readLogo(const std::string& path);
    void setLogo(const std::string& path);

    /// Rewrites the resolver file: server @p index (0 first, 1 backup) of adapter @p n becomes
    /// @p dns. Then refreshes the backup file. A file that cannot be opened is left alone.
    void replaceDns(QFile& file, int n, int index, QString dns);
    /// replaceDns() on /etc/resolv.conf.
    void setDNSToSys(int n, int index, QString dns);

private:
    EEInfoHandle() = default;

    template <typename Record>
    void readRecord(Record* rec, std::size_t offset);
    template <typename Record>
    int writeRecord(const Record* rec, std::size_t offset);
    int readImage();
    int setIdentity(const char* tool, const char* text);

    char image[EEInfoDetail::imageBytes] = {}; ///< Filled again by each operation.
    PlateformInterface m_interface;

    static EEInfoHandle* m_eeinfoHanle;
};
