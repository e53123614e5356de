#include "adapters/AdapterSwitch.h"

#include "adapters/AdapterTable.h"
#include "fileio/StandardDescriptors.h"

#include <QSettings>
#include <QString>

namespace {

/// Of an adapter of the table.
QString keyOf(int adapter)
{
    return QString::fromLatin1(adapterTable.at(std::size_t(adapter)).enableKey);
}

} // namespace

namespace AdapterSwitch {

bool isOff(const QSettings* settings, int adapter)
{
    if (!settings || !isAdapter(adapter)) {
        return false;
    }
    const QString key = keyOf(adapter);
    return settings->contains(key) && !settings->value(key).toBool();
}

void store(QSettings* settings, int adapter, bool on)
{
    if (!isAdapter(adapter)) {
        return;
    }
    if (settings) {
        const StandardDescriptors standard;
        settings->setValue(keyOf(adapter), on);
        settings->sync();
    }
    const quint8 off = on ? 0 : 1;
    adapterTable.at(std::size_t(adapter)).disabledRegister.write(off);
}

} // namespace AdapterSwitch
