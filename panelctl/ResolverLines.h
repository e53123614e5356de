#pragma once

#include <QByteArray>
#include <QStringList>

#include <array>

/// The resolver file of the panel as the commands read and change it. Every byte of somebody
/// else's lines can be written back.
namespace ResolverLines {

/// The servers that an adapter can have, as they are typed, in the order of their lines.
inline constexpr std::array serverWords{"first", "backup"};
inline constexpr int mostServers = int(serverWords.size());

/// The bytes of the file; a missing file is not made, and is empty. Throws Failure.
QByteArray read();

/// The servers of an adapter: none, the first, or the first and its backup.
QStringList servers(const QByteArray& text, int adapter);

/// The text with exactly these servers of an adapter, two at most. Lines of others stay where they
/// are.
QByteArray with(const QByteArray& text, int adapter, const QStringList& servers);

} // namespace ResolverLines
