#include "common/PanelFont.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QMap>

namespace {

QMap<QString, int>& registeredIds()
{
    static QMap<QString, int> ids;
    return ids;
}

} // namespace

namespace PanelFont {

int registerFile(const QString& path)
{
    const int known = registeredIds().value(path, -1);
    // A host may have dropped all application fonts meanwhile: then the id is empty.
    if (known >= 0 && !QFontDatabase::applicationFontFamilies(known).isEmpty()) {
        return known;
    }
    const int id = QFontDatabase::addApplicationFont(path);
    if (id >= 0) {
        registeredIds().insert(path, id);
    }
    return id;
}

void unregisterFiles()
{
    for (const int id : qAsConst(registeredIds())) {
        QFontDatabase::removeApplicationFont(id);
    }
    registeredIds().clear();
}

QString family(int fontId)
{
    const QStringList families = QFontDatabase::applicationFontFamilies(fontId);
    return families.isEmpty() ? QGuiApplication::font().family() : families.first();
}

QFont font(int fontId, int pointSize, int weight)
{
    return QFont(family(fontId), pointSize, weight);
}

} // namespace PanelFont
