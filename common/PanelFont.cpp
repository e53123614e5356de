#include "common/PanelFont.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QMap>

namespace {

/// The fonts registered by this library, by path. They leave the application with the library.
class RegisteredFonts
{
public:
    RegisteredFonts() = default;
    Q_DISABLE_COPY_MOVE(RegisteredFonts)

    ~RegisteredFonts()
    {
        if (!QCoreApplication::instance()) {
            return; // the process ends, and its font database has gone already
        }
        for (const int id : qAsConst(m_ids)) {
            QFontDatabase::removeApplicationFont(id);
        }
    }

    int find(const QString& path) const { return m_ids.value(path, -1); }
    void add(const QString& path, int id) { m_ids.insert(path, id); }

private:
    QMap<QString, int> m_ids;
};

RegisteredFonts& registeredFonts()
{
    static RegisteredFonts fonts;
    return fonts;
}

} // namespace

namespace PanelFont {

int registerFile(const QString& path)
{
    const int known = registeredFonts().find(path);
    // A host may have dropped all application fonts meanwhile: then the id is empty.
    if (known >= 0 && !QFontDatabase::applicationFontFamilies(known).isEmpty()) {
        return known;
    }
    const int id = QFontDatabase::addApplicationFont(path);
    if (id >= 0) {
        registeredFonts().add(path, id);
    }
    return id;
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
