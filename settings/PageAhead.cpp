#include "settings/PageAhead.h"

#include <QComboBox>
#include <QEvent>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTabBar>

#include <utility>

namespace {

/// A letter has another shape at another place between two pixels: what is centred is drawn in the
/// widget's own rectangle. Qt begins the text of a field at a whole pixel, however it is aligned.
void drawTexts(QPainter& painter, const QWidget& widget)
{
    const auto draw = [&](const QRect& rect, int alignment, const QString& text) {
        painter.setFont(widget.font());
        painter.drawText(rect, alignment | Qt::TextDontClip, text);
    };
    if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
        draw(widget.rect(), int(label->alignment()), label->text());
    } else if (const auto* field = qobject_cast<const QLineEdit*>(&widget)) {
        draw(widget.rect(), Qt::AlignLeft, field->text());
    } else if (const auto* button = qobject_cast<const QPushButton*>(&widget)) {
        draw(widget.rect(), Qt::AlignCenter, button->text());
    } else if (const auto* box = qobject_cast<const QComboBox*>(&widget)) {
        draw(widget.rect(), Qt::AlignLeft, box->currentText());
    } else if (const auto* group = qobject_cast<const QGroupBox*>(&widget)) {
        draw(widget.rect(), Qt::AlignLeft, group->title());
    } else if (const auto* tabs = qobject_cast<const QTabBar*>(&widget)) {
        for (int tab = 0; tab < tabs->count(); ++tab) {
            draw(tabs->tabRect(tab), Qt::AlignCenter, tabs->tabText(tab));
        }
    }
}

} // namespace

PageAhead::PageAhead(QWidget* window, const QWidget* page, std::function<void()> complete)
    : QObject(window), m_page(page), m_complete(std::move(complete))
{
    window->installEventFilter(this);
}

bool PageAhead::eventFilter(QObject* /*watched*/, QEvent* event)
{
    if (event->type() == (m_isPainted ? QEvent::LanguageChange : QEvent::Paint)) {
        m_isPainted = true;
        m_pause.start(0, this);
    }
    return false;
}

void PageAhead::timerEvent(QTimerEvent* /*event*/)
{
    m_pause.stop();
    if (m_page->isVisible()) {
        return;
    }
    m_complete();
    QImage picture(1, 1, QImage::Format_RGB32);
    QPainter painter(&picture);
    for (const QWidget* widget : m_page->findChildren<QWidget*>()) {
        if (widget->isVisibleTo(m_page)) {
            drawTexts(painter, *widget);
        }
    }
}
