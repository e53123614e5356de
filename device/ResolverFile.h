#pragma once

class QFile;
class QString;

/// The resolver file on the device. Its bytes are handled as Latin-1 characters, so that whatever
/// somebody else wrote into it goes back as it was read, but for carriage returns, which go: it is
/// opened as text.
namespace ResolverFile {

/// Reads the whole file. False, with @p text untouched, when it cannot be opened for reading and
/// writing, as what cannot be written back is not worth a change, or when reading breaks off. A
/// missing file is made, empty. The file is closed afterwards.
bool load(QFile& file, QString& text);

/// Replaces the content of the file. False when it cannot be opened or takes less than the whole.
bool store(QFile& file, const QString& text);

/// Sets server @p index of adapter @p adapter in the file; see ResolverText::replaceServer(). False
/// when the file cannot be opened or read, which is then left alone, or takes less than the whole.
bool replaceServer(QFile& file, int adapter, int index, const QString& address);

} // namespace ResolverFile
