#include "panelctl/Value.h"

#include "device/Brightness.h"
#include "device/EEInfoDetail.h"
#include "device/LanguageTable.h"
#include "panelctl/Command.h"
#include "panelctl/Wording.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <cstring>
#include <utility>

namespace {

using Value::Bytes;

constexpr std::size_t ipv4Bytes = 4;
constexpr std::size_t macBytes = 6;
constexpr unsigned widestScreen = 4095;
constexpr std::uint8_t groupBit = 1; // of a MAC address's first octet

/// The words of a value, by its number.
struct Word
{
    const char* text;
    unsigned number;
};
constexpr std::array switchWords{Word{"off", 0}, Word{"on", 1}};
constexpr std::array adapterWords{Word{"auto", 0}, Word{"eth0", 1}, Word{"eth1", 2}};
constexpr auto languageWords = [] {
    std::array<Word, Languages::all.size()> words{};
    for (std::size_t index = 0; index < words.size(); ++index) {
        words.at(index) = {Languages::all.at(index).word, Languages::all.at(index).value};
    }
    return words;
}();

[[noreturn]] void refuse(const std::string& text, const std::string& why)
{
    throw UsageError("'" + text + "' does not fit: " + why);
}

template <std::size_t count>
std::vector<std::string> textsOf(const std::array<Word, count>& words)
{
    std::vector<std::string> texts;
    texts.reserve(count);
    for (const Word& word : words) {
        texts.emplace_back(word.text);
    }
    return texts;
}

template <std::size_t count>
std::string alternatives(const std::array<Word, count>& words)
{
    return Wording::anyOf(textsOf(words));
}

/// False for anything but digits, decimal or behind "0x" hexadecimal.
bool parseDigits(const std::string& text, std::uint64_t& value)
{
    const bool isHex = text.rfind("0x", 0) == 0;
    const char* first = text.data() + (isHex ? 2 : 0);
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(first, last, value, isHex ? 16 : 10);
    return first != last && end == last && error == std::errc();
}

std::uint64_t parseUpTo(const std::string& text, std::uint64_t largest)
{
    std::uint64_t value = {};
    if (!parseDigits(text, value) || value > largest) {
        refuse(text, "it takes a number from 0 to " + std::to_string(largest));
    }
    return value;
}

std::uint64_t largestOf(std::size_t bytes)
{
    return bytes >= sizeof(std::uint64_t) ? UINT64_MAX : (std::uint64_t(1) << bytes * 8) - 1;
}

Bytes littleEndian(std::uint64_t value, std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t at = 0; at < std::min(size, sizeof value); ++at) {
        bytes[at] = static_cast<std::uint8_t>(value >> at * 8);
    }
    return bytes;
}

template <std::size_t count>
Bytes parseWord(const std::array<Word, count>& words, const std::string& text, std::size_t size)
{
    for (const Word& word : words) {
        if (text == word.text || text == std::to_string(word.number)) {
            return littleEndian(word.number, size);
        }
    }
    refuse(text, "it takes " + alternatives(words));
}

template <std::size_t count>
std::string showWord(const std::array<Word, count>& words, std::uint64_t value)
{
    for (const Word& word : words) {
        if (word.number == value) {
            return word.text;
        }
    }
    return std::to_string(value);
}

Bytes parseIpv4(const std::string& text, std::size_t size)
{
    in_addr parsed = {};
    if (inet_pton(AF_INET, text.c_str(), &parsed) != 1) {
        refuse(text, "it takes an address like 192.168.1.10");
    }
    Bytes bytes(size);
    std::memcpy(bytes.data(), &parsed, ipv4Bytes);
    return bytes;
}

std::string showIpv4(const Bytes& bytes)
{
    std::array<char, INET_ADDRSTRLEN> text = {};
    return inet_ntop(AF_INET, bytes.data(), text.data(), text.size());
}

/// False unless @p text is two hexadecimal digits for each byte.
bool parseHex(const std::string& text, Bytes& bytes)
{
    if (text.size() != bytes.size() * 2) {
        return false;
    }
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const char* first = text.data() + at * 2;
        if (std::from_chars(first, first + 2, bytes[at], 16).ptr != first + 2) {
            return false;
        }
    }
    return true;
}

