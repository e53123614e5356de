#pragma once

#include <QFrame>
#include <QLineEdit>
#include <QStringList>

#include <array>

/// The four fields of one IPv4 value, with dots between them. It has two readings: the texts as
/// shown, for commands and routes, and the number they stand for, for records and registers.
class OctetRow : public QFrame
{
    Q_OBJECT

public:
    explicit OctetRow(QWidget* parent);

    const std::array<QLineEdit*, 4>& fields() const { return m_fields; }
    bool contains(const QLineEdit* field) const;

    /// The texts of the fields, first octet first.
    QStringList octets() const;
    /// The texts of the fields, joined with dots.
    QString text() const;
    /// The number; a text that is no number counts as 0.
    quint32 value() const;

    /// Shows the first four texts; a missing or empty one shows as "0".
    void setOctets(const QStringList& octets);

    /// Gives the fields their style sheets; see AdapterPane::setLook() for the right moment.
    void setStyles();

    /// Height of the fields in pixels.
    void setFieldHeight(int height);

private:
    std::array<QLineEdit*, 4> m_fields{};
};
