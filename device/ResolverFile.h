#pragma once

#include <QByteArray>
#include <QString>

class QFile;

/// The resolver file on the device and its backup. Both are opened as text, which drops carriage
/// returns; all other bytes that are somebody else's go back as they were read.
namespace ResolverFile {

inline constexpr char path[] = "/etc/resolv.conf";
inline constexpr char backupPath[] = "/etc/resolvbak.conf";

/// Makes a missing backup ("touch"), empty, and a missing resolver file from the backup ("cp").
/// Runs nothing when both are there.
void makeMissing();

/// Copies the resolver file over its backup ("cp").
void backUp();

/// Address of server @p index (0 first, 1 backup) of adapter @p adapter in the resolver file:
/// "0.0.0.0" when there is none, its line has no second word, or there is no resolver file. False,
/// with @p address untouched, when it cannot be opened.
bool server(int adapter, int index, QString& address);

/// The same in the rest of an open file; empty when the line of the server has no second word.
QString server(QFile& open, int adapter, int index);

/// Reads the whole file. False, with @p text untouched, when it cannot be opened for reading and
/// writing, as what cannot be written back is not worth a change, or when reading breaks off. A
/// missing file is made, empty. The file is closed afterwards.
bool load(QFile& file, QByteArray& text);

/// Replaces the content of the file. False when it cannot be opened or takes less than the whole.
bool store(QFile& file, const QByteArray& text);

/// Sets server @p index of adapter @p adapter in the file; see ResolverText::replaceServer(). False
/// when the file cannot be opened or read, which is then left alone, or takes less than the whole.
bool replaceServer(QFile& file, int adapter, int index, const QString& address);

} // namespace ResolverFile
