#pragma once

#include <QTabWidget>

/// Tabs whose pages have their place before they are shown. A QTabWidget places them only when it
/// is shown itself, after its pages: all that is in them was laid out twice, and painted twice,
/// because it had moved.
class PaneTabs : public QTabWidget
{
public:
    using QTabWidget::QTabWidget;

protected:
    void resizeEvent(QResizeEvent* event) override;
};
