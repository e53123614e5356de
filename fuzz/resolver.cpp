#include "device/ResolverFile.h"
#include "device/ResolverText.h"
#include "fuzz/FuzzSupport.h"

#include <QFile>
#include <QString>

#include <algorithm>
#include <cstring>

// Input: adapter and server (bits 0 and 1 of one byte), a new address (to the end of the line), the
// resolver file.

namespace {

constexpr const char* path = "/tmp/resolv.conf";
using Lines = std::vector<std::string>;

struct Request
{
    int adapter;
    int index;
    std::string address;
};

constexpr const char* byteOrderMark = "\xEF\xBB\xBF";

QString textOf(const std::string& bytes)
{
    return QString::fromUtf8(bytes.data(), int(bytes.size()));
}

QByteArray bytesOf(const std::string& text)
{
    return QByteArray(text.data(), int(text.size()));
}

Lines split(const std::string& text)
{
    Lines lines(1);
    for (const char character : text) {
        if (character == '\n') {
            lines.emplace_back();
        } else {
            lines.back().push_back(character);
        }
    }
    return lines;
}

std::string join(const Lines& lines)
{
    std::string text;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        text += (at == 0 ? "" : "\n") + lines[at];
    }
    return text;
}

/// The first line of a file without the mark that may stand before it.
std::string withoutMark(const std::string& line)
{
    return line.rfind(byteOrderMark, 0) == 0 ? line.substr(std::strlen(byteOrderMark)) : line;
}

bool belongsTo(const std::string& line, int adapter)
{
    const std::string tag = "eth" + std::to_string(adapter);
    return line.find(tag, 1) != std::string::npos && line.find(tag) != 0;
}

int countOf(Lines lines, int adapter)
{
    lines.front() = withoutMark(lines.front());
    return int(std::count_if(lines.begin(), lines.end(),
                             [adapter](const auto& line) { return belongsTo(line, adapter); }));
}

/// Where the line of a server stands; one past the last line when there is none.
std::size_t placeOf(const Lines& lines, int adapter, int index)
{
    std::size_t at = 0;
    for (int seen = -1; at < lines.size(); ++at) {
        seen += belongsTo(at == 0 ? withoutMark(lines[at]) : lines[at], adapter) ? 1 : 0;
        if (seen == index) {
            return at;
        }
    }
    return at;
}

/// What has to be in the file afterwards.
std::string replaced(const std::string& text, const Request& request)
{
    Lines lines = split(text);
    const std::size_t place = placeOf(lines, request.adapter, request.index);
    lines.resize(std::max(lines.size(), place + 1));
    lines[place] = "nameserver " + request.address + " # eth" + std::to_string(request.adapter);
    lines.erase(std::remove(lines.begin(), lines.end(), std::string()), lines.end());
    return join(lines);
}

void checkReading(const std::string& text)
{
    const QByteArray content = bytesOf(text);
    for (int adapter = 0; adapter < 2; ++adapter) {
        const int count = countOf(split(text), adapter);
        for (int index = 0; index < 3; ++index) {
            const bool isThere = ResolverText::hasServer(content, adapter, index);
            const QString address = ResolverText::server(content, adapter, index);
            expect(isThere == (index < count), "the lines of an adapter are its servers, in order");
            expect(isThere || address.isEmpty(), "a server without a line has no address");
            expect(!address.contains(QLatin1Char(' ')) && !address.contains(QLatin1Char('\n')),
                   "an address is one word");
        }
    }
}

void checkReplacing(const std::string& text, const Request& request)
{
    const QString address = textOf(request.address);
    const auto replace = [&](const QByteArray& from) {
        return ResolverText::replaceServer(from, request.adapter, request.index, address);
    };
    const QByteArray once = replace(bytesOf(text));
    expect(once.toStdString() == replaced(text, request), "all other lines stay byte for byte");
    if (ResolverText::hasServer(once, request.adapter, request.index)) {
        expect(replace(once) == once, "replacing twice is the same as once");
        expect(ResolverText::server(once, request.adapter, request.index) ==
                   textOf(request.address.substr(0, request.address.find(' '))),
               "the new address is read back");
    } else {
        expect(countOf(split(text), request.adapter) < request.index,
               "only a backup without a first server is not found again");
    }
}

/// The file is opened as text, which drops the carriage returns.
void checkFile(const std::string& text, const Request& request)
{
    writeFile(path, text);
    QFile file(QString::fromLatin1(path));
    const bool done =
        ResolverFile::replaceServer(file, request.adapter, request.index, textOf(request.address));
    std::string kept = text;
    kept.erase(std::remove(kept.begin(), kept.end(), '\r'), kept.end());
    expect(done && readFile(path) == replaced(kept, request),
           "the file holds what the text was replaced by");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::uint8_t selection = input.byte();
    // An address is a text: what is none is replaced.
    const std::string address = textOf(input.line()).toUtf8().toStdString();
    const Request request = {selection & 1, selection >> 1 & 1, address};
    const std::string text = input.rest();
    checkReading(text);
    checkReplacing(text, request);
    checkFile(text, request);
    return 0;
}
