#include "adapters/AdapterMode.h"

#include "adapters/AdapterTable.h"

#include <QtGlobal>

namespace AdapterMode {

bool isDynamic(int adapter)
{
    quint8 flag = 0;
    if (isAdapter(adapter)) {
        adapterTable.at(std::size_t(adapter)).dhcpRegister.read(flag);
    }
    return (flag & 1U) != 0; // above it are the bits of other registers
}

void store(int adapter, bool dynamic)
{
    if (isAdapter(adapter)) {
        const quint8 mode = dynamic ? 1 : 0;
        adapterTable.at(std::size_t(adapter)).dhcpRegister.writeNotify(mode);
    }
}

} // namespace AdapterMode
