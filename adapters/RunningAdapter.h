#pragma once

#include <QStringList>

/// One Ethernet adapter of the running system, and every command that the settings run on it. What
/// is stored (record, registers, settings file) stays as it is. Each function blocks until its
/// commands have ended, looks at none of their results, and does nothing for an adapter other than
/// 0 and 1. See DefaultRoutes for the routes, which always concern both.
class RunningAdapter
{
public:
    explicit RunningAdapter(int adapter) : m_adapter(adapter) {}

    /// "ifconfig ethN ADDRESS", then "sync". Dotted text, taken as it stands. The kernel gives the
    /// adapter the mask of the address's class.
    void setAddress(const QString& address) const;

    /// "ifconfig ethN netmask MASK", then "sync".
    void setMask(const QString& mask) const;

    /// "ifconfig ethN ADDRESS up": four octets as decimal texts; one that is missing or no number
    /// counts as 0. The mask is not set.
    void bringUp(const QStringList& octets) const;

    /// "ifconfig ethN down", then "sync". A DHCP client goes on running.
    void takeDown() const;

    /// Ends the adapter's DHCP client and starts a new one in the background; see DhcpClient.
    void startDhcpClient() const;
    /// Ends the adapter's DHCP client, if its pid file names one.
    void stopDhcpClient() const;

private:
    int m_adapter;
};