Bytes parseBytes(const std::string& text, std::size_t size)
{
    Bytes bytes(size);
    if (!parseHex(text, bytes)) {
        refuse(text, "it takes " + std::to_string(size * 2) + " hexadecimal digits");
    }
    return bytes;
}

Bytes parseMac(const std::string& text)
{
    std::string digits;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (at % 3 != 2 || text[at] != ':') {
            digits += text[at];
        }
    }
    Bytes bytes(macBytes);
    if (text.size() != macBytes * 3 - 1 || !parseHex(digits, bytes)) {
        refuse(text, "it takes a MAC address like 02:00:5e:0a:00:01");
    }
    return bytes;
}

std::string showMac(const Bytes& bytes)
{
    std::string text = Value::hex(bytes);
    for (std::size_t at = text.size() - 2; at > 0; at -= 2) {
        text.insert(at, ":");
    }
    return text;
}

/// Of a field of two bytes.
bool isLevel(std::uint64_t value)
{
    return Brightness::isLevel(static_cast<int>(value));
}

std::string levelNote(std::uint64_t value)
{
    if (!isLevel(value)) {
        return value == 0 ? "off" : "no level";
    }
    return "level " + std::to_string(Brightness::levelOf(static_cast<int>(value))) + " of " +
           std::to_string(Brightness::highestLevel);
}

std::uint16_t word(const Bytes& bytes)
{
    return static_cast<std::uint16_t>(Value::number(bytes));
}

std::string showWidth(const Bytes& bytes)
{
    EEInfoDetail::Flash_ROnly record = {};
    record.screen_width = word(bytes);
    return std::to_string(EEInfoDetail::screenWidth(record));
}

Bytes parseWidth(const std::string& text, const Bytes& before)
{
    const auto width = static_cast<int>(parseUpTo(text, widestScreen));
    return littleEndian(EEInfoDetail::packScreenWidth(width, word(before)), before.size());
}

Bytes parseAdapters(const std::string& text, Bytes bytes)
{
    if (text != "1" && text != "2") {
        refuse(text, "a device has 1 or 2 adapters");
    }
    bytes[0] = static_cast<std::uint8_t>((bytes[0] & ~1) | (text == "2" ? 1 : 0));
    return bytes;
}

/// The values that fit.
std::string levels()
{
    return std::to_string(Brightness::lowestRaw) + " to " + std::to_string(Brightness::highestRaw) +
           " in steps of " + std::to_string(Brightness::rawPerLevel) + ", or 0 for off";
}

std::string levelProblem(std::uint64_t value)
{
    return value == 0 || isLevel(value) ? "" : "is no level: " + levels();
}

Bytes parseAs(Kind kind, const std::string& text, const Bytes& before)
{
    const std::size_t size = before.size();
    switch (kind) {
    case Kind::Reserved:
        break;
    case Kind::Bytes:
        return parseBytes(text, size);
    case Kind::Level:
    case Kind::Number:
        return littleEndian(parseUpTo(text, largestOf(size)), size);
    case Kind::Switch:
        return parseWord(switchWords, text, size);
    case Kind::Ipv4:
    case Kind::Netmask:
        return parseIpv4(text, size);
    case Kind::Mac:
        return parseMac(text);
    case Kind::Language:
        return parseWord(languageWords, text, size);
    case Kind::DefaultAdapter:
        return parseWord(adapterWords, text, size);
    case Kind::AdapterCount:
        return parseAdapters(text, before);
    case Kind::Width:
        return parseWidth(text, before);
    }
    refuse(text, "its meaning is not known");
}

std::string macProblem(const Bytes& bytes)
{
    if ((bytes[0] & groupBit) != 0) {
        return "is an address of a group, not of one adapter";
    }
    return Value::number(bytes) == 0 ? "is no MAC address" : "";
}

