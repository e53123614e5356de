#pragma once

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

/// A process of its own that runs a function while this one goes on. For what one process cannot
/// see of itself: locks and deadly signals.
class OtherProcess
{
public:
    /// The function returns 0 to 255.
    template <typename Function>
    explicit OtherProcess(Function function) : m_id(fork())
    {
        if (m_id == 0) {
            _exit(function());
        }
    }
    /// Ends the process when nobody has waited for its result.
    ~OtherProcess()
    {
        if (!m_ended) {
            kill(m_id, SIGKILL);
            result();
        }
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    pid_t id() const { return m_id; }

    /// Whether the process has ended; does not wait.
    bool hasEnded() const
    {
        siginfo_t info = {};
        return m_ended ||
               (waitid(P_PID, id_t(m_id), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid);
    }

    /// Waits until the process ends. Returns what the function returned, or minus the signal that
    /// ended the process.
    int result()
    {
        if (!m_ended) {
            waitpid(m_id, &m_status, 0);
            m_ended = true;
        }
        return WIFSIGNALED(m_status) ? -WTERMSIG(m_status) : WEXITSTATUS(m_status);
    }

private:
    pid_t m_id;
    int m_status = 0;
    bool m_ended = false;
};

/// Runs a function in a process of its own and returns its result.
template <typename Function>
int inOtherProcess(Function function)
{
    return OtherProcess(function).result();
}
