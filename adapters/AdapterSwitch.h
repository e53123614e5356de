#pragma once

class QSettings;

/// Whether an adapter is switched off. The choice is kept in the panel's settings file, under a key
/// of each adapter, and mirrored in a system register of each, which nothing here reads. Without a
/// settings file (nullptr) every adapter is on, and only the register is written.
namespace AdapterSwitch {

/// Only a key that is there and false switches an adapter off: an absent one means on. An adapter
/// other than 0 and 1 is not off.
bool isOff(const QSettings* settings, int adapter);

/// Writes the file at once, then the register (1 off, 0 on). Changes nothing on the running
/// adapter. Nothing is done for an adapter other than 0 and 1.
void store(QSettings* settings, int adapter, bool on);

} // namespace AdapterSwitch
