#include "common/Translation.h"

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
    return translator.load(language == 0 ? QLatin1String(":/Languages/Translate_CN.qm")
                                         : QLatin1String(":/Languages/Translate_EN.qm"));
}

} // namespace Translation
