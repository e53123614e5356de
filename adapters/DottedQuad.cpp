#include "adapters/DottedQuad.h"

#include "device/Latin1.h"

namespace {

constexpr int bitsPerOctet = 8;
constexpr quint32 octetMask = 0xFF;

} // namespace

namespace DottedQuad {

quint32 fromOctets(const QStringList& octets)
{
    quint32 value = 0;
    for (int at = 0; at < octetCount; ++at) {
        value |= octets.value(at).toUInt() << (at * bitsPerOctet);
    }
    return value;
}

QStringList toOctets(quint32 value)
{
    QStringList octets;
    for (int at = 0; at < octetCount; ++at) {
        octets << QString::number(value >> (at * bitsPerOctet) & octetMask);
    }
    return octets;
}

QStringList split(const QString& text)
{
    return text.split(QLatin1Char('.'));
}

QString join(const QStringList& octets)
{
    return QString("%1.%2.%3.%4"_l1)
        .arg(octets.value(0), octets.value(1), octets.value(2), octets.value(3));
}

QStringList zero()
{
    return toOctets(0);
}

} // namespace DottedQuad
