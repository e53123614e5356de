#include "network/LiveAddress.h"

#include <QNetworkInterface>

namespace LiveAddress {

QStringList of(const QString& interfaceName)
{
    const QNetworkInterface interface = QNetworkInterface::interfaceFromName(interfaceName);
    const auto ready = QNetworkInterface::IsUp | QNetworkInterface::IsRunning;
    if ((interface.flags() & ready) != ready) {
        return {};
    }
    const QList<QNetworkAddressEntry> entries = interface.addressEntries();
    for (const QNetworkAddressEntry& entry : entries) {
        if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol) {
            return {entry.ip().toString(), entry.netmask().toString()};
        }
    }
    return {};
}

} // namespace LiveAddress
