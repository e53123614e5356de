#pragma once

#include <QByteArray>
#include <QString>

/// The format of the resolver file, as functions from bytes to bytes.
///
/// A line "nameserver 8.8.8.8 # eth0" belongs to adapter 0: it has the adapter's tag anywhere but
/// at its very start. The first such line is the adapter's first server, the second its backup;
/// further ones are ignored. All other lines are somebody else's and kept as they are, byte for
/// byte: whatever their encoding, and with zero bytes in them. A byte order mark at the start of
/// the file is no part of its first line; it goes only with that line.
namespace ResolverText {

/// Whether there is a line for server @p index (0 first, 1 backup) of adapter @p adapter.
bool hasServer(const QByteArray& text, int adapter, int index);

/// Address of server @p index (0 first, 1 backup) of adapter @p adapter: the second word of its
/// line, split at single blanks and read as UTF-8. Empty when there is no such line or the line has
/// one word only.
QString server(const QByteArray& text, int adapter, int index);

/// The text with that server set to @p address: in place, or as a new last line when there is
/// none. Empty lines and the line end of the last line go.
QByteArray replaceServer(const QByteArray& text, int adapter, int index, const QString& address);

/// The text without the lines of an adapter.
QByteArray withoutServers(const QByteArray& text, int adapter);

} // namespace ResolverText
