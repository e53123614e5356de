#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QString>

/// The runtime's end of a notice pipe: messages of a fixed number of 32-bit little-endian words.
/// A pipe has one reader, so whoever else wants to know finds every message as a line of
/// /panel/log/notices: when it came, in seconds since the machine started, the name of the pipe,
/// and the words in decimal.
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
    void writeDown(const QList<quint32>& words) const;

    QString m_name; ///< The pipe's, without its folder.
    int m_words;
    int m_descriptor = -1;
    QByteArray m_pending; ///< The start of a message whose rest has not arrived.
    QSocketNotifier* m_notifier = nullptr;
};
