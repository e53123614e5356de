#pragma once

class QSettings;

/// The key click of the panel. Every press handler of every window goes through here, so that
/// one settings key decides for all of them.
namespace KeyBeep {

/// True when "General/buzzer" reads exactly "on". An absent key, another text or no settings
/// object counts as off.
bool isOn(const QSettings* settings);

/// True when "General/buzzer" reads exactly "off". An absent key is neither on nor off.
bool isOff(const QSettings* settings);

/// Writes the key: "on" or "off". Without a settings object nothing happens.
void store(QSettings* settings, bool on);

/// Sounds one beep, whatever the settings say.
void sound();

/// Sounds one beep when the key click is on. Blocks until the beeper tool has ended.
void soundIfOn(const QSettings* settings);

} // namespace KeyBeep
