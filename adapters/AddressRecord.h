#pragma once

#include "adapters/AdapterTable.h"

#include <QStringList>

/// The addresses of the adapters in a device record, by the offsets of the adapter table. The
/// fields of the record lie where the medium has them and not where the processor likes them, so
/// they are copied byte by byte: a pointer to one would be undefined behaviour.
namespace AddressRecord {

/// The value at @p place, first octet in the least significant byte.
quint32 value(const EEInfoDetail::Flash_WR_1& record, const StoredQuad& place);

/// Changes the four bytes at @p place and nothing else. The register that mirrors them stays.
void setValue(EEInfoDetail::Flash_WR_1& record, const StoredQuad& place, quint32 value);

/// The six bytes of an adapter's MAC address as texts of two lower-case hexadecimal digits, in
/// display order. Empty for an adapter other than 0 and 1.
QStringList mac(const EEInfoDetail::Flash_WR_1& record, int adapter);

} // namespace AddressRecord
