#include "device/ResolverText.h"

#include <QStringList>

namespace {

constexpr QLatin1Char lineEnd('\n');

/// Index of the line of a server, -1 when there is none.
int lineOf(const QStringList& lines, int adapter, int index)
{
    const QString tag = QString::fromLatin1("eth%1").arg(adapter);
    int seen = 0;
    for (int at = 0; at < lines.size(); ++at) {
        if (lines.at(at).indexOf(tag) > 0 && seen++ == index) {
            return at;
        }
    }
    return -1;
}

} // namespace

namespace ResolverText {

bool hasServer(const QString& text, int adapter, int index)
{
    return lineOf(text.split(lineEnd), adapter, index) >= 0;
}

QString server(const QString& text, int adapter, int index)
{
    const QStringList lines = text.split(lineEnd);
    const int at = lineOf(lines, adapter, index);
    return at < 0 ? QString() : lines.at(at).split(QLatin1Char(' ')).value(1);
}

QString replaceServer(const QString& text, int adapter, int index, const QString& address)
{
    QStringList lines = text.split(lineEnd);
    const int at = lineOf(lines, adapter, index);
    const QString line =
        QString::fromLatin1("nameserver %1 # eth%2").arg(address, QString::number(adapter));
    if (at < 0) {
        lines.append(line);
    } else {
        lines[at] = line;
    }
    lines.removeAll(QString());
    return lines.join(lineEnd);
}

} // namespace ResolverText
