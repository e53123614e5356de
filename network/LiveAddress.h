#pragma once

#include <QStringList>

/// The addresses of the running system.
namespace LiveAddress {

/// The first IPv4 address of an interface and its mask, as two dotted texts. Empty unless the
/// interface exists, is up, has a link and has such an address.
QStringList of(const QString& interfaceName);

} // namespace LiveAddress
