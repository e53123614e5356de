#pragma once

#include <csignal>

/// Keeps a write to a pipe without a reader from ending the process.
///
/// While it lives, SIGPIPE is blocked for the calling thread alone: the write fails with EPIPE,
/// and the signal it raised is taken back at the end. The process-wide disposition is the host's
/// and is never touched. Children started meanwhile would inherit the blocked signal: start them
/// before.
class SigPipeGuard
{
public:
    SigPipeGuard();
    ~SigPipeGuard();
    SigPipeGuard(const SigPipeGuard&) = delete;
    SigPipeGuard& operator=(const SigPipeGuard&) = delete;

private:
    sigset_t m_previousMask;
    bool m_wasPending; ///< One was pending before: it is the host's and stays.
};
