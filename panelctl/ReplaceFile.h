#pragma once

#include <QByteArray>
#include <QString>

/// Gives a file new content in one go: an interrupted command or a power cut leaves the old file or
/// the new one, never part of it, and whoever reads the old one goes on with it. The content is on
/// the medium when this returns. Owner and permissions stay; a link stays one. Returns what went
/// wrong, empty when nothing did.
///
/// The new content has no name until it is complete, so that a killed command leaves nothing
/// behind. Where the file system knows no nameless files, and for the moment before the old file
/// is replaced, it is called ".NAME.new"; the next replacement removes one that was left.
QString replaceFile(const QString& path, const QByteArray& content);

/// Removes the new content that a killed command may have left beside a file, which itself stays as
/// it is.
void removeDraft(const QString& path);
