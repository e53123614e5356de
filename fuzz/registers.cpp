#include "fuzz/FuzzSupport.h"
#include "regstore/AreaFiles.h"
#include "regstore/RegisterArea.h"
#include "regstore/SysReg.h"

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

// Input: up to 16 requests of 11 bytes each, on all nine areas as they are seen after one another:
// the operation (one byte, see operationOf), the area (one byte), offset or register id (four),
// length (four), and what the bytes written are made from (one). Each is done to a model of the
// area as well, bit by bit; then every byte of every area is compared.

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int mostRequests = 16;
constexpr std::size_t areaCount = areaFiles.size() + 1; // number 0 is none
constexpr std::size_t areaBytes = 2048;
constexpr std::uint64_t mediumBytes = 4096; ///< No file grows beyond it while a request runs.
constexpr std::uint64_t longestBitRange = 4096;

/// Bits of an operation's byte, see operationOf().
constexpr std::uint8_t kindBits = 0x07;
constexpr std::uint8_t nearBit = 0x20;
constexpr std::uint8_t noBufferBit = 0x40;
constexpr std::uint8_t noListenerBit = 0x80;
constexpr int kinds = 6;

/// What numbers near the areas stay below: one area and some ids more than there are, and somewhat
/// more bits than an area has.
constexpr unsigned nearAreas = areaCount + 1;
constexpr unsigned nearIds = 100;
constexpr unsigned nearOffsets = 18000;
constexpr unsigned nearLengths = 256;

constexpr std::size_t noticeRoom = 64; ///< More bytes than the notices of one request have.

enum class Kind { Read, Write, WriteNotify, ReadRegister, WriteRegister, NotifyRegister };

struct Operation
{
    Kind kind;
    bool isHeard;   ///< Whether somebody listens to the notices.
    bool hasBuffer; ///< Otherwise the buffer is null.
};

struct Request
{
    unsigned area;
    unsigned offset;
    unsigned length;
};

/// The low three bits are the kind. One bit keeps the numbers near the areas, see nearAreas; one
/// takes the buffer away and one the listener.
Operation operationOf(std::uint8_t byte)
{
    return {static_cast<Kind>((byte & kindBits) % kinds), (byte & noListenerBit) == 0,
            (byte & noBufferBit) == 0};
}

/// A fresh medium: what each area holds before the first request.
const Bytes& untouched()
{
    static const Bytes bytes = [] {
        Bytes made(areaBytes);
        for (std::size_t at = 0; at < made.size(); ++at) {
            made[at] = static_cast<std::uint8_t>(at * 151 >> 2 ^ at);
        }
        return made;
    }();
    return bytes;
}

/// The area files, looked at from outside.
class Medium
{
public:
    Medium()
    {
        for (std::size_t area = 1; area < areaCount; ++area) {
            m_descriptors[area] =
                open(areaFile(unsigned(area)).path, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
            expect(m_descriptors[area] > 0, "the area files can be opened");
        }
    }

    Bytes content(std::size_t area) const
    {
        Bytes bytes(mediumBytes + 1);
        const ssize_t count = pread(m_descriptors[area], bytes.data(), bytes.size(), 0);
        bytes.resize(count < 0 ? 0 : std::size_t(count));
        return bytes;
    }

    void restore() const
    {
        for (std::size_t area = 1; area < areaCount; ++area) {
            if (content(area) != untouched()) {
                const auto size = ssize_t(areaBytes);
                expect(pwrite(m_descriptors[area], untouched().data(), areaBytes, 0) == size &&
                           ftruncate(m_descriptors[area], size) == 0,
                       "the area files can be restored");
            }
        }
    }

private:
    std::array<int, areaCount> m_descriptors = {};
};

/// The end of the medium while a request runs: beyond it nothing can be written.
class FullMedium
{
public:
    FullMedium()
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = mediumBytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullMedium() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FullMedium(const FullMedium&) = delete;
    FullMedium& operator=(const FullMedium&) = delete;

private:
    rlimit m_before = {};
};

/// Somebody who reads a notice pipe, or nobody.
class Listener
{
public:
    Listener(const char* pipe, bool listens)
    {
        mkfifo(pipe, 0777);
        m_descriptor = listens ? open(pipe, O_RDONLY | O_NONBLOCK | O_CLOEXEC) : -1;
    }
    ~Listener()
    {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    Bytes heard() const
    {
        Bytes bytes(noticeRoom);
        const ssize_t count = read(m_descriptor, bytes.data(), bytes.size());
        bytes.resize(count < 0 ? 0 : std::size_t(count));
        return bytes;
    }

private:
    int m_descriptor = -1;
};

Bytes message(std::initializer_list<unsigned> numbers)
{
    Bytes bytes;
    for (const unsigned number : numbers) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<std::uint8_t>(number >> shift));
        }
    }
    return bytes;
}

