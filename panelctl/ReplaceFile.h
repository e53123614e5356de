#pragma once

#include <QByteArray>
#include <QString>

/// Gives a file new content in one go: an interrupted command leaves the old file, or none where
/// there was none, and whoever reads the old one goes on with it. Permissions stay; a link stays
/// one. Returns what went wrong, empty when nothing did. The content may reach the medium later
/// only: these are files that somebody copies, or syncs when all of them are made.
QString replaceFile(const QString& path, const QByteArray& content);
