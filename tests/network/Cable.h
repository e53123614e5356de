#pragma once

#include "tests/network/NetworkTest.h"
#include "tests/support/TimerLog.h"
#include "tests/support/Tool.h"

/// An adapter that the kernel really has, with an address that a DHCP client might have got. It
/// goes with the object.
class Cable
{
public:
    explicit Cable(int adapter, const QString& address = "10.1.2.77/16"_s)
        : m_name("eth%1"_s.arg(adapter))
    {
        ip("link add %1 type veth peer name far"_s.arg(m_name));
        setFarEnd(true);
        addAddress(address);
        ip("link set %1 up"_s.arg(m_name));
    }
    ~Cable() { ip("link del %1"_s.arg(m_name)); }
    Cable(const Cable&) = delete;
    Cable& operator=(const Cable&) = delete;

    void addAddress(const QString& address) { ip("addr add %1 dev %2"_s.arg(address, m_name)); }
    void setFarEnd(bool up) { ip("link set far %1"_s.arg(up ? "up"_s : "down"_s)); }
    void setUp(bool up) { ip("link set %1 %2"_s.arg(m_name, up ? "up"_s : "down"_s)); }

private:
    static void ip(const QString& arguments)
    {
        if (runTool(QByteArrayList{"ip"} + arguments.toLatin1().split(' ')) != 0) {
            qFatal("ip %s failed", qPrintable(arguments));
        }
    }

    QString m_name;
};

/// Longer than the time between two looks for a lease, in milliseconds.
inline constexpr int severalPolls = 350;

/// The time between two looks for a lease, in milliseconds.
inline constexpr int pollInterval = 100;
