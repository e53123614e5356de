#include "adapters/DefaultRoutes.h"

#include "device/ShellLine.h"
#include "regstore/NamedRegister.h"

namespace DefaultRoutes {

int storedPreference()
{
    quint8 preference = 0;
    Registers::defaultAdapter.read(preference);
    return preference;
}

void load()
{
    Registers::defaultAdapter.load();
}

void storePreference(quint8 preference)
{
    Registers::defaultAdapter.writeNotify(preference);
}

void storeAdapterNumber(quint32 adapter)
{
    Registers::defaultAdapter.writeNotify(adapter); // four bytes are passed, one is kept
}

void rebuild(int preference, const std::array<QString, 2>& gateways)
{
    for (std::size_t route = 0; route < gateways.size(); ++route) {
        ShellLine::run("route del default");
    }
    if (preference == preferenceOfRegister) {
        preference = storedPreference();
    }
    for (int adapter = 0; adapter < int(gateways.size()); ++adapter) {
        const QByteArray gateway = gateways.at(std::size_t(adapter)).toLatin1();
        const int metric = preference - 1 == adapter ? 0 : 1;
        ShellLine::run("route add default gw %s dev eth%d metric %d", gateway.constData(), adapter,
                       metric);
    }
}

} // namespace DefaultRoutes
