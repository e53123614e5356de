#pragma once

/// Looks a process up by name with "ps -ef | grep NAME|grep -v grep". Returns the number at the
/// start of the first line found (with the panel's ps the process id), 1 when there is no line,
/// and -1 when the command cannot be run.
int detectProcess(const char* name);
