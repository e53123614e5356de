#include "device/ResolverText.h"

#include <QList>

namespace {

constexpr char lineEnd = '\n';
constexpr char byteOrderMark[] = "\xEF\xBB\xBF";

/// Whether the first @p skip bytes, which do not count, are followed by a line of the adapter.
bool belongsTo(const QByteArray& line, int adapter, int skip)
{
    return line.mid(skip).indexOf("eth" + QByteArray::number(adapter)) > 0;
}

/// Places of the adapter's lines, in their order.
QList<int> placesOf(const QList<QByteArray>& lines, int adapter)
{
    const bool isMarked = lines.first().startsWith(byteOrderMark);
    QList<int> places;
    for (int at = 0; at < lines.size(); ++at) {
        const int skip = at == 0 && isMarked ? int(sizeof byteOrderMark) - 1 : 0;
        if (belongsTo(lines.at(at), adapter, skip)) {
            places << at;
        }
    }
    return places;
}

} // namespace

namespace ResolverText {

bool hasServer(const QByteArray& text, int adapter, int index)
{
    return index >= 0 && index < placesOf(text.split(lineEnd), adapter).size();
}

QString server(const QByteArray& text, int adapter, int index)
{
    const QList<QByteArray> lines = text.split(lineEnd);
    const QList<int> places = placesOf(lines, adapter);
    if (index < 0 || index >= places.size()) {
        return {};
    }
    const QByteArray word = lines.at(places.at(index)).split(' ').value(1);
    // With its length: it would end at a zero byte otherwise.
    return QString::fromUtf8(word.constData(), word.size());
}

QByteArray replaceServer(const QByteArray& text, int adapter, int index, const QString& address)
{
    QList<QByteArray> lines = text.split(lineEnd);
    const QByteArray line =
        "nameserver " + address.toUtf8() + " # eth" + QByteArray::number(adapter);
    const int at = placesOf(lines, adapter).value(index, lines.size());
    if (at == lines.size()) {
        lines.append(line);
    } else {
        lines[at] = line;
    }
    lines.removeAll(QByteArray());
    return lines.join(lineEnd);
}

QByteArray withoutServers(const QByteArray& text, int adapter)
{
    const QList<QByteArray> lines = text.split(lineEnd);
    const QList<int> places = placesOf(lines, adapter);
    QList<QByteArray> kept;
    for (int at = 0; at < lines.size(); ++at) {
        if (!places.contains(at)) {
            kept << lines.at(at);
        }
    }
    return kept.join(lineEnd);
}

} // namespace ResolverText
