#include "adapters/AdapterSwitch.h"

#include "adapters/AdapterTable.h"
#include "fileio/StandardDescriptors.h"

#include <QSettings>
#include <QString>

namespace {

QString keyOf(int adapter)
{
    return QString::fromLatin1("Network%1/enable").arg(adapter);
}

} // namespace

namespace AdapterSwitch {

bool isOff(const QSettings* settings, int adapter)
{
    const QString key = keyOf(adapter);
    return settings && settings->contains(key) && !settings->value(key).toBool();
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
