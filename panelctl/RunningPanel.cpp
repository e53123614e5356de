#include "panelctl/RunningPanel.h"

#include "adapters/AdapterTable.h"
#include "adapters/DefaultRoutes.h"
#include "adapters/DottedQuad.h"
#include "adapters/RunningAdapter.h"
#include "device/EEInfoHandle.h"
#include "device/Latin1.h"
#include "panelctl/Descriptor.h"
#include "panelctl/RecordFields.h"
#include "panelctl/Value.h"

#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Gives the commands empty standard streams while it lives. A DHCP client that went on running
/// with ours would keep the connection open over which this program was called.
class OwnStreams
{
public:
    OwnStreams()
    {
        const Descriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
        for (const int stream : streams) {
            m_ours.at(std::size_t(stream)) = fcntl(stream, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            dup2(nothing.number(), stream);
        }
    }
    ~OwnStreams()
    {
        for (const int stream : streams) {
            const int ours = m_ours.at(std::size_t(stream));
            dup2(ours, stream);
            ::close(ours);
        }
    }
    OwnStreams(const OwnStreams&) = delete;
    OwnStreams& operator=(const OwnStreams&) = delete;

private:
    static constexpr std::array streams{STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    std::array<int, streams.size()> m_ours = {};
};

/// One adapter, with what is stored of it and which of that has changed.
class Adapter
{
public:
    Adapter(const PanelState& panel, const std::set<std::string>& places, int number)
        : m_panel(panel), m_places(places), m_number(number)
    {
    }

    /// Whether anything of it has changed that running adapters show.
    bool isConcerned() const
    {
        for (const char* name : {"ip", "mask", "gateway", "dhcp", "off"}) {
            if (hasChanged(name)) {
                return true;
            }
        }
        return false;
    }

    /// Of the record, also where there is no such adapter: routes are built from both.
    QString gateway() const
    {
        const RecordField& field = fieldNamed(m_number == 0 ? "eth0_gateway" : "eth1_gateway");
        return QString::fromStdString(Value::show(field.kind, m_panel.image().field(field)));
    }

    void follow() const
    {
        const bool isSwitched = hasChanged("off") || hasChanged("dhcp");
        const RunningAdapter adapter(m_number);
        if (text("off") == "on"_l1) {
            adapter.takeDown();
        } else if (text("dhcp") == "off"_l1) {
            followAddress(adapter, isSwitched);
        } else if (isSwitched) {
            adapter.startDhcpClient();
        }
    }

    void mirror() const
    {
        const AdapterRow& row = adapterTable.at(std::size_t(m_number));
        mirrorQuad("ip", row.ip);
        mirrorQuad("mask", row.mask);
        mirrorQuad("gateway", row.gateway);
    }

private:
    void followAddress(const RunningAdapter& adapter, bool isSwitched) const
    {
        if (isSwitched) {
            adapter.stopDhcpClient();
            adapter.bringUp(DottedQuad::split(text("ip")));
        }
        if (hasChanged("ip")) {
            adapter.setAddress(text("ip"));
        }
        if (isSwitched || hasChanged("ip") || hasChanged("mask")) {
            adapter.setMask(text("mask")); // with an address comes the mask of its class
        }
    }

    void mirrorQuad(const char* name, const StoredQuad& place) const
    {
        if (hasChanged(name)) {
            place.mirror.write(DottedQuad::fromOctets(DottedQuad::split(text(name))));
        }
    }

    std::string place(const char* name) const
    {
        return "network.eth" + std::to_string(m_number) + '.' + name;
    }
    bool hasChanged(const char* name) const { return m_places.count(place(name)) != 0; }
    QString text(const char* name) const
    {
        return QString::fromStdString(m_panel.value(place(name)));
    }

    const PanelState& m_panel;
    const std::set<std::string>& m_places;
    const int m_number;
};

} // namespace

namespace RunningPanel {

void follow(const PanelState& panel, const std::set<std::string>& places)
{
    const OwnStreams streams;
    if (places.count("display.brightness") != 0) {
        EEInfoHandle::instance()->setBright(std::stoi(panel.value("display.brightness")));
    }
    const Adapter eth0(panel, places, 0);
    const Adapter eth1(panel, places, 1);
    for (const Adapter& adapter : {eth0, eth1}) {
        if (adapter.isConcerned()) {
            adapter.follow();
            adapter.mirror();
        }
    }
    if (eth0.isConcerned() || eth1.isConcerned() || places.count("network.default_adapter") != 0) {
        DefaultRoutes::rebuild(DefaultRoutes::preferenceOfRegister,
                               {eth0.gateway(), eth1.gateway()});
    }
}

} // namespace RunningPanel
