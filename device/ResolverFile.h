#pragma once

class QFile;
class QString;

/// The resolver file on the device, UTF-8 text.
namespace ResolverFile {

/// Reads the whole file. False, with @p text untouched, when it cannot be opened for reading and
/// writing: what cannot be written back is not worth a change. A missing file is made, empty. The
/// file is closed afterwards.
bool load(QFile& file, QString& text);

/// Replaces the content of the file. False when it cannot be opened or takes less than the whole.
bool store(QFile& file, const QString& text);

} // namespace ResolverFile
