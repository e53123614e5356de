#include "device/ResolverFile.h"

#include "device/ResolverText.h"

#include <QFile>
#include <QString>

namespace ResolverFile {

bool load(QFile& file, QString& text)
{
    if (!file.open(QIODevice::ReadWrite | QIODevice::Text)) {
        return false;
    }
    const QByteArray bytes = file.readAll();
    const bool isWhole = file.error() == QFileDevice::NoError;
    file.close();
    // With its length: otherwise it would end at a zero byte, and the rest of the file be lost.
    text = isWhole ? QString::fromLatin1(bytes.constData(), bytes.size()) : text;
    return isWhole;
}

bool store(QFile& file, const QString& text)
{
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        return false;
    }
    const QByteArray bytes = text.toLatin1();
    const bool written = file.write(bytes) == bytes.size() && file.flush();
    file.close();
    return written;
}

bool replaceServer(QFile& file, int adapter, int index, const QString& address)
{
    QString text;
    return load(file, text) &&
           store(file, ResolverText::replaceServer(text, adapter, index, address));
}

} // namespace ResolverFile
