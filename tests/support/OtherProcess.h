#pragma once

#include <sys/wait.h>
#include <unistd.h>

/// Runs a function in a process of its own and returns what it returns (0 to 255), or minus the
/// signal that ended it. For what one process cannot see of itself: locks and deadly signals.
template <typename Function>
int inOtherProcess(Function function)
{
    const pid_t child = fork();
    if (child == 0) {
        _exit(function());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}
