#pragma once

#include "device/SettingsKeys.h"
#include "panelctl/DeviceImage.h"
#include "regstore/ValueKind.h"

#include <QJsonObject>

#include <array>
#include <map>
#include <string>
#include <string_view>

/// Where a setting is kept.
enum class Home {
    Field,    ///< A field of the device image.
    Register, ///< A register and, where there is a key, the settings file.
    Key,      ///< The same, and the settings file is what counts.
    Servers   ///< The resolver file: the DNS servers of an adapter.
};

/// One setting that can be exported and imported.
struct Setting
{
    const char* place; ///< The members of the JSON that lead to it. The first one is its part.
    Kind kind;         ///< Of each value, where the setting is a list.
    Home home;
    const char* name;          ///< Of the field or register; of the adapter whose servers they are.
    const char* key = nullptr; ///< In the settings file.
    const char* keyOn = nullptr;
    const char* keyOff = nullptr;
};

/// Everything that an operator can set, and what belongs to one device only ("identity").
// clang-format off
inline constexpr std::array panelSettings{
    Setting{"display.brightness", Kind::Level, Home::Field, "brightness"},
    Setting{"display.language", Kind::Language, Home::Register, "language"},
    Setting{"sound.buzzer", Kind::Switch, Home::Register, "buzzer", SettingsKeys::buzzer, "on", "off"},
    Setting{"network.default_adapter", Kind::DefaultAdapter, Home::Register, "default_adapter"},
    Setting{"network.eth0.ip", Kind::Ipv4, Home::Field, "eth0_ip"},
    Setting{"network.eth0.mask", Kind::Netmask, Home::Field, "eth0_mask"},
    Setting{"network.eth0.gateway", Kind::Ipv4, Home::Field, "eth0_gateway"},
    Setting{"network.eth0.dhcp", Kind::Switch, Home::Register, "eth0_dhcp"},
    Setting{"network.eth0.off", Kind::Switch, Home::Key, "eth0_off", SettingsKeys::eth0Enable, "false", "true"},
    Setting{"network.eth0.dns", Kind::Ipv4, Home::Servers, "eth0"},
    Setting{"network.eth1.ip", Kind::Ipv4, Home::Field, "eth1_ip"},
    Setting{"network.eth1.mask", Kind::Netmask, Home::Field, "eth1_mask"},
    Setting{"network.eth1.gateway", Kind::Ipv4, Home::Field, "eth1_gateway"},
    Setting{"network.eth1.dhcp", Kind::Switch, Home::Register, "eth1_dhcp"},
    Setting{"network.eth1.off", Kind::Switch, Home::Key, "eth1_off", SettingsKeys::eth1Enable, "false", "true"},
    Setting{"network.eth1.dns", Kind::Ipv4, Home::Servers, "eth1"},
    Setting{"identity.eth0_mac", Kind::Mac, Home::Field, "eth0_mac"},
    Setting{"identity.eth1_mac", Kind::Mac, Home::Field, "eth1_mac"},
};
// clang-format on

/// Version of the JSON format, which export writes and import wants.
constexpr int stateVersion = 1;
constexpr std::string_view identityPart = "identity";

/// The adapter that has to be there for a setting: 1 for those of eth1, 0 for all others.
int adapterOf(const Setting& setting);

/// "network" of "network.eth0.ip".
std::string_view partOf(const Setting& setting);

/// The settings of this panel, each as its value is typed; servers are separated by blanks.
class PanelState
{
public:
    /// Reads all of them. Throws Failure.
    PanelState();

    const DeviceImage& image() const { return m_image; }
    /// Whether this panel has the adapter that the setting belongs to.
    bool has(const Setting& setting) const;
    std::string value(const Setting& setting) const { return value(setting.place); }
    /// The value of the setting at a place; empty where this panel has no such setting.
    std::string value(const std::string& place) const;
    /// The bytes of the resolver file.
    const QByteArray& resolverText() const { return m_resolver; }

private:
    std::string read(const Setting& setting) const;

    DeviceImage m_image;
    QByteArray m_resolver;
    std::map<std::string, std::string> m_values;
};

/// The typed text of a setting as JSON: a switch is true or false, a level a number, servers are a
/// list, everything else is text.
QJsonValue jsonOf(const Setting& setting, const std::string& text);

/// All settings of the panel, those of its identity when they are wanted.
QJsonObject exportState(const PanelState& state, bool identity);
