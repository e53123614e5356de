#include "tests/soak/World.h"

#include "device/EEInfoDetail.h"
#include "regstore/SysReg.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <array>
#include <cstddef>

namespace {

int dice(std::mt19937& random, int sides)
{
    return std::uniform_int_distribution<int>(0, sides - 1)(random);
}

/// The runtime changes what the pages show: language, modes, default route, lock of the clock.
void writeRegister(std::mt19937& random)
{
    constexpr std::array<unsigned, 5> registers = {20, 67, 76, 78, 80};
    const unsigned id = registers[std::size_t(dice(random, int(registers.size())))];
    const auto value = quint64(dice(random, 3));
    SysReg_Write(id, &value, sizeof value);
}

void loseTool(std::mt19937& random)
{
    static const std::array<const char*, 4> tools = {"setbright", "setbeep", "readee", "writeee"};
    PanelWorld::replaceTool(
        QString::fromLatin1(tools[std::size_t(dice(random, int(tools.size())))]), {});
}

void plugUsb(std::mt19937& random)
{
    PanelWorld::setState("usbslave"_s, dice(random, 2) ? "plug-in" : "plug-out");
}

void changeImage(std::mt19937& random)
{
    const int offset = int(EEInfoDetail::wr1Offset) + 1;
    PanelWorld::patchImage(offset, QByteArray(dice(random, 8) + 1, char(dice(random, 256))));
    World::prepare();
}

} // namespace

void World::prepare()
{
    const int place =
        int(EEInfoDetail::rOnlyOffset + offsetof(EEInfoDetail::Flash_ROnly, hw_options));
    PanelWorld::patchImage(place, QByteArray(1, 1));
}

void World::happen(std::mt19937& random)
{
    switch (dice(random, 6)) {
    case 0:
        return loseTool(random);
    case 1:
        return PanelWorld::restoreTools();
    case 2:
        return plugUsb(random);
    case 3:
        return changeImage(random);
    default:
        return writeRegister(random);
    }
}
