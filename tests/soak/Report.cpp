#include "tests/soak/Report.h"
#include "tests/support/Text.h"

#include <QMutex>

#include <algorithm>
#include <cstdio>

namespace {

QMutex& mutex()
{
    static QMutex mutex;
    return mutex;
}

QStringList& caught()
{
    static QStringList texts;
    return texts;
}

void onMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    if (type == QtDebugMsg || type == QtInfoMsg ||
        text.startsWith(QLatin1String("This plugin does not support"))) {
        return;
    }
    std::fprintf(stderr, "%s\n", qPrintable(text));
    const QMutexLocker locker(&mutex());
    caught() << text;
}

long peak(const std::vector<Census>& counts, std::size_t begin, std::size_t end,
          long Census::*value)
{
    long highest = 0;
    for (std::size_t at = begin; at < end; ++at) {
        highest = std::max(highest, counts[at].*value);
    }
    return highest;
}

} // namespace

QStringList Report::growth(const std::vector<Census>& counts)
{
    const std::size_t third = counts.size() / 3;
    QStringList texts;
    for (const Measure& measure : measures()) {
        const long before = peak(counts, third, 2 * third, measure.value);
        const long after = peak(counts, 2 * third, counts.size(), measure.value);
        if (after > before + before * measure.percent / 100) {
            texts << "%1: %2, and later %3"_s.arg(QString::fromLatin1(measure.name))
                         .arg(before)
                         .arg(after);
        }
    }
    return texts;
}

void Report::catchWarnings()
{
    qInstallMessageHandler(onMessage);
}

QStringList Report::warnings()
{
    const QMutexLocker locker(&mutex());
    return caught();
}
