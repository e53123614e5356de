#pragma once

#include <random>

/// What happens around a panel while somebody works on it: the runtime writes registers, the board
/// has a second adapter, tools go missing and come back, a DHCP client runs or does not.
namespace World {

/// A board with two adapters.
void prepare();

/// One thing happens; which one, the dice say.
void happen(std::mt19937& random);

} // namespace World
