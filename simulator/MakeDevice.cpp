// Makes the stored parts of a simulated panel, as it comes from the factory: the device image,
// what the platform tools keep, and the register areas that outlive a power cut.
//
//   make-device --width PIXELS --adapters 1|2 [--keep] FOLDER
//
// With --keep an existing device stays as it is and only gets the screen width and the number of
// adapters: another screen and another board around the same memory.

#include "device/EEInfoDetail.h"
#include "regstore/SysReg.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t areaBytes = 4096; // more than the register with the highest offset needs
constexpr unsigned keyClickRegister = 79;
constexpr std::uint16_t factoryBrightness = 140; // level 17 of 32
constexpr int largestWidth = 4095;
using Image = std::array<char, EEInfoDetail::imageBytes>;

struct Options
{
    int width = 0;
    int adapters = 0;
    bool keep = false;
    fs::path folder;
};

constexpr std::uint32_t quad(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d)
{
    return a | b << 8 | c << 16 | d << 24;
}

// Replaces the file at once: an interrupted start leaves the old one.
void store(const fs::path& path, const std::vector<char>& content)
{
    const fs::path draft = path.string() + ".new";
    std::ofstream file(draft, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + draft.string());
    }
    fs::rename(draft, path);
}

template <typename Record>
void putRecord(Image& image, std::size_t offset, const Record& record)
{
    std::memcpy(image.data() + offset, &record, sizeof record);
}

EEInfoDetail::Flash_WR_1 factorySettings()
{
    EEInfoDetail::Flash_WR_1 record = {};
    record.brightness = factoryBrightness;
    // Locally administered addresses: no real device has them.
    const std::array<std::uint8_t, 6> mac0 = {0x02, 0x00, 0x5e, 0x0a, 0x00, 0x01};
    const std::array<std::uint8_t, 6> mac1 = {0x02, 0x00, 0x5e, 0x0a, 0x00, 0x02};
    std::memcpy(record.eth0_mac, mac0.data(), mac0.size());
    std::memcpy(record.eth1_mac, mac1.data(), mac1.size());
    record.eth0_ip = quad(192, 168, 1, 10);
    record.eth0_mask = quad(255, 255, 255, 0);
    record.eth0_gateway = quad(192, 168, 1, 1);
    record.eth1_ip = quad(192, 168, 2, 10);
    record.eth1_mask = quad(255, 255, 255, 0);
    record.eth1_gateway = quad(192, 168, 2, 1);
    return record;
}

Image factoryImage()
{
    Image image = {};
    putRecord(image, EEInfoDetail::wr1Offset, factorySettings());
    return image;
}

Image loadImage(const fs::path& path)
{
    Image image = {};
    std::ifstream file(path, std::ios::binary);
    if (fs::file_size(path) != image.size() ||
        !file.read(image.data(), static_cast<std::streamsize>(image.size()))) {
        throw std::runtime_error("the device image " + path.string() +
                                 " is damaged; --fresh makes a new device");
    }
    return image;
}

void setHardware(Image& image, const Options& options)
{
    EEInfoDetail::Flash_ROnly record;
    std::memcpy(&record, image.data() + EEInfoDetail::rOnlyOffset, sizeof record);
    record.screen_width = EEInfoDetail::packScreenWidth(options.width, record.screen_width);
    record.hw_options =
        static_cast<std::uint8_t>((record.hw_options & ~1) | (options.adapters == 2 ? 1 : 0));
    putRecord(image, EEInfoDetail::rOnlyOffset, record);
}

void makeAreas(const fs::path& folder)
{
    fs::create_directories(folder);
    for (const char* name : {"fw.dat", "fb.dat", "sfw.dat", "sfb.dat", "rw.dat"}) {
        std::vector<char> area(areaBytes, 0);
        const RegisterDescriptor* keyClick = SysReg_LoadReg(keyClickRegister);
        if (std::string(name) == "sfb.dat") {
            area[keyClick->offset / 8] = static_cast<char>(1U << keyClick->offset % 8);
        }
        store(folder / name, area);
    }
}

void makeStored(const fs::path& folder)
{
    makeAreas(folder / "hmi_data");
    fs::create_directories(folder / "Config");
    fs::remove(folder / "Config" / "system_settings.ini");
    for (const char* name : {"serial", "mpi", "logo"}) {
        store(folder / "state" / name, {});
    }
    const std::string unplugged = "plug-out";
    store(folder / "state" / "usbslave", {unplugged.begin(), unplugged.end()});
}

void makeDevice(const Options& options)
{
    const fs::path imageFile = options.folder / "state" / "image";
    fs::create_directories(options.folder / "state");
    const bool fresh = !options.keep || !fs::exists(imageFile);
    if (fresh) {
        makeStored(options.folder);
    }
    Image image = fresh ? factoryImage() : loadImage(imageFile);
    setHardware(image, options);
    store(imageFile, {image.begin(), image.end()});
}

bool parse(const std::vector<std::string>& words, Options& options)
{
    for (std::size_t at = 0; at < words.size(); ++at) {
        const bool hasValue = at + 1 < words.size();
        if (words[at] == "--keep") {
            options.keep = true;
        } else if (words[at] == "--width" && hasValue) {
            options.width = std::stoi(words[++at]);
        } else if (words[at] == "--adapters" && hasValue) {
            options.adapters = std::stoi(words[++at]);
        } else if (options.folder.empty()) {
            options.folder = words[at];
        } else {
            return false;
        }
    }
    return options.width > 0 && options.width <= largestWidth &&
           (options.adapters == 1 || options.adapters == 2) && !options.folder.empty();
}

} // namespace

int main(int argc, char** argv)
{
    try {
        Options options;
        if (!parse({argv + 1, argv + argc}, options)) {
            std::cerr << "usage: make-device --width PIXELS --adapters 1|2 [--keep] FOLDER\n";
            return 2;
        }
        makeDevice(options);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "make-device: " << error.what() << '\n';
        return 1;
    }
}
