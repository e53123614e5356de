#pragma once

#include <QByteArray>
#include <QString>

/// Gives a file new content in one go: an interrupted command or a power cut leaves the old file or
/// the new one, never part of it, and whoever reads the old one goes on with it. The content is on
/// the medium when this returns. Owner and permissions stay; a link stays one. Returns what went
/// wrong, empty when nothing did.
///
/// The new content has no name until it is complete, so that a killed command leaves nothing
/// behind, and a new file gets its own name at once. Before an old file is replaced, and where the
/// file system knows no nameless files, the new content is called ".NAME.new" for a moment. The
/// next replacement removes one that was left, and so does removeDraft().
QString replaceFile(const QString& path, const QByteArray& content);

/// Removes the new content that a killed command may have left beside a file, which itself stays as
/// it is. Waits for a replacement that is under way.
void removeDraft(const QString& path);
