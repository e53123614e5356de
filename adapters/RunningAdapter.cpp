#include "adapters/RunningAdapter.h"

#include "adapters/AdapterTable.h"
#include "adapters/DhcpClient.h"
#include "device/EEInfoHandle.h"
#include "device/ShellLine.h"

void RunningAdapter::setAddress(const QString& address) const
{
    if (isAdapter(m_adapter)) {
        EEInfoHandle::instance()->setIP(m_adapter, address.toStdString());
    }
}

void RunningAdapter::setMask(const QString& mask) const
{
    if (isAdapter(m_adapter)) {
        EEInfoHandle::instance()->setMask(m_adapter, mask.toStdString());
    }
}

void RunningAdapter::bringUp(const QStringList& octets) const
{
    if (isAdapter(m_adapter)) {
        ShellLine::run("ifconfig eth%d %d.%d.%d.%d up\n", m_adapter, octets.value(0).toInt(),
                       octets.value(1).toInt(), octets.value(2).toInt(), octets.value(3).toInt());
    }
}

void RunningAdapter::takeDown() const
{
    if (isAdapter(m_adapter)) {
        EEInfoHandle::instance()->disableNetwork(m_adapter);
    }
}

void RunningAdapter::startDhcpClient() const
{
    DhcpClient::start(m_adapter);
}

void RunningAdapter::stopDhcpClient() const
{
    DhcpClient::stop(m_adapter);
}
