#pragma once

#include <QComboBox>

/// A combo box in the look of the page, whatever style the host has, with a list of choices that a
/// finger can hit.
class ChoiceBox : public QComboBox
{
public:
    explicit ChoiceBox(QWidget* parent);

    /// Gives the list its style sheet; see AdapterPane::setLook() for the right moment.
    void setStyles();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void drawArrow(QPainter& painter) const;
};
