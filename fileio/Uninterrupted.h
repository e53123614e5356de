#pragma once

#include <cerrno>
#include <cstddef>
#include <sys/types.h>

/// The calls on descriptors that wait, as all rooms make them.
///
/// The process belongs to a host that has signal handlers, with or without SA_RESTART. A handler
/// never ends one of these calls: what it interrupted is asked for again, and a transfer goes on
/// where it was. An interruption is neither a failure nor a short transfer.
namespace Uninterrupted {

/// open(2), for a file that the commands run meanwhile do not inherit. Gives any number.
int openAnywhere(const char* path, int flags, mode_t mode = 0);

/// The same file under a number above 2. A host that has closed its standard descriptors is given
/// their numbers by the next open(2), and whatever anybody prints would go into that file. -1 stays
/// -1; so does the number of a descriptor that is above 2 already.
int awayFromStandard(int descriptor);

/// openAnywhere() and awayFromStandard(): how the rooms open their files.
int open(const char* path, int flags, mode_t mode = 0);

/// read(2): up to @p size bytes, as many as are there. -1 when it fails.
ssize_t read(int descriptor, void* buffer, std::size_t size);

/// Reads until there are @p size bytes, the end of the file is reached or reading fails. How many
/// bytes came, 0 also when reading failed at once.
std::size_t readAll(int descriptor, void* buffer, std::size_t size);

/// Writes until all is taken or writing fails. How many bytes were taken; -1 when it failed at the
/// first.
ssize_t write(int descriptor, const void* buffer, std::size_t size);

/// Makes any other system call again for as long as a signal interrupts it.
template <typename Call>
auto call(Call systemCall) -> decltype(systemCall())
{
    auto result = systemCall();
    while (result == -1 && errno == EINTR) {
        result = systemCall();
    }
    return result;
}

} // namespace Uninterrupted
