#pragma once

#include <QByteArrayList>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// Starts a tool by its name and words. Returns its process id, or -1 when it cannot be started.
/// Not with fork(), which copies a process with sanitizers for milliseconds, nor with QProcess,
/// which starts nothing in an emulator.
inline pid_t startTool(QByteArrayList words)
{
    std::vector<char*> arguments;
    for (QByteArray& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = -1;
    return posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) == 0
               ? child
               : -1;
}

/// Runs a tool and returns its exit status, or -1 when it cannot be started or was killed.
inline int runTool(const QByteArrayList& words)
{
    const pid_t child = startTool(words);
    int status = 0;
    const bool ended = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
    return ended ? WEXITSTATUS(status) : -1;
}
