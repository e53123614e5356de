#include "tests/mtd/MtdEmulation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <initializer_list>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using MtdEmulation::Device;

namespace {

constexpr int deviceCount = 4;
constexpr int descriptorLimit = 1024;
constexpr int noDevice = -1;

struct Slot
{
    Device device;
    bool plugged = false;
};

using Slots = std::array<Slot, deviceCount>;

// Made at first use: the libraries open files before the objects of this file exist.

Slots& allSlots()
{
    static Slots slots;
    return slots;
}

Slot& slotAt(int number)
{
    return allSlots().at(static_cast<std::size_t>(number));
}

std::vector<std::string>& calls()
{
    static std::vector<std::string> lines;
    return lines;
}

/// The device behind each descriptor, plus one.
std::array<int, descriptorLimit> devicesByDescriptor;

int& deviceBehind(int descriptor)
{
    return devicesByDescriptor.at(static_cast<std::size_t>(descriptor));
}

bool logging = true;

/// The C library's own.
template <typename Function>
Function* original(Function* /*ours*/, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#define ORIGINAL(name) static const auto real = original(&(name), #name)

std::string fileOf(int number)
{
    return "/tmp/flash" + std::to_string(number);
}

int deviceOfPath(const char* path)
{
    for (int number = 0; number < deviceCount; ++number) {
        if (slotAt(number).plugged && path == "/dev/mtd" + std::to_string(number)) {
            return number;
        }
    }
    return noDevice;
}

int deviceOf(int descriptor)
{
    const bool known = descriptor >= 0 && descriptor < descriptorLimit;
    return known ? deviceBehind(descriptor) - 1 : noDevice;
}

void note(const char* call, std::initializer_list<long long> numbers = {})
{
    if (!logging) {
        return;
    }
    std::string line = call;
    for (const long long number : numbers) {
        line += ' ' + std::to_string(number);
    }
    calls().push_back(line);
}

int fail(int error)
{
    errno = error;
    return -1;
}

int tell(const Device& device, mtd_info_user* info)
{
    note("info");
    if (!device.isFlash) {
        return fail(ENOTTY);
    }
    *info = {};
    info->type = MTD_NANDFLASH;
    info->flags = MTD_CAP_NANDFLASH;
    info->size = device.size;
    info->erasesize = device.eraseSize;
    info->writesize = device.writeSize;
    return 0;
}

int tellBad(const Device& device, loff_t offset)
{
    note("bad", {offset});
    const auto block = static_cast<std::uint32_t>(offset);
    if (offset < 0 || offset >= loff_t(device.size) || device.unknownBlocks.count(block) > 0) {
        return fail(EINVAL);
    }
    return device.badBlocks.count(block) > 0 ? 1 : 0;
}

int erase(const Device& device, int descriptor, const erase_info_user& block)
{
    note("erase", {block.start, block.length});
    if (block.start % device.eraseSize != 0 || block.length % device.eraseSize != 0 ||
        std::uint64_t(block.start) + block.length > device.size) {
        return fail(EINVAL);
    }
    if (device.badBlocks.count(block.start) > 0 || device.failingErases.count(block.start) > 0) {
        return fail(EIO);
    }
    const std::string ones(block.length, '\xFF');
    return pwrite(descriptor, ones.data(), ones.size(), block.start) == ssize_t(ones.size()) ? 0
                                                                                             : -1;
}

/// What is at @p offset when @p data has been written over it.
std::string written(const Device& device, int descriptor, long long offset, std::string data)
{
    std::string old(data.size(), '\0');
    const ssize_t known = pread64(descriptor, old.data(), old.size(), offset);
    for (std::size_t at = 0; at < std::size_t(std::max<ssize_t>(known, 0)); ++at) {
        data[at] = char(data[at] & old[at]);
    }
    const long long flipped = device.flippedByte - offset;
    if (device.flippedByte >= 0 && flipped >= 0 && flipped < (long long)data.size()) {
        data[std::size_t(flipped)] = char(data[std::size_t(flipped)] ^ 0x10);
    }
    return data;
}

/// Where the device stands, whoever else takes lseek.
long long positionOf(int descriptor)
{
    ORIGINAL(lseek64);
    return real(descriptor, 0, SEEK_CUR);
}

int openDevice(int number, int flags)
{
    note("open", {number, flags});
    ORIGINAL(open);
    const int descriptor = real(fileOf(number).c_str(), flags);
    if (descriptor >= 0 && descriptor < descriptorLimit) {
        deviceBehind(descriptor) = number + 1;
    }
    return descriptor;
}

/// How much of @p size a transfer at @p offset moves, as far as the device reaches.
std::size_t reachable(const Device& device, long long offset, std::size_t size)
{
    const long long left = std::max(0LL, (long long)device.size - offset);
    return std::min(size, std::size_t(left));
}

ssize_t writeDevice(const Device& device, int descriptor, const void* buffer, std::size_t size)
{
    const long long offset = positionOf(descriptor);
    note("write", {offset, (long long)size});
    const std::size_t count = reachable(device, offset, size);
    if (size > 0 && count == 0) {
        return fail(ENOSPC);
    }
    if (offset % device.writeSize != 0 || count % device.writeSize != 0) {
        return fail(EINVAL);
    }
    const std::string bytes =
        written(device, descriptor, offset, std::string(static_cast<const char*>(buffer), count));
    ORIGINAL(write);
    return real(descriptor, bytes.data(), bytes.size());
}

} // namespace

namespace MtdEmulation {

void plug(int number, const Device& device)
{
    slotAt(number) = {device, true};
    setContent(number, std::string(device.size, '\0'));
}

void unplugAll()
{
    allSlots() = {};
    calls().clear();
}

std::string content(int number)
{
    std::string bytes(slotAt(number).device.size, '\0');
    std::FILE* file = std::fopen(fileOf(number).c_str(), "rb");
    bytes.resize(file ? std::fread(bytes.data(), 1, bytes.size(), file) : 0);
    if (file) {
        std::fclose(file);
    }
    return bytes;
}

void setContent(int number, const std::string& bytes)
{
    std::FILE* file = std::fopen(fileOf(number).c_str(), "wb");
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
        std::fclose(file) != 0) {
        std::perror("flash emulation");
        std::abort();
    }
}

std::vector<std::string> log()
{
    return calls();
}

void setLogging(bool on)
{
    logging = on;
}

} // namespace MtdEmulation

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    ORIGINAL(open);
    const int number = deviceOfPath(path);
    return number == noDevice ? real(path, flags, mode) : openDevice(number, flags);
}