/// What a request comes to, and what the areas then hold.
class Model
{
public:
    Model() { m_areas.fill(untouched()); }

    const Bytes& area(std::size_t number) const { return m_areas[number]; }

    bool canBeRead(const Request& request) const
    {
        return isValid(request) && (bytesOf(request) == 0 ||
                                    firstByte(request) + bytesOf(request) <= here(request).size());
    }

    bool bit(const Request& request, std::uint64_t at) const
    {
        return (here(request)[std::size_t(at / 8)] >> at % 8 & 1) != 0;
    }

    bool write(const Request& request, const Bytes& from)
    {
        if (!isValid(request)) {
            return false;
        }
        return isBitArea(request.area) ? writeBits(request, from) : writeBytes(request, from);
    }

    static std::uint64_t firstByte(const Request& request)
    {
        return isBitArea(request.area) ? request.offset / 8 : request.offset;
    }

    /// How many bytes of the area a request touches.
    static std::uint64_t bytesOf(const Request& request)
    {
        return isBitArea(request.area) ? (request.length + 7ULL + request.offset % 8) / 8
                                       : request.length;
    }

private:
    static bool isValid(const Request& request)
    {
        return request.area > 0 && request.area < areaCount &&
               firstByte(request) + bytesOf(request) <= INT_MAX;
    }

    const Bytes& here(const Request& request) const { return m_areas[request.area]; }

    bool writeBits(const Request& request, const Bytes& from)
    {
        if (bytesOf(request) > longestBitRange || !canBeRead(request)) {
            return false;
        }
        Bytes& bytes = m_areas[request.area];
        for (std::size_t at = 0; at < request.length; ++at) {
            const std::size_t target = std::size_t(request.offset) + at;
            const int mask = 1 << target % 8;
            const bool value = (from[at / 8] >> at % 8 & 1) != 0;
            bytes[target / 8] = static_cast<std::uint8_t>(value ? bytes[target / 8] | mask
                                                                : bytes[target / 8] & ~mask);
        }
        return true;
    }

    /// A write beyond the end of the file makes it longer; one beyond the end of the medium is cut.
    bool writeBytes(const Request& request, const Bytes& from)
    {
        Bytes& bytes = m_areas[request.area];
        const auto end = static_cast<std::size_t>(
            std::min<std::uint64_t>(request.offset + 0ULL + request.length, mediumBytes));
        if (request.length > 0 && end > request.offset) {
            bytes.resize(std::max(bytes.size(), end));
            std::copy_n(from.begin(), end - request.offset, bytes.begin() + request.offset);
        }
        return end == request.offset + 0ULL + request.length || request.length == 0;
    }

    std::array<Bytes, areaCount> m_areas;
};

/// One input's requests, one after the other.
class Run
{
public:
    explicit Run(const Medium& medium) : m_medium(medium) { m_medium.restore(); }

    void next(Input& input)
    {
        const std::uint8_t first = input.byte();
        const Operation operation = operationOf(first);
        const unsigned area = input.byte();
        const unsigned offset = input.number();
        const unsigned length = input.number();
        m_seed = input.byte();
        const bool isNear = (first & nearBit) != 0;
        if (operation.kind >= Kind::ReadRegister) {
            registerRequest(operation, isNear ? offset % nearIds : offset, length);
        } else {
            areaRequest(operation, isNear ? Request{area % nearAreas, offset % nearOffsets,
                                                    length % nearLengths}
                                          : Request{area, offset, length});
        }
        compare();
    }

private:
    void areaRequest(const Operation& operation, const Request& request)
    {
        if (operation.kind == Kind::Read) {
            Bytes buffer = roomFor(request);
            const FullMedium full;
            const unsigned status =
                ReadLocal(request.area, request.offset, request.length,
                          operation.hasBuffer ? buffer.data() : nullptr, nullptr);
            checkRead(request, operation, status == areaDone, buffer);
            expect(status == areaDone || status == areaFailed, "reading gives 0 or 15");
        } else {
            writeArea(operation, request);
        }
    }