std::string addressProblem(std::uint32_t address)
{
    constexpr std::uint32_t loopback = 127;
    constexpr std::uint32_t firstGroup = 224;
    const std::uint32_t first = address >> 24;
    if (address != 0 && (first == 0 || first == loopback || first >= firstGroup)) {
        return "is no address that an adapter can have";
    }
    return "";
}

std::string netmaskProblem(std::uint32_t mask)
{
    const std::uint32_t hosts = ~mask;
    return (hosts & (hosts + 1)) != 0 ? "is no netmask: it has a gap" : "";
}

} // namespace

namespace Value {

std::string show(Kind kind, const Bytes& bytes)
{
    switch (kind) {
    case Kind::Reserved:
    case Kind::Bytes:
        return hex(bytes);
    case Kind::Level:
    case Kind::Number:
        return std::to_string(number(bytes));
    case Kind::Switch:
        return number(bytes) != 0 ? "on" : "off";
    case Kind::Ipv4:
    case Kind::Netmask:
        return showIpv4(bytes);
    case Kind::Mac:
        return showMac(bytes);
    case Kind::Language:
        return Languages::shown(number(bytes)).word;
    case Kind::DefaultAdapter:
        return showWord(adapterWords, number(bytes));
    case Kind::AdapterCount:
        return (bytes[0] & 1) != 0 ? "2" : "1";
    case Kind::Width:
        return showWidth(bytes);
    }
    return {};
}

std::string note(Kind kind, const Bytes& bytes)
{
    return kind == Kind::Level ? levelNote(number(bytes)) : std::string();
}

Bytes parse(Kind kind, const std::string& text, const Bytes& before)
{
    Bytes bytes = parseAs(kind, text, before);
    const std::string wrong = problem(kind, bytes);
    if (!wrong.empty()) {
        refuse(text, "it " + wrong);
    }
    return bytes;
}

std::string problem(Kind kind, const Bytes& bytes)
{
    switch (kind) {
    case Kind::Level:
        return levelProblem(number(bytes));
    case Kind::Mac:
        return macProblem(bytes);
    case Kind::Ipv4:
        return addressProblem(address(bytes));
    case Kind::Netmask:
        return netmaskProblem(address(bytes));
    case Kind::Width:
        return showWidth(bytes) == "0" ? "is no width of a screen" : "";
    default:
        return "";
    }
}

std::string fitting(Kind kind, std::size_t size)
{
    switch (kind) {
    case Kind::Reserved:
        return "nothing, its meaning is not known";
    case Kind::Bytes:
        return std::to_string(size * 2) + " hexadecimal digits";
    case Kind::Number:
        return "a number from 0 to " + std::to_string(largestOf(size));
    case Kind::Level:
        return "a level: " + levels();
    case Kind::Switch:
        return alternatives(switchWords);
    case Kind::Ipv4:
        return "an address like 192.168.1.10, or 0.0.0.0 for none";
    case Kind::Netmask:
        return "a netmask like 255.255.255.0";
    case Kind::Mac:
        return "a MAC address like 02:00:5e:0a:00:01";
    case Kind::Language:
        return alternatives(languageWords);
    case Kind::DefaultAdapter:
        return alternatives(adapterWords);
    case Kind::AdapterCount:
        return "1 or 2";
    case Kind::Width:
        return "a number from 1 to " + std::to_string(widestScreen);
    }
    return {};
}

std::vector<std::string> words(Kind kind)
{
    switch (kind) {
    case Kind::Switch:
        return textsOf(switchWords);
    case Kind::Language:
        return textsOf(languageWords);
    case Kind::DefaultAdapter:
        return textsOf(adapterWords);
    case Kind::AdapterCount:
        return {"1", "2"};
    default:
        return {};
    }
}

std::uint64_t number(const Bytes& bytes)
{
    std::uint64_t value = 0;
    for (std::size_t at = std::min(bytes.size(), sizeof value); at > 0; --at) {
        value = value << 8 | bytes[at - 1];
    }
    return value;
}

std::uint32_t address(const Bytes& bytes)
{
    std::uint32_t network = 0;
    std::memcpy(&network, bytes.data(), ipv4Bytes);
    return ntohl(network);
}

std::string hex(const Bytes& bytes)
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

} // namespace Value
