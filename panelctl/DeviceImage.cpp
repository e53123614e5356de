#include "panelctl/DeviceImage.h"

#include "device/PlateformInterface.h"
#include "device/ToolPipe.h"
#include "panelctl/Command.h"
#include "panelctl/ReplaceFile.h"
#include "panelctl/Wording.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

constexpr const char* readTool = "/root/plat-intf/readee";
constexpr const char* writeTool = "/root/plat-intf/writeee";
constexpr const char* writeCommand = "/root/plat-intf/writeee count=16";

QString path(const std::string& file)
{
    return QFile::decodeName(file.c_str());
}

void needTool(const char* tool)
{
    if (access(tool, X_OK) != 0) {
        const int error = errno;
        throw Failure(std::string("cannot run ") + tool + ": " + std::strerror(error));
    }
}

/// One byte more than an image has is enough to see that it is too long.
constexpr int mostBytes = static_cast<int>(EEInfoDetail::imageBytes) + 1;

/// The file "-" is standard input.
QByteArray readFile(const std::string& name)
{
    QFile file(path(name));
    if (name == "-" ? !file.open(stdin, QIODevice::ReadOnly) : !file.open(QIODevice::ReadOnly)) {
        throw Failure("cannot read " + name + ": " + file.errorString().toStdString());
    }
    return file.read(mostBytes);
}

/// The records' own channel does not tell how much a tool delivers.
QByteArray readDevice()
{
    needTool(readTool);
    ToolPipe tool("exec /root/plat-intf/readee 2>/dev/null", ToolPipe::Direction::fromTool);
    if (!tool.isOpen()) {
        throw Failure(std::string("cannot run ") + readTool);
    }
    QByteArray bytes(mostBytes, Qt::Uninitialized);
    const std::size_t count = tool.read(bytes.data(), std::size_t(mostBytes));
    bytes.truncate(static_cast<int>(count));
    return bytes;
}

void writeFile(const std::string& name, const QByteArray& bytes)
{
    const QString reason = replaceFile(path(name), bytes);
    if (!reason.isEmpty()) {
        throw Failure("cannot write " + name + ": " + reason.toStdString());
    }
}

} // namespace

DeviceImage::DeviceImage(std::string file) : m_file(std::move(file))
{
    load();
}

void DeviceImage::load()
{
    const QByteArray bytes = m_file.empty() ? readDevice() : readFile(m_file);
    if (bytes.size() != static_cast<int>(m_bytes.size())) {
        const bool isLong = bytes.size() > static_cast<int>(m_bytes.size());
        throw Failure((m_file.empty() ? std::string("the device's image") : m_file) + " has " +
                      (isLong ? "more than 1024 bytes"
                              : Wording::counted(std::size_t(bytes.size()), "byte")) +
                      "; a device image has 1024");
    }
    std::copy(bytes.begin(), bytes.end(), m_bytes.begin());
}

void DeviceImage::replaceDevice(const QByteArray& image)
{
    needTool(writeTool);
    if (image.size() != static_cast<int>(EEInfoDetail::imageBytes)) {
        throw Failure("an image of " + Wording::counted(std::size_t(image.size()), "byte") +
                      " is no device image");
    }
    QByteArray bytes = image; // the tools' channel does not promise to leave them alone
    if (PlateformInterface().writecmd(writeCommand, bytes.data(), bytes.size()) != 0) {
        throw Failure(std::string(writeTool) + " does not take the image");
    }
}

DeviceImage DeviceImage::create(const std::string& file)
{
    if (QFile::exists(path(file))) {
        throw Failure(file + " is there already; it stays as it is");
    }
    DeviceImage image;
    image.m_file = file;
    return image;
}

Value::Bytes DeviceImage::field(const RecordField& field) const
{
    const char* first = m_bytes.data() + imageOffset(field);
    return {first, first + field.size};
}

bool DeviceImage::canChange(const RecordField& field) const
{
    return field.kind != Kind::Reserved && (!m_file.empty() || recordOf(field).writable);
}

void DeviceImage::setField(const RecordField& field, const Value::Bytes& value)
{
    std::memcpy(m_bytes.data() + imageOffset(field), value.data(), field.size);
    m_changed.push_back(&field);
}

void DeviceImage::save()
{
    if (!m_file.empty()) {
        writeFile(m_file, QByteArray(m_bytes.data(), static_cast<int>(m_bytes.size())));
        return;
    }
    needTool(writeTool);
    saveToDevice();
    const DeviceImage kept("");
    for (const RecordField* changed : m_changed) {
        if (kept.field(*changed) != field(*changed)) {
            throw Failure(std::string("the device did not keep ") + changed->name);
        }
    }
}

void DeviceImage::saveToDevice() const
{
    DeviceImage now("");
    for (const RecordField* changed : m_changed) {
        now.setField(*changed, field(*changed));
    }
    // One transfer, not one for each record: the device keeps all of it or nothing.
    if (PlateformInterface().writecmd(writeCommand, now.m_bytes.data(),
                                      static_cast<int>(now.m_bytes.size())) != 0) {
        throw Failure(std::string(writeTool) + " does not take the image");
    }
}
