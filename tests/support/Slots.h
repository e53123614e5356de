#pragma once

#include <cstddef>
#include <cstring>

/// The slot of a virtual function, from 0, out of the compiler's own pointer to it, which is two
/// words. -1 when the function is not virtual.
///
/// The first word of a virtual function's pointer is its distance in bytes from the first one. That
/// it is virtual is the lowest bit of the first word, or of the second on ARM, where the lowest bit
/// of an address may say which instructions lie there.
template <typename Function>
int slotOf(Function function)
{
    std::ptrdiff_t words[2] = {};
    static_assert(sizeof function == sizeof words, "a pointer to a member function");
    std::memcpy(words, &function, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
    const std::ptrdiff_t isVirtual = words[1] & 1;
#else
    const std::ptrdiff_t isVirtual = words[0] & 1;
    words[0] -= isVirtual;
#endif
    return isVirtual ? int(words[0] / std::ptrdiff_t(sizeof(void*))) : -1;
}
