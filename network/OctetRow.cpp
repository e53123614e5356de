#include "network/OctetRow.h"

#include "adapters/DottedQuad.h"
#include "device/Latin1.h"

#include <QHBoxLayout>
#include <QLabel>

#include <algorithm>

namespace {

constexpr int narrowestField = 36; ///< Pixels: three digits.
constexpr QLatin1String fieldStyle = "QLineEdit{border-width:0;border-style:outset}"_l1;

/// A keypad is the only way in: a keyboard would change the text and nothing else.
QLineEdit* makeField(QWidget* parent)
{
    auto* field = new QLineEdit(parent);
    field->setAlignment(Qt::AlignCenter);
    field->setMinimumWidth(narrowestField);
    field->setReadOnly(true);
    field->setContextMenuPolicy(Qt::NoContextMenu);
    return field;
}

} // namespace

OctetRow::OctetRow(QWidget* parent) : QFrame(parent)
{
    setObjectName("octets"_l1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(0);
    for (QLineEdit*& field : m_fields) {
        if (layout->count() > 0) {
            layout->addWidget(new QLabel("."_l1, this));
        }
        field = makeField(this);
        layout->addWidget(field, 1);
    }
    setOctets(DottedQuad::zero());
}

bool OctetRow::contains(const QLineEdit* field) const
{
    return std::find(m_fields.begin(), m_fields.end(), field) != m_fields.end();
}

QStringList OctetRow::octets() const
{
    QStringList texts;
    for (const QLineEdit* field : m_fields) {
        texts << field->text();
    }
    return texts;
}

QString OctetRow::text() const
{
    return DottedQuad::join(octets());
}

quint32 OctetRow::value() const
{
    return DottedQuad::fromOctets(octets());
}

void OctetRow::setOctets(const QStringList& octets)
{
    for (std::size_t at = 0; at < m_fields.size(); ++at) {
        const QString text = octets.value(int(at));
        m_fields.at(at)->setText(text.isEmpty() ? QString(QLatin1Char('0')) : text);
    }
}

void OctetRow::setStyles()
{
    for (QLineEdit* field : m_fields) {
        field->setStyleSheet(fieldStyle);
    }
}

void OctetRow::setFieldHeight(int height)
{
    for (QLineEdit* field : m_fields) {
        field->setFixedHeight(height);
    }
}