int open64(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    ORIGINAL(open64);
    const int number = deviceOfPath(path);
    return number == noDevice ? real(path, flags, mode) : openDevice(number, flags);
}

int fcntl(int descriptor, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*); // numbers come as well as pointers
    va_end(arguments);
    ORIGINAL(fcntl);
    const int result = real(descriptor, command, argument);
    const int number = deviceOf(descriptor);
    if (command == F_DUPFD_CLOEXEC && number != noDevice && result < descriptorLimit) {
        deviceBehind(result) = number + 1;
    }
    return result;
}

int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    ORIGINAL(ioctl);
    const int number = deviceOf(descriptor);
    if (number == noDevice) {
        return real(descriptor, request, argument);
    }
    const Device& device = slotAt(number).device;
    switch (request) {
    case MEMGETINFO:
        return tell(device, static_cast<mtd_info_user*>(argument));
    case MEMGETBADBLOCK:
        return tellBad(device, *static_cast<loff_t*>(argument));
    case MEMERASE:
        return erase(device, descriptor, *static_cast<erase_info_user*>(argument));
    default:
        return fail(ENOTTY);
    }
}

// What the two are called by 32-bit programs whose times have 64 bits.
int fcntlOfLongTimes(int descriptor, int command, ...) __asm__("__fcntl_time64")
    __attribute__((alias("fcntl")));
int ioctlOfLongTimes(int descriptor, unsigned long request, ...) noexcept __asm__("__ioctl_time64")
    __attribute__((alias("ioctl")));

ssize_t read(int descriptor, void* buffer, size_t size)
{
    ORIGINAL(read);
    const int number = deviceOf(descriptor);
    if (number == noDevice) {
        return real(descriptor, buffer, size);
    }
    const long long offset = positionOf(descriptor);
    note("read", {offset, (long long)size});
    return real(descriptor, buffer, reachable(slotAt(number).device, offset, size));
}

ssize_t write(int descriptor, const void* buffer, size_t size)
{
    ORIGINAL(write);
    const int number = deviceOf(descriptor);
    return number == noDevice ? real(descriptor, buffer, size)
                              : writeDevice(slotAt(number).device, descriptor, buffer, size);
}

int close(int descriptor)
{
    ORIGINAL(close);
    if (deviceOf(descriptor) != noDevice) {
        note("close");
        deviceBehind(descriptor) = 0;
    }
    return real(descriptor);
}

} // extern "C"
