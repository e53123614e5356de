#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QString>

/// The runtime's end of a notice pipe: messages of a fixed number of 32-bit little-endian words.
class NoticeReader : public QObject
{
    Q_OBJECT

public:
    /// Makes the pipe when it is missing, and holds it open.
    NoticeReader(const QString& path, int words, QObject* parent = nullptr);
    ~NoticeReader() override;

signals:
    void notice(const QList<quint32>& words);

private:
    void readAll();

    int m_words;
    int m_descriptor;
    QByteArray m_pending; ///< The start of a message whose rest has not arrived.
    QSocketNotifier* m_notifier = nullptr;
};
