// Writing a record back into the device image, against the two transfers it takes. The tools do
// next to nothing here, so that nothing hides what is ours.

#include "benchmarks/Ratio.h"
#include "device/EEInfoHandle.h"
#include "tests/support/PanelWorld.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr double goal = 1.05;
constexpr int rounds = 400;
constexpr int callsPerRound = 2;
constexpr const char* readTool = "/root/plat-intf/readee";
constexpr const char* writeTool = "/root/plat-intf/writeee";

std::array<char, 1024> image;

void check(bool good)
{
    if (!good) {
        std::abort();
    }
}

void transferBare()
{
    std::FILE* reading = popen(readTool, "r");
    check(std::fread(image.data(), 1, image.size(), reading) == image.size());
    pclose(reading);
    std::FILE* writing = popen(writeTool, "w");
    check(std::fwrite(image.data(), 1, image.size(), writing) == image.size());
    pclose(writing);
}

void recordWriteBack(benchmark::State& state)
{
    PanelWorld::replaceTool(QStringLiteral("readee"), "exec cat /panel/state/image");
    PanelWorld::replaceTool(QStringLiteral("writeee"), "exec cat >/dev/null");
    EEInfoDetail::Flash_WR_1 record = {};
    EEInfoHandle* device = EEInfoHandle::instance();
    device->read_flash_wr1_info(&record);
    Ratio::compare(
        state, goal, callsPerRound, [&] { check(device->write_flash_wr1_info(&record) == 0); },
        transferBare);
    PanelWorld::restoreTools();
}

} // namespace

RATIO_BENCHMARK(recordWriteBack, rounds);

int main(int argc, char** argv)
{
    return Ratio::run(argc, argv, std::cout);
}
