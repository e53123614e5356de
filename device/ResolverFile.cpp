#include "device/ResolverFile.h"

#include <QFile>
#include <QString>

namespace ResolverFile {

bool load(QFile& file, QString& text)
{
    if (!file.open(QIODevice::ReadWrite | QIODevice::Text)) {
        return false;
    }
    text = QString::fromUtf8(file.readAll());
    file.close();
    return true;
}

bool store(QFile& file, const QString& text)
{
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        return false;
    }
    const QByteArray bytes = text.toUtf8();
    const bool written = file.write(bytes) == bytes.size();
    file.close();
    return written;
}

} // namespace ResolverFile
