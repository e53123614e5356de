#pragma once

#include "panelctl/PanelState.h"

#include <set>
#include <string>

/// Makes the running panel follow what is stored, with the commands that the dialog runs when an
/// operator enters the same values.
namespace RunningPanel {

/// Of these settings, named by their places, as the panel has stored them now: the backlight; the
/// adapters that are concerned with their addresses, masks, DHCP clients and the registers that
/// mirror their addresses; then the default routes. An adapter that is off is taken down, and
/// nothing else is done to it. Blocks until the commands have ended and looks at none of their
/// results.
void follow(const PanelState& panel, const std::set<std::string>& places);

} // namespace RunningPanel
