#include "device/ResolverFile.h"

#include "device/ResolverText.h"
#include "device/ShellLine.h"
#include "fileio/StandardDescriptors.h"

#include <QFile>

namespace {

constexpr char unknownAddress[] = "0.0.0.0";

} // namespace

namespace ResolverFile {

void makeMissing()
{
    if (!QFile::exists(QString::fromLatin1(backupPath))) {
        ShellLine::run("touch %s", backupPath);
    }
    if (!QFile::exists(QString::fromLatin1(path))) {
        ShellLine::run("cp %s %s", backupPath, path);
    }
}

void backUp()
{
    ShellLine::run("cp %s %s", path, backupPath);
}

bool server(int adapter, int index, QString& address)
{
    const StandardDescriptors standard;
    QFile file(QString::fromLatin1(path));
    const bool exists = file.exists();
    if (exists && !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return false;
    }
    const QString found = exists ? server(file, adapter, index) : QString();
    address = found.isEmpty() ? QString::fromLatin1(unknownAddress) : found;
    return true;
}

QString server(QFile& open, int adapter, int index)
{
    const QByteArray text = open.readAll();
    return ResolverText::hasServer(text, adapter, index)
               ? ResolverText::server(text, adapter, index)
               : QString::fromLatin1(unknownAddress);
}

bool load(QFile& file, QByteArray& text)
{
    const StandardDescriptors standard;
    if (!file.open(QIODevice::ReadWrite | QIODevice::Text)) {
        return false;
    }
    const QByteArray bytes = file.readAll();
    const bool isWhole = file.error() == QFileDevice::NoError;
    file.close();
    text = isWhole ? bytes : text;
    return isWhole;
}

bool store(QFile& file, const QByteArray& text)
{
    const StandardDescriptors standard;
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        return false;
    }
    const bool written = file.write(text) == text.size() && file.flush();
    file.close();
    return written;
}

bool replaceServer(QFile& file, int adapter, int index, const QString& address)
{
    QByteArray text;
    return load(file, text) &&
           store(file, ResolverText::replaceServer(text, adapter, index, address));
}

} // namespace ResolverFile