    void writeArea(const Operation& operation, const Request& request)
    {
        const Listener listener(areaPipe, operation.isHeard);
        const Bytes buffer = contentFor(request);
        const std::uint8_t* from = operation.hasBuffer ? buffer.data() : nullptr;
        const bool isDone = operation.hasBuffer && m_model.write(request, buffer);
        const bool notifies = operation.kind == Kind::WriteNotify;
        const FullMedium full;
        const unsigned status = (notifies ? WriteLocal_Notify : WriteLocal)(
            request.area, request.offset, request.length, from, nullptr);
        const unsigned unheard = notifies && !operation.isHeard ? areaNotNotified : areaDone;
        expect(status == (isDone ? unheard : areaFailed), "writing gives 0, 3 or 15");
        expect(listener.heard() == (isDone && notifies && operation.isHeard
                                        ? message({request.area, request.offset, request.length})
                                        : Bytes()),
               "a notice names area, offset and length, and follows a write alone");
    }

    void registerRequest(const Operation& operation, unsigned id, unsigned length)
    {
        const bool isKnown = id < registerTable.size();
        expect((SysReg_LoadReg(id) != nullptr) == isKnown, "a descriptor is that of a register");
        // The buffer of an unknown register is not touched, so it need not be there.
        const Request request = isKnown ? Request{registerTable[id].area, registerTable[id].offset,
                                                  registerTable[id].size}
                                        : Request{0, 0, 0};
        if (operation.kind == Kind::ReadRegister) {
            Bytes buffer = roomFor(request);
            const int result = SysReg_Read(id, operation.hasBuffer ? buffer.data() : nullptr);
            checkRead(request, operation, result == 0, buffer);
            expect(result == 0 || result == -1, "reading a register gives 0 or -1");
        } else {
            writeRegister(operation, id, request, length);
        }
    }

    void writeRegister(const Operation& operation, unsigned id, const Request& request,
                       unsigned length)
    {
        const Listener listener(registerPipe, operation.isHeard);
        const Bytes buffer = contentFor(request);
        const std::uint8_t* from = operation.hasBuffer ? buffer.data() : nullptr;
        const bool isWritten = operation.hasBuffer && m_model.write(request, buffer);
        const bool notifies = operation.kind == Kind::NotifyRegister;
        const int result = (notifies ? SysReg_WriteNotify : SysReg_Write)(id, from, length);
        const bool isDone = isWritten && (!notifies || operation.isHeard);
        expect(result == (isDone ? 0 : -1), "writing a register gives 0 or -1");
        expect(listener.heard() == (isDone && notifies ? message({id}) : Bytes()),
               "a notice names the register, and follows a write alone");
    }

    void checkRead(const Request& request, const Operation& operation, bool isDone,
                   const Bytes& buffer) const
    {
        expect(isDone == (operation.hasBuffer && m_model.canBeRead(request)),
               "what lies in an area can be read, and nothing else");
        const std::uint64_t bytes = isDone ? Model::bytesOf(request) : 0;
        const std::uint64_t first =
            isBitArea(request.area) ? request.offset : request.offset * 8ULL;
        const std::uint64_t last = (Model::firstByte(request) + bytes) * 8; // exclusive
        for (std::uint64_t at = 0; at < bytes * 8; ++at) {
            const bool expected = first + at < last && m_model.bit(request, first + at);
            expect((buffer[std::size_t(at / 8)] >> at % 8 & 1) == expected,
                   "what is read is what lies there");
        }
    }

    void compare() const
    {
        for (std::size_t area = 1; area < areaCount; ++area) {
            expect(m_medium.content(area) == m_model.area(area),
                   "no byte but those of the request is touched");
        }
    }

    /// As much room as a read is said to need, so that a sanitizer sees one byte more. No more than
    /// a file can give.
    static Bytes roomFor(const Request& request)
    {
        Bytes buffer(std::size_t(std::min(Model::bytesOf(request), mediumBytes)));
        buffer.reserve(1); // one without room is there all the same
        return buffer;
    }

    /// As many bytes as a write is said to take, and no more than the medium does.
    Bytes contentFor(const Request& request) const
    {
        const std::uint64_t bytes =
            isBitArea(request.area) ? (request.length + 7ULL) / 8 : request.length;
        Bytes content(std::size_t(std::min(bytes, longestBitRange)));
        for (std::size_t at = 0; at < content.size(); ++at) {
            content[at] = static_cast<std::uint8_t>(m_seed * (at + 1) + at / 3);
        }
        content.reserve(1);
        return content;
    }

    const Medium& m_medium;
    Model m_model;
    unsigned m_seed = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Medium medium;
    std::signal(SIGXFSZ, SIG_IGN); // a full medium is a failed write
    Input input(data, size);
    Run run(medium);
    for (int request = 0; request < mostRequests && !input.isAtEnd(); ++request) {
        run.next(input);
    }
    return 0;
}
