#include "tests/support/PanelWorld.h"

#include "device/Latin1.h"
#include "tests/support/Text.h"

#include <QDir>
#include <QFile>

namespace {

constexpr QLatin1String toolFolder = "/root/plat-intf/"_l1;
constexpr QLatin1String pristineTools = "/panel/tools/"_l1;
constexpr QLatin1String stateFolder = "/panel/state/"_l1;
constexpr QLatin1String commandLog = "/panel/log/commands"_l1;
constexpr QLatin1String callCount = "/panel/log/count"_l1;
constexpr QLatin1String inputFolder = "/panel/log/input/"_l1;

constexpr int screenWidthOffset = 256 + 14; // in the image: the read-only record, and there

} // namespace

namespace PanelWorld {

QStringList commands()
{
    const QString log = QString::fromUtf8(fileContent(commandLog));
    return log.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void clearCommands()
{
    writeFile(commandLog, QByteArray());
    QFile::remove(callCount);
    const QDir inputs(inputFolder);
    for (const QString& name : inputs.entryList(QDir::Files)) {
        QFile::remove(inputs.filePath(name));
    }
}

QByteArray inputOf(int index)
{
    return fileContent(inputFolder + QString::number(index));
}

QByteArray image()
{
    return state("image"_s);
}

void setImage(const QByteArray& image)
{
    setState("image"_s, image);
}

void patchImage(int offset, const QByteArray& bytes)
{
    setImage(image().replace(offset, bytes.size(), bytes));
}

void setScreenWidth(int width)
{
    const char packed[] = {char(width & 0xFF), char((width >> 8) << 4)};
    patchImage(screenWidthOffset, QByteArray(packed, sizeof packed));
}

QByteArray state(const QString& name)
{
    return fileContent(stateFolder + name);
}

void setState(const QString& name, const QByteArray& content)
{
    writeFile(stateFolder + name, content);
}

void replaceTool(const QString& tool, const QByteArray& body)
{
    const QString path = toolFolder + tool;
    QFile::remove(path);
    if (body.isEmpty()) {
        return;
    }
    writeFile(path, "#!/bin/sh\n" + body + '\n');
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void restoreTools()
{
    const QDir tools(pristineTools);
    for (const QString& name : tools.entryList(QDir::Files)) {
        QFile::remove(toolFolder + name);
        if (!QFile::copy(tools.filePath(name), toolFolder + name)) {
            qFatal("cannot put %s back", qPrintable(name));
        }
    }
}

QByteArray fileContent(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() ||
        !file.flush()) {
        qFatal("cannot write %s: %s", qPrintable(path), qPrintable(file.errorString()));
    }
}

bool areaBit(const QString& path, int bit)
{
    return (uchar(fileContent(path).at(bit / 8)) >> (bit % 8)) & 1;
}

void setAreaBit(const QString& path, int bit, bool value)
{
    const int mask = 1 << (bit % 8);
    const int byte = uchar(fileContent(path).at(bit / 8));
    patchFile(path, bit / 8, QByteArray(1, char(value ? byte | mask : byte & ~mask)));
}

void patchFile(const QString& path, int offset, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || !file.seek(offset) ||
        file.write(bytes) != bytes.size()) {
        qFatal("cannot patch %s: %s", qPrintable(path), qPrintable(file.errorString()));
    }
}

} // namespace PanelWorld
