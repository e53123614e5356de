#include "common/Translation.h"

#include "device/LanguageTable.h"

#include <QCoreApplication>
#include <QTranslator>

namespace Translation {

void install(QTranslator& translator)
{
    QCoreApplication::removeTranslator(&translator);
    QCoreApplication::installTranslator(&translator);
}

bool load(QTranslator& translator, unsigned language)
{
    return translator.load(QLatin1String(Languages::shown(language).file));
}

} // namespace Translation
