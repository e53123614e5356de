#pragma once

/// The panel's settings file and the keys that are in it.
namespace SettingsKeys {

inline constexpr char file[] = "/hmi/Config/system_settings.ini";

inline constexpr char buzzer[] = "General/buzzer"; ///< Key click: "on" or "off".
// Whether an adapter is switched on: a boolean, and true without the key.
inline constexpr char eth0Enable[] = "Network0/enable";
inline constexpr char eth1Enable[] = "Network1/enable";

} // namespace SettingsKeys
