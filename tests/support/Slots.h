#pragma once

#include <cstddef>
#include <cstring>

/// The slot of a virtual function, from 0, out of the compiler's own pointer to it: one more than
/// its distance in bytes from the first.
template <typename Function>
int slotOf(Function function)
{
    std::ptrdiff_t distance = 0;
    std::memcpy(&distance, &function, sizeof distance);
    return int((distance - 1) / std::ptrdiff_t(sizeof(void*)));
}
