// reg list, reg read and reg write.

#include "device/Latin1.h"
#include "panelctl/Commands.h"
#include "panelctl/Descriptor.h"
#include "panelctl/Json.h"
#include "panelctl/RegisterValue.h"
#include "panelctl/Terminal.h"
#include "panelctl/Value.h"
#include "regstore/AreaFiles.h"
#include "regstore/RegisterNames.h"
#include "regstore/SysReg.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace {

void printRow(const RegisterRow& row)
{
    const RegisterName* name = findRegisterName(row.id);
    std::ostringstream line;
    line << std::left << std::setw(4) << row.id << std::setw(17) << (name ? name->name : "-")
         << "area " << row.area << "  " << std::setw(19) << areaFile(row.area).path
         << (isBitArea(row.area) ? "bit  " : "byte ") << std::setw(6) << row.offset << "size "
         << row.size;
    Terminal::printRow(line.str(), name ? name->description : "");
}

/// Version 1.0 had other words for some registers than for the same fields of the records.
struct OldName
{
    std::string_view old;
    std::string_view now;
};
constexpr std::array oldNames{
    OldName{"eth0-address", "eth0_ip"},
    OldName{"eth0-netmask", "eth0_mask"},
    OldName{"eth1-address", "eth1_ip"},
    OldName{"eth1-netmask", "eth1_mask"},
};

/// The name that a register has by now, for one with hyphens of version 1.0.
std::string currentName(std::string word)
{
    for (const OldName& name : oldNames) {
        if (word == name.old) {
            return std::string(name.now);
        }
    }
    std::replace(word.begin(), word.end(), '-', '_');
    return word;
}

/// Why a transfer failed, as the area's file tells it now.
std::string reasonOf(const RegisterRow& row, int access)
{
    const char* path = areaFile(row.area).path;
    const Descriptor file(::open(path, access | O_CLOEXEC));
    if (!file.isOpen()) {
        const int error = errno;
        return std::string(path) + ": " + std::strerror(error);
    }
    return std::string(path) + " is too short or does not take it";
}

bool hasReader(const char* pipe)
{
    return Descriptor(::open(pipe, O_WRONLY | O_NONBLOCK | O_CLOEXEC)).isOpen();
}

[[noreturn]] void failTransfer(const char* what, const RegisterRow& row, int access)
{
    throw Failure("cannot " + std::string(what) + " register " + RegisterValue::label(row.id) +
                  ": " + reasonOf(row, access));
}

} // namespace

namespace RegisterValue {

const RegisterRow& find(const std::string& word)
{
    const RegisterName* name = findRegisterName(currentName(word));
    for (const RegisterRow& row : registerTable) {
        if (word == std::to_string(row.id) || (name && name->id == row.id)) {
            return row;
        }
    }
    throw UsageError("there is no register '" + word + "'; see panelctl reg list");
}

std::size_t byteSize(const RegisterRow& row)
{
    return row.size; // in bytes; a single bit takes one as well
}

std::string label(unsigned id)
{
    const RegisterName* name = findRegisterName(id);
    return std::to_string(id) + (name ? std::string(" ") + name->name : std::string());
}

Value::Bytes read(const RegisterRow& row)
{
    Value::Bytes value(byteSize(row));
    if (SysReg_Read(row.id, value.data()) != 0) {
        failTransfer("read", row, O_RDONLY);
    }
    if (isBitArea(row.area)) {
        value.front() &= 1U; // above it are the bits of other registers
    }
    return value;
}

bool write(const RegisterRow& row, const Value::Bytes& value, bool notify)
{
    const bool isHeard = notify && hasReader(registerPipe);
    const auto size = static_cast<unsigned>(value.size());
    const int result = isHeard ? SysReg_WriteNotify(row.id, value.data(), size)
                               : SysReg_Write(row.id, value.data(), size);
    if (result != 0) {
        failTransfer("write", row, O_WRONLY);
    }
    return isHeard || !notify;
}

QJsonObject jsonOf(const RegisterRow& row, const Value::Bytes& value)
{
    QJsonObject object = Json::ofRegister(row);
    object["value"_l1] = QString::fromStdString(Value::show(kindOf(row), value));
    object["bytes"_l1] = QString::fromStdString(Value::hex(value));
    return object;
}

} // namespace RegisterValue

void Commands::regList(const Arguments& given)
{
    QJsonArray rows;
    for (const RegisterRow& row : registerTable) {
        if (given.has(Option::Json)) {
            rows.append(Json::ofRegister(row));
        } else {
            printRow(row);
        }
    }
    if (given.has(Option::Json)) {
        Json::print(rows);
    }
}

void Commands::regRead(const Arguments& given)
{
    const RegisterRow& row = RegisterValue::find(given.words[0]);
    const Value::Bytes value = RegisterValue::read(row);
    if (given.has(Option::Json)) {
        Json::print(RegisterValue::jsonOf(row, value));
    } else {
        std::cout << Value::show(kindOf(row), value) << '\n';
    }
}

void Commands::regWrite(const Arguments& given)
{
    const RegisterRow& row = RegisterValue::find(given.words[0]);
    const Value::Bytes empty(RegisterValue::byteSize(row));
    const Value::Bytes value = Value::parse(kindOf(row), given.words[1], empty);
    if (!RegisterValue::write(row, value, given.has(Option::Notify))) {
        throw Failure("register " + RegisterValue::label(row.id) +
                      " is written, but nobody reads " + registerPipe);
    }
}
