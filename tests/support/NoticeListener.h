#pragma once

#include <QByteArray>
#include <QString>

/// The runtime's end of a notice pipe: holds it open for reading, so that notices arrive, and
/// hands them out. Makes the pipe when it is missing.
class NoticeListener
{
public:
    explicit NoticeListener(const QString& path);
    ~NoticeListener();
    NoticeListener(const NoticeListener&) = delete;
    NoticeListener& operator=(const NoticeListener&) = delete;

    /// Everything that has arrived since the last call.
    QByteArray takeAll();

    /// The same as 4-byte little-endian numbers, for the register notices.
    QList<quint32> takeNumbers();

private:
    int m_descriptor = -1;
};
