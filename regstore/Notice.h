#pragma once

#include "fileio/DFifo.h"

#include <array>
#include <cstddef>
#include <fcntl.h>

/// Sends a notice through a named pipe, which is made when it is missing: the numbers, 32 bits
/// each, little-endian, in one piece. Never waits. False when nobody reads the pipe or it is full.
template <std::size_t count>
bool sendNotice(const char* pipe, const std::array<unsigned, count>& numbers)
{
    std::array<unsigned char, count * 4> message;
    for (std::size_t at = 0; at < message.size(); ++at) {
        message[at] = static_cast<unsigned char>(numbers[at / 4] >> at % 4 * 8);
    }
    DFifo fifo(pipe, O_WRONLY | O_NONBLOCK);
    return fifo.write(message.data(), static_cast<int>(message.size())) != -1;
}
