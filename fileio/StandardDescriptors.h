#pragma once

#include <array>
#include <sys/types.h>

/// Keeps the numbers 0, 1 and 2 from meaning something else.
///
/// While it lives, those of the three that the host has closed lead to /dev/null. Without that a
/// pipe or file opened meanwhile would get such a number, and what anybody prints would go into it;
/// a command run meanwhile would open its own files there, to the same effect. Those that are open
/// are not touched, and what another thread has put on a number meanwhile stays there.
class StandardDescriptors
{
public:
    StandardDescriptors();
    ~StandardDescriptors();
    StandardDescriptors(const StandardDescriptors&) = delete;
    StandardDescriptors& operator=(const StandardDescriptors&) = delete;

private:
    /// The file that a number was lent; none where the number was in use.
    struct Lent
    {
        bool isLent = false;
        dev_t device = 0;
        ino_t inode = 0;
    };
    static Lent lend(int number);
    static bool stillLeadsTo(const Lent& lent, int number);

    std::array<Lent, 3> m_lent;
};
