#include "simulator/host/ShadeKeeper.h"

#include "simulator/host/Shade.h"

#include <QApplication>
#include <QEvent>

#include <algorithm>

namespace {

constexpr int darkRaw = 0;
constexpr int lowestRaw = 76;
constexpr int fullRaw = 200;
// So that the lowest level can still be read on a computer's screen.
constexpr int deepestShade = 170;
constexpr int black = 255;
constexpr int beepShownMs = 600;

} // namespace

ShadeKeeper::ShadeKeeper()
{
    m_beepsEnd.setSingleShot(true);
    connect(&m_beepsEnd, &QTimer::timeout, this, [this] { showBeeps(0); });
    qApp->installEventFilter(this);
}

void ShadeKeeper::setBacklight(int raw)
{
    const int shade = (fullRaw - raw) * deepestShade / (fullRaw - lowestRaw);
    m_darkness = raw <= darkRaw ? black : std::clamp(shade, 0, deepestShade);
    for (Shade* over : shades()) {
        over->setDarkness(m_darkness);
    }
}

void ShadeKeeper::beep()
{
    showBeeps(m_beeps + 1);
    m_beepsEnd.start(beepShownMs);
}

void ShadeKeeper::showBeeps(int beeps)
{
    m_beeps = beeps;
    for (Shade* shade : shades()) {
        apply(shade);
    }
}

void ShadeKeeper::apply(Shade* shade) const
{
    shade->setDarkness(m_darkness);
    shade->setBeeps(shade->window()->isFullScreen() ? m_beeps : 0);
}

bool ShadeKeeper::eventFilter(QObject* watched, QEvent* event)
{
    auto* window = qobject_cast<QWidget*>(watched);
    if (event->type() != QEvent::Show || !window || !window->isWindow()) {
        return false;
    }
    auto* shade = window->findChild<Shade*>(QString(), Qt::FindDirectChildrenOnly);
    if (!shade) {
        shade = new Shade(window);
        connect(shade, &Shade::wakeUp, this, &ShadeKeeper::wakeUp);
    }
    apply(shade);
    return false;
}

QList<Shade*> ShadeKeeper::shades() const
{
    QList<Shade*> all;
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        all << window->findChildren<Shade*>(QString(), Qt::FindDirectChildrenOnly);
    }
    return all;
}
