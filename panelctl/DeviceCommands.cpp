// device show, set, dump, check and create.

#include "device/Latin1.h"
#include "panelctl/Commands.h"
#include "panelctl/DeviceCheck.h"
#include "panelctl/DeviceImage.h"
#include "panelctl/Json.h"
#include "panelctl/Terminal.h"
#include "panelctl/Wording.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <set>
#include <sstream>

namespace {

constexpr std::size_t dumpBytes = 16; // on a line

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

const RecordField& requireField(const std::string& name)
{
    const RecordField* field = findField(name);
    if (!field) {
        throw UsageError("there is no field '" + name + "'; see panelctl device fields");
    }
    return *field;
}

/// What a number counts.
const char* thingOf(Kind kind)
{
    return kind == Kind::Width ? "pixel" : "adapter";
}

/// A value for people.
std::string explain(const RecordField& field, const Value::Bytes& value)
{
    const bool isEmpty =
        field.kind == Kind::Bytes &&
        std::all_of(value.begin(), value.end(), [](std::uint8_t byte) { return byte == 0; });
    if (isEmpty) {
        return Wording::counted(value.size(), "byte") + ", all zero";
    }
    if (field.kind == Kind::Bytes) { // in full with --json
        constexpr std::ptrdiff_t shown = 12;
        return Wording::counted(value.size(), "byte") + ", " +
               Value::hex({value.begin(), value.begin() + shown}) + "...";
    }
    const std::string shown = Value::show(field.kind, value);
    if (field.kind == Kind::Width || field.kind == Kind::AdapterCount) {
        return Wording::counted(std::stoul(shown), thingOf(field.kind));
    }
    const std::string note = Value::note(field.kind, value);
    return shown + (note.empty() ? "" : " (" + note + ")");
}

void printField(const RecordField& field, const Value::Bytes& value)
{
    std::cout << "  " << std::left << std::setw(23) << field.name << explain(field, value) << '\n';
}

void printRecord(const RecordRow& record, const DeviceImage& image)
{
    std::cout << record.name << ", bytes " << record.offset << " to "
              << record.offset + record.size - 1 << (record.writable ? "" : ", read-only") << '\n';
    for (const RecordField& field : recordFields) {
        if (field.kind != Kind::Reserved && &recordOf(field) == &record) {
            printField(field, image.field(field));
        }
    }
}

QJsonObject jsonOf(const DeviceImage& image)
{
    QJsonObject records;
    for (const RecordField& field : recordFields) {
        if (field.kind == Kind::Reserved) {
            continue;
        }
        const Value::Bytes value = image.field(field);
        QJsonObject record = records[text(field.record)].toObject();
        record[text(field.name)] = QJsonObject{{"value"_l1, text(Value::show(field.kind, value))},
                                               {"bytes"_l1, text(Value::hex(value))}};
        records[text(field.record)] = record;
    }
    return records;
}

void printDumpLine(const Value::Bytes& line, std::size_t offset)
{
    std::cout << std::setw(4) << offset << "  0x" << std::hex << std::setfill('0') << std::setw(3)
              << offset << ' ';
    for (const std::uint8_t byte : line) {
        std::cout << ' ' << std::setw(2) << int(byte);
    }
    std::cout << std::dec << std::setfill(' ') << '\n';
}

Value::Bytes bytesOf(const DeviceImage& image, std::size_t offset, std::size_t count)
{
    const char* first = image.bytes().data() + offset;
    return {first, first + count};
}

void changeField(DeviceImage& image, const std::string& name, const std::string& typed)
{
    const RecordField& field = requireField(name);
    if (!image.canChange(field)) {
        throw UsageError(name + " is read-only on a device");
    }
    try {
        image.setField(field, Value::parse(field.kind, typed, image.field(field)));
    } catch (const UsageError& error) {
        throw UsageError(name + ": " + error.what());
    }
}

/// Everything is looked at before anything is written.
void change(DeviceImage& image, const std::vector<std::string>& words)
{
    if (words.size() % 2 != 0) {
        throw UsageError("'" + words.back() + "' needs a value");
    }
    std::set<std::string> named;
    for (std::size_t at = 0; at < words.size(); at += 2) {
        if (!named.insert(words[at]).second) {
            throw UsageError("'" + words[at] + "' is given twice");
        }
        changeField(image, words[at], words[at + 1]);
    }
}

/// Empty for the device.
std::string fileToChange(const Arguments& given)
{
    std::string file = given.value(Option::Image);
    if (file == "-") {
        throw UsageError("standard input cannot be changed; --image needs a file here");
    }
    return file;
}

void printFieldRow(const RecordField& field)
{
    std::ostringstream line;
    line << std::left << std::setw(13) << field.record << std::setw(23) << field.name << std::right
         << "byte " << std::setw(4) << imageOffset(field) << "  size " << std::setw(3) << field.size
         << "  " << kindName(field.kind);
    Terminal::printRow(line.str(), field.description);
}

} // namespace

void Commands::deviceShow(const Arguments& given)
{
    const DeviceImage image(given.value(Option::Image));
    if (given.has(Option::Json)) {
        return Json::print(jsonOf(image));
    }
    for (const RecordRow& record : recordRows) {
        printRecord(record, image);
    }
}

void Commands::deviceSet(const Arguments& given)
{
    DeviceImage image(fileToChange(given));
    change(image, given.words);
    image.save();
}

void Commands::deviceDump(const Arguments& given)
{
    const DeviceImage image(given.value(Option::Image));
    if (given.has(Option::Json)) {
        return Json::print(
            QJsonObject{{"size"_l1, static_cast<int>(image.bytes().size())},
                        {"bytes"_l1, text(Value::hex(bytesOf(image, 0, image.bytes().size())))}});
    }
    for (std::size_t offset = 0; offset < image.bytes().size(); offset += dumpBytes) {
        printDumpLine(bytesOf(image, offset, dumpBytes), offset);
    }
}

void Commands::deviceCheck(const Arguments& given)
{
    const std::vector<Problem> problems = checkImage(DeviceImage(given.value(Option::Image)));
    QJsonArray rows;
    for (const Problem& problem : problems) {
        rows.append(
            QJsonObject{{"field"_l1, text(problem.field)}, {"problem"_l1, text(problem.text)}});
        if (!given.has(Option::Json)) {
            std::cout << problem.field << ": " << problem.text << '\n';
        }
    }
    if (given.has(Option::Json)) {
        Json::print(rows);
    }
    if (!problems.empty()) {
        throw Failure("the device image has " + Wording::counted(problems.size(), "problem"));
    }
}

void Commands::deviceFields(const Arguments& given)
{
    QJsonArray rows;
    for (const RecordField& field : recordFields) {
        rows.append(Json::ofField(field));
        if (!given.has(Option::Json) && field.kind != Kind::Reserved) {
            printFieldRow(field);
        }
    }
    if (given.has(Option::Json)) {
        Json::print(rows);
    }
}

void Commands::deviceCreate(const Arguments& given)
{
    if (!given.has(Option::Image)) {
        throw UsageError("'device create' needs --image FILE");
    }
    DeviceImage image = DeviceImage::create(fileToChange(given));
    change(image, given.words);
    image.save();
}
