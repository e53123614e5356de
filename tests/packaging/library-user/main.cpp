// What a panel's maker may do with the plugin library besides showing its dialog: one line of
// output for each room. It has no application of Qt.
#include "device/EEInfoDetail.h"
#include "device/EEInfoHandle.h"
#include "device/PlateformInterface.h"
#include "fileio/DFifo.h"
#include "fileio/DFileStdio.h"
#include "fileio/DFileSystem.h"
#include "fileio/Export.h"
#include "fileio/File.h"
#include "mtd/CommonDevMtdWR.h"
#include "mtd/FutureMtdWR.h"
#include "mtd/MtdWRInterface.h"
#include "regstore/RegisterArea.h"
#include "regstore/RegisterTable.h"
#include "regstore/SysReg.h"
#include "tests/mtd/MtdEmulation.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <string>

namespace {

/// A family of the maker's own, whose blocks are written whole.
class OwnFlash : public FutureMtdWR
{
public:
    int hmi_type() override { return 5; }
};

void useFlash()
{
    MtdEmulation::Device device;
    device.size = 128;
    device.eraseSize = 32;
    device.writeSize = 8;
    device.badBlocks = {32};
    MtdEmulation::plug(1, device);

    std::array<unsigned char, 64> written;
    written.fill('p');
    std::array<unsigned char, 64> back = {};
    OwnFlash own;
    MtdWRInterface& flash = own;
    const int copied = flash.mtd_copy_write(written.data(), written.size(), 1, 0);
    const int read = flash.mtd_copy_read(back.data(), back.size(), 1, 0);
    const bool aroundBadBlock = MtdEmulation::content(1).substr(64, 32) == std::string(32, 'p');
    std::printf("\nflash %d %d %d %d %d %d\n", copied, read, back == written, aroundBadBlock,
                dynamic_cast<CommonDevMtdWR*>(&flash) != nullptr, FutureMtdWR().hmi_type());
}

void useRegisters()
{
    const unsigned char english = 1;
    unsigned char language = 0;
    const int written = SysReg_Write(20, &english, 1);
    const int read = SysReg::Instance().read(20, &language);
    const RegisterDescriptor* place = SysReg_LoadReg(20);
    unsigned char byte = 0;
    const unsigned inArea = ReadLocal(place->area, place->offset, place->size, &byte, "");
    std::printf("register %d %d %d %u %d %zu\n", written, read, language, inArea, byte,
                registerTable.size());
}

void useFiles()
{
    const char* copyPath = "/tmp/copy";
    DFileStdio source("/tmp/source", "w+");
    const int written = source.write("files", 6);
    source.seek2(0, SEEK_SET);
    const bool copied = source.copy2(copyPath);
    DFileSystem copy(copyPath, O_RDWR);
    std::array<char, 6> text = {};
    const int locked = copy.lock(SEEK_SET, 0, 6);
    File& file = copy;
    const int read = file.read(text.data(), 6);
    DFifo pipe("/tmp/pipe", O_RDWR);
    const int sent = pipe.write("!", 1);
    std::printf("%s %d %d %d %d %d %d\n", text.data(), written, copied, locked, read, sent,
                dynamic_cast<DFileSystem*>(&file) == &copy);
}

void useRecords()
{
    std::array<char, 8> said = {};
    const int run = PlateformInterface().readcmd("echo tool", said.data(), 4);
    EEInfoDetail::Flash_WR_1 record;
    EEInfoHandle::instance()->read_flash_wr1_info(&record);
    record.brightness = 76;
    const int written = EEInfoHandle::instance()->write_flash_wr1_info(&record);
    std::printf("record %s %d %d\n", said.data(), run, written);
}

} // namespace

int main()
{
    useFlash();
    useRegisters();
    useFiles();
    useRecords();
    return 0;
}
