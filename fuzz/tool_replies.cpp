#include "device/EEInfoHandle.h"
#include "fuzz/FuzzSupport.h"

#include <algorithm>
#include <climits>
#include <cstring>

// Input: how the tool behaves (one byte), the pieces in which its reply arrives (one byte), the
// reply. Every operation of the device that reads a tool gets that same reply.

namespace {

constexpr std::size_t replyBytes = 32;
constexpr std::size_t identityBytes = 32;
constexpr int shellNotFound = 127;

ToolStandIn::Tool toolFrom(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::uint8_t behaviour = input.byte();
    ToolStandIn::Tool tool;
    tool.pieceBytes = input.byte();
    tool.output = input.rest();
    tool.canBeRead = (behaviour & 1) == 0;
    tool.canBeWritten = (behaviour & 2) == 0;
    tool.exitCode = (behaviour & 4) == 0 ? 0 : shellNotFound;
    tool.isThere = (behaviour & 8) == 0;
    tool.endIsSeen = (behaviour & 16) == 0;
    return tool;
}

/// What the device gets to read of a tool.
std::string replyOf(const ToolStandIn::Tool& tool)
{
    return tool.canBeRead && tool.isThere ? tool.output : std::string();
}

/// Lets the device read an image that is known to its last byte, and returns it.
std::string knownImage()
{
    ToolStandIn::Tool tool;
    for (std::size_t at = 0; at < EEInfoDetail::imageBytes; ++at) {
        tool.output.push_back(static_cast<char>(at * 7 + 1));
    }
    ToolStandIn::install(tool);
    EEInfoDetail::Flash_WR_1 record = {};
    EEInfoHandle::instance()->read_flash_wr1_info(&record);
    return tool.output;
}

/// What is in the image after the tool has replied: byte 0 is cleared, then comes as much of the
/// reply as there is.
std::string imageAfter(const ToolStandIn::Tool& tool)
{
    std::string image = knownImage();
    image[0] = '\0';
    const std::string reply = replyOf(tool);
    const std::size_t count = std::min(reply.size(), image.size());
    return image.replace(0, count, reply, 0, count);
}

template <typename Record>
std::string bytesOf(const Record& record)
{
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

template <typename Record>
void checkRead(const ToolStandIn::Tool& tool, void (EEInfoHandle::*read)(Record*),
               std::size_t offset)
{
    const std::string image = imageAfter(tool);
    ToolStandIn::install(tool);
    Record record = {};
    (EEInfoHandle::instance()->*read)(&record);
    expect(bytesOf(record) == image.substr(offset, sizeof record),
           "a record holds its own bytes of the image");
}

template <typename Record>
void checkWrite(const ToolStandIn::Tool& tool, int (EEInfoHandle::*write)(Record*),
                std::size_t offset)
{
    std::string image = imageAfter(tool);
    ToolStandIn::install(tool);
    Record record = {};
    std::memset(&record, 0x5A, sizeof record);
    const int result = (EEInfoHandle::instance()->*write)(&record);
    if (!tool.canBeRead || !tool.isThere) {
        expect(result == -1 && ToolStandIn::commands().size() == 1,
               "where the reading tool cannot be started nothing is written");
    } else if (!tool.canBeWritten) {
        expect(result == -1, "a tool that cannot be started is a failed write");
    } else {
        // Whatever a tool that is there printed, and however it ended.
        image.replace(offset, sizeof record, bytesOf(record));
        expect(result == 0, "a tool that was started is a write that was done");
        expect(ToolStandIn::input() == image, "all bytes but the record's go back as they came");
    }
}

void checkHardware(const ToolStandIn::Tool& tool)
{
    ToolStandIn::install(tool);
    EEInfoDetail::Flash_ROnly record = {};
    EEInfoHandle::instance()->read_flash_r_info(&record);
    const int width = EEInfoDetail::screenWidth(record);
    expect(width >= 0 && width <= 4095, "a screen width has 12 bits");
    expect(EEInfoDetail::packScreenWidth(width, record.screen_width) == record.screen_width,
           "a screen width is packed as it was unpacked");
}

/// The text in the reply's first 32 bytes.
std::string textOf(const ToolStandIn::Tool& tool)
{
    const std::string reply = replyOf(tool).substr(0, replyBytes);
    return reply.substr(0, reply.find('\0'));
}

/// The decimal number at the start of a text, held within an int; 0 without one.
int numberAtStart(const std::string& text)
{
    std::size_t at = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    const bool isNegative = at < text.size() && text[at] == '-';
    at += at < text.size() && (text[at] == '-' || text[at] == '+') ? 1 : 0;
    long long value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = std::min(value * 10 + (text[at] - '0'), 1LL << INT_WIDTH);
    }
    return static_cast<int>(std::clamp<long long>(isNegative ? -value : value, INT_MIN, INT_MAX));
}

void checkControls(const ToolStandIn::Tool& tool)
{
    const std::string text = textOf(tool);
    ToolStandIn::install(tool);
    expect(EEInfoHandle::instance()->getbright() == numberAtStart(text),
           "the brightness is the number at the start of the reply");
    // One byte follows the word; which one, the tool decides.
    const bool isSlave = text.size() == std::strlen("plug-in?") && text.find("plug-in") == 0;
    expect(EEInfoHandle::instance()->isusbslave() == isSlave,
           "a slave is told by the word and a line end alone");
}

void checkIdentity(const ToolStandIn::Tool& tool, int (EEInfoHandle::*set)(const char*))
{
    ToolStandIn::install(tool);
    const int result = (EEInfoHandle::instance()->*set)(tool.output.c_str());
    if (!tool.canBeWritten || !tool.isThere) {
        expect(result == -1, "a tool that cannot be started is a failed write");
        return;
    }
    expect(result == 0, "a tool that was started is a write that was done");
    std::string field = tool.output.substr(0, tool.output.find('\0'));
    field.resize(identityBytes);
    expect(ToolStandIn::input() == field, "an identity is 32 bytes, cut or filled with zeros");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const ToolStandIn::Tool tool = toolFrom(data, size);
    checkRead(tool, &EEInfoHandle::read_flash_wr1_info, EEInfoDetail::wr1Offset);
    checkRead(tool, &EEInfoHandle::read_flash_r_info, EEInfoDetail::rOnlyOffset);
    checkRead(tool, &EEInfoHandle::read_flash_wr2_info, EEInfoDetail::wr2Offset);
    checkWrite(tool, &EEInfoHandle::write_flash_wr1_info, EEInfoDetail::wr1Offset);
    checkWrite(tool, &EEInfoHandle::write_flash_wr2_info, EEInfoDetail::wr2Offset);
    checkHardware(tool);
    checkControls(tool);
    checkIdentity(tool, &EEInfoHandle::setmpi);
    checkIdentity(tool, &EEInfoHandle::setserial);
    expect(ToolStandIn::openPipes() == 0, "no pipe stays open");
    return 0;
}
