#pragma once

#include <QString>
#include <QStringList>

/// An IPv4 value in its three shapes: four octets as decimal texts, the text "192.168.0.5", and the
/// 32-bit number of records and registers, whose least significant byte is the first octet.
namespace DottedQuad {

inline constexpr int octetCount = 4;

/// The number of four decimal texts; a text that is missing or no number counts as 0.
quint32 fromOctets(const QStringList& octets);

/// The octets of a number as decimal texts, first octet first.
QStringList toOctets(quint32 value);

/// The octets of a text, as they stand between its dots.
QStringList split(const QString& text);

/// The first four texts with dots between them, as they stand; a missing one leaves its place
/// empty.
QString join(const QStringList& octets);

/// What is shown for a value nobody has set: "0", four times.
QStringList zero();

} // namespace DottedQuad
