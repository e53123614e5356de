#pragma once

#include <QString>

#include <array>

/// The default routes of the panel, one through each adapter. The preferred adapter has metric 0,
/// the other one 1; without a preference both have 1.
namespace DefaultRoutes {

/// In place of a preference: the one in the default-adapter register, which the panel's runtime
/// reads too: 0 no preference, otherwise the number of the adapter plus one.
inline constexpr int preferenceOfRegister = -1;

/// Value of the register, one byte; 0 when it cannot be read.
int storedPreference();

/// Removes two default routes and adds one through each adapter, always both: a board with one
/// adapter has a second gateway stored as well. Runs four commands and looks at none of their
/// results.
void rebuild(int preference, const std::array<QString, 2>& gateways);

} // namespace DefaultRoutes
