#pragma once

#include "tests/network/NetworkPage.h"

#include <QListView>
#include <QMessageBox>
#include <QRegularExpression>

#include <algorithm>

// What the tests of the Network page share: the panel's files, commands and boxes.

inline const QString beep = "/root/plat-intf/setbeep long"_s;
inline const QString resolver = "/etc/resolv.conf"_s;
inline const QString backup = "/etc/resolvbak.conf"_s;
inline const QString noticePipe = "/tmp/fifo_sysreg"_s;
inline const QString wordArea = "/tmp/smw.dat"_s;
inline const QString bitArea = "/hmi_data/sfb.dat"_s;
inline const QString byteArea = "/hmi_data/sfw.dat"_s;
inline constexpr int preferenceByte = 180;
inline constexpr int dhcpBit[2] = {20, 21};
inline constexpr int disabledBit[2] = {13, 14};

using Index = NetworkSettings::networkIndexType;

inline QStringList routes(const QString& gateway0, int metric0, const QString& gateway1,
                          int metric1)
{
    return {"route del default"_s, "route del default"_s,
            "route add default gw %1 dev eth0 metric %2"_s.arg(gateway0).arg(metric0),
            "route add default gw %1 dev eth1 metric %2"_s.arg(gateway1).arg(metric1)};
}

inline QStringList usualRoutes()
{
    return routes("192.168.1.1"_s, 1, "10.0.0.1"_s, 1);
}

inline char storedPreference()
{
    return PanelWorld::fileContent(byteArea).at(preferenceByte);
}

/// Gives a shell tool something to do first, for as long as the object lives.
class BusyTool
{
public:
    BusyTool(const char* tool, const QByteArray& script)
        : m_path("/panel/bin/"_s + QString::fromLatin1(tool)),
          m_usual(PanelWorld::fileContent(m_path))
    {
        PanelWorld::writeFile(m_path, "#!/bin/sh\n" + script + '\n' + m_usual);
    }
    ~BusyTool() { PanelWorld::writeFile(m_path, m_usual); }
    BusyTool(const BusyTool&) = delete;
    BusyTool& operator=(const BusyTool&) = delete;

private:
    QString m_path;
    QByteArray m_usual;
};

/// Looks at something each time that a shell tool is run: what the script prints is one line.
class Looks
{
public:
    Looks(const char* tool, const QByteArray& script)
        : m_tool(tool, "echo $(" + script + ") >>/tmp/looks")
    {
        PanelWorld::writeFile(file, QByteArray());
    }
    /// What was seen since the last call, oldest first.
    QStringList take()
    {
        QStringList seen =
            QString::fromUtf8(PanelWorld::fileContent(file)).split(QLatin1Char('\n'));
        seen.removeLast(); // behind the last line's end
        PanelWorld::writeFile(file, QByteArray());
        return seen;
    }

private:
    const QString file = "/tmp/looks"_s;
    BusyTool m_tool;
};

/// A list that has the same line several times.
inline QStringList repeated(int times, const QString& text)
{
    QStringList lines;
    std::fill_n(std::back_inserter(lines), times, text);
    return lines;
}

inline QStringList choicesOf(const QComboBox& box)
{
    QStringList choices;
    for (int at = 0; at < box.count(); ++at) {
        choices << box.itemText(at);
    }
    return choices;
}

/// The choices that a default-adapter box does not offer.
inline QList<int> hiddenChoices(QComboBox& box)
{
    const auto* list = qobject_cast<QListView*>(box.view());
    QList<int> hidden;
    for (int row = 0; row < box.count(); ++row) {
        if (list->isRowHidden(row)) {
            hidden << row;
        }
    }
    return hidden;
}

/// What the settings file itself says of an adapter's switch; empty when it says nothing.
inline QString switchInFile(int adapter)
{
    const QRegularExpression entry(R"(\[Network%1\]\s+enable=(\w+))"_s.arg(adapter));
    return entry.match(QString::fromUtf8(PanelWorld::fileContent(settingsPath))).captured(1);
}

/// What tests compare of a message box: title, text, icon, number of buttons.
inline QStringList summaryOf(const Hands::Box& box)
{
    return {box.title, box.text, QString::number(box.icon), QString::number(box.buttonCount)};
}

/// The panel as every test of the page finds it.
inline void resetPanel()
{
    PanelWorld::restoreTools();
    QFile::remove(settingsPath);
    for (const QString& file : {resolver, backup}) {
        PanelWorld::writeFile(file, QByteArray());
    }
    for (const QString& pid : {"/var/run/udhcpc0.pid"_s, "/var/run/udhcpc1.pid"_s}) {
        QFile::remove(pid);
    }
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\0'));
    for (const int bit : {dhcpBit[0], dhcpBit[1], disabledBit[0], disabledBit[1]}) {
        PanelWorld::setAreaBit(bitArea, bit, false);
    }
    PanelWorld::patchFile(wordArea, 751, QByteArray(104, '\xEE'));
    PanelWorld::clearCommands();
}
