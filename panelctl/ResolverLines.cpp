#include "panelctl/ResolverLines.h"

#include "device/ResolverFile.h"
#include "device/ResolverText.h"
#include "panelctl/Command.h"

#include <QFile>

namespace {

[[noreturn]] void fail(const QFile& file)
{
    throw Failure(std::string("cannot read ") + ResolverFile::path + ": " +
                  file.errorString().toStdString());
}

} // namespace

namespace ResolverLines {

QByteArray read()
{
    QFile file{QString::fromLatin1(ResolverFile::path)};
    if (!file.exists()) {
        return {};
    }
    if (!file.open(QIODevice::ReadOnly)) {
        fail(file);
    }
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        fail(file);
    }
    return bytes;
}

QStringList servers(const QByteArray& text, int adapter)
{
    QStringList found;
    for (int index = 0; index < mostServers; ++index) {
        if (ResolverText::hasServer(text, adapter, index)) {
            found.append(ResolverText::server(text, adapter, index));
        }
    }
    return found;
}

QByteArray with(const QByteArray& text, int adapter, const QStringList& servers)
{
    QByteArray changed = ResolverText::withoutServers(text, adapter);
    for (int index = 0; index < servers.size(); ++index) {
        changed = ResolverText::replaceServer(changed, adapter, index, servers.at(index));
    }
    return changed;
}

} // namespace ResolverLines
