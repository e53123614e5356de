#pragma once

#include <QFont>
#include <QString>

/// The one font of the panel, a file on the device that every text is drawn with.
namespace PanelFont {

/// Registers the font file with the application and returns its id, or -1 when there is no such
/// font. The id of a file registered before is returned again: dialogs come and go, and Qt
/// would keep one more entry for each. The font leaves the application when the library is
/// unloaded.
int registerFile(const QString& path);

/// First family of the font id; the application's default family when the id has none, so that
/// a missing font file costs the looks and nothing else.
QString family(int fontId);

/// A font of that family. @p pointSize in points, @p weight on QFont's scale (50 normal, 75 bold).
QFont font(int fontId, int pointSize, int weight);

} // namespace PanelFont
