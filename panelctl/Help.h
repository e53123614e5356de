#pragma once

#include "panelctl/Command.h"

/// What the program says about itself.
namespace Help {

/// The command that @p words begin with, the group, or everything. After a register or field
/// also what its value may be. Throws UsageError when they name none of these.
void print(const Words& words);

void printVersion();

} // namespace Help
