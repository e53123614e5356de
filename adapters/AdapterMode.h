#pragma once

/// Whether an adapter takes its address from a DHCP server. The mode lives in a system register of
/// each adapter, which the panel's runtime reads and writes too. An adapter other than 0 and 1 is
/// static, and storing its mode does nothing.
namespace AdapterMode {

/// As the register has it now; static when it cannot be read.
bool isDynamic(int adapter);

/// Writes the register and tells the runtime. Changes nothing on the running adapter.
void store(int adapter, bool dynamic);

} // namespace AdapterMode
