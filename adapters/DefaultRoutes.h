#pragma once

#include <QString>

#include <array>

/// The default routes of the panel, one through each adapter. The preferred adapter has metric 0,
/// the other one 1; without a preference both have 1.
namespace DefaultRoutes {

/// In place of a preference: the one in the default-adapter register, which the panel's runtime
/// reads too: 0 no preference, otherwise the number of the adapter plus one.
inline constexpr int preferenceOfRegister = -1;

/// Has the register store make the register ready, before it is first read.
void load();

/// Value of the register, one byte; 0 when it cannot be read.
int storedPreference();

/// Writes a preference into the register and tells the runtime. The routes stay as they are.
void storePreference(quint8 preference);

/// What the button of an adapter stores: the number of the adapter itself, not one more. So
/// adapter 0 gives no preference, and adapter 1 prefers adapter 0; the runtime knows both
/// numberings.
void storeAdapterNumber(quint32 adapter);

/// Removes two default routes and adds one through each adapter, always both: a board with one
/// adapter has a second gateway stored as well. Runs four commands and looks at none of their
/// results.
void rebuild(int preference, const std::array<QString, 2>& gateways);

} // namespace DefaultRoutes
