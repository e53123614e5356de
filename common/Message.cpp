#include "common/Message.h"

#include "common/CallerGuard.h"
#include "common/KeyStyle.h"
#include "common/PanelFont.h"
#include "common/Signs.h"
#include "device/Latin1.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLayout>
#include <QPixmap>
#include <QPushButton>

namespace {

constexpr int pointSize = 13;
constexpr int margin = 24;
constexpr QSize textSize(200, 56);
constexpr QSize keySize(120, 50);

constexpr QLatin1String boxStyle =
    "QMessageBox{background-color:rgb(255, 255, 255);border:2px solid #000000;"
    "border-radius:3px;}"_l1;

QPixmap signOf(QMessageBox::Icon icon)
{
    QPixmap sign;
    if (icon == QMessageBox::Critical) {
        sign.loadFromData(Signs::critical, sizeof Signs::critical);
    } else {
        sign.loadFromData(Signs::information, sizeof Signs::information);
    }
    return sign;
}

void layOut(QMessageBox& box, const QFont& font)
{
    box.layout()->setContentsMargins(margin, margin, margin, margin);
    auto* text = box.findChild<QLabel*>("qt_msgbox_label"_l1);
    text->setFont(font);
    text->setMinimumSize(text->sizeHint().expandedTo(textSize));
    // Not by setIconPixmap(): the box would forget the kind of its icon.
    auto* sign = box.findChild<QLabel*>("qt_msgboxex_icon_label"_l1);
    sign->setPixmap(signOf(box.icon()));
    box.layout()->setAlignment(sign, Qt::AlignVCenter);
    box.findChild<QDialogButtonBox*>()->setCenterButtons(true);
}

void styleKey(QAbstractButton& key, int fontId)
{
    key.setText(key.text().remove(QLatin1Char('&'))); // there is no keyboard to underline it for
    key.setFont(PanelFont::font(fontId, pointSize, QFont::Bold));
    key.setFixedSize(keySize);
    key.setStyleSheet(keyStyle);
}

} // namespace

void Message::show(const QObject* caller, int fontId, QMessageBox::Icon icon, const QString& title,
                   const QString& text, QMessageBox::StandardButton button)
{
    QMessageBox box(icon, title, text, button, nullptr,
                    Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    box.setDefaultButton(button);
    box.setStyleSheet(boxStyle);
    layOut(box, PanelFont::font(fontId, pointSize, QFont::Normal));
    styleKey(*box.button(button), fontId);
    CallerGuard guard;
    guard.watch(&box, caller);
    box.exec();
}
