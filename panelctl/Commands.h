#pragma once

#include "panelctl/Command.h"

/// The commands of the program, each as the table in Main.cpp describes it.
namespace Commands {

void tables(const Arguments& given);

} // namespace Commands
