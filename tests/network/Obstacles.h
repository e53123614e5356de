#pragma once

#include <QtGlobal>

#include <array>
#include <csignal>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

/// For as long as the object lives, nothing can be written to any file, neither by this program nor
/// by a tool that does not lift the limit.
class NoRoom
{
public:
    NoRoom() : m_before(setLimit(0)), m_action(std::signal(SIGXFSZ, SIG_IGN)) {}
    ~NoRoom()
    {
        setLimit(m_before);
        std::signal(SIGXFSZ, m_action);
    }
    NoRoom(const NoRoom&) = delete;
    NoRoom& operator=(const NoRoom&) = delete;

private:
    static rlim_t setLimit(rlim_t bytes)
    {
        rlimit limit{};
        if (getrlimit(RLIMIT_FSIZE, &limit) != 0) {
            qFatal("the limit of files cannot be read");
        }
        const rlim_t before = std::exchange(limit.rlim_cur, bytes);
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            qFatal("files cannot be limited");
        }
        return before;
    }

    rlim_t m_before;
    void (*m_action)(int);
};

/// Takes from this program, for as long as the object lives, the right to open files that their
/// permissions do not let it open; the shell's tools get theirs anew.
class NoOverride
{
public:
    NoOverride()
    {
        use(SYS_capget, m_powers);
        Powers without = m_powers;
        without[0].effective &= ~(1U << CAP_DAC_OVERRIDE);
        use(SYS_capset, without);
    }
    ~NoOverride() { use(SYS_capset, m_powers); }
    NoOverride(const NoOverride&) = delete;
    NoOverride& operator=(const NoOverride&) = delete;

private:
    using Powers = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

    static void use(long call, Powers& powers)
    {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        if (syscall(call, &header, powers.data()) != 0) {
            qFatal("capabilities cannot be set");
        }
    }

    Powers m_powers{};
};
