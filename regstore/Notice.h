#pragma once

#include "fileio/DFifo.h"

#include <array>
#include <cstddef>
#include <fcntl.h>

/// The messages in the notice pipes: numbers of 32 bits, little-endian, nothing around them. They
/// are written in one piece, so that a reader never finds half of one.

/// A changed register: its id.
using RegisterNotice = std::array<unsigned, 1>;
/// A changed range of an area: area, offset and length, in bytes or bits as the area is addressed.
using AreaNotice = std::array<unsigned, 3>;

template <typename Notice>
using NoticeBytes = std::array<unsigned char, std::tuple_size_v<Notice> * 4>;

template <typename Notice>
NoticeBytes<Notice> encodeNotice(const Notice& notice)
{
    NoticeBytes<Notice> message;
    for (std::size_t at = 0; at < message.size(); ++at) {
        message[at] = static_cast<unsigned char>(notice[at / 4] >> at % 4 * 8);
    }
    return message;
}

template <typename Notice>
Notice decodeNotice(const NoticeBytes<Notice>& message)
{
    Notice notice = {};
    for (std::size_t at = 0; at < message.size(); ++at) {
        notice[at / 4] |= static_cast<unsigned>(message[at]) << at % 4 * 8;
    }
    return notice;
}

/// Sends a notice through a named pipe, which is made when it is missing. Never waits. False when
/// nobody reads the pipe or it is full.
template <typename Notice>
bool sendNotice(const char* pipe, const Notice& notice)
{
    const NoticeBytes<Notice> message = encodeNotice(notice);
    DFifo fifo(pipe, O_WRONLY | O_NONBLOCK);
    return fifo.write(message.data(), static_cast<int>(message.size())) != -1;
}
