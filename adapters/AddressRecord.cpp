#include "adapters/AddressRecord.h"

#include "device/Latin1.h"

#include <cstring>

namespace AddressRecord {

quint32 value(const EEInfoDetail::Flash_WR_1& record, const StoredQuad& place)
{
    quint32 value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + place.recordOffset, sizeof value);
    return value;
}

void setValue(EEInfoDetail::Flash_WR_1& record, const StoredQuad& place, quint32 value)
{
    std::memcpy(reinterpret_cast<char*>(&record) + place.recordOffset, &value, sizeof value);
}

QStringList mac(const EEInfoDetail::Flash_WR_1& record, int adapter)
{
    constexpr int macBytes = 6;
    constexpr int hexadecimal = 16;
    if (!isAdapter(adapter)) {
        return {};
    }
    const auto* bytes =
        reinterpret_cast<const quint8*>(&record) + adapterTable.at(std::size_t(adapter)).macOffset;
    QStringList texts;
    for (int at = 0; at < macBytes; ++at) {
        texts << QString("%1"_l1).arg(bytes[at], 2, hexadecimal, QLatin1Char('0'));
    }
    return texts;
}

} // namespace AddressRecord
