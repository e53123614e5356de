#pragma once

#include "tests/support/OtherProcess.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QByteArrayList>

/// Byte-range locks as the kernel lists them.
namespace FileLocks {

/// The lock that a process waits for: "WRITE 751 758" (exclusive) or "READ 2 2" (shared), with the
/// first and the last byte. Empty when the process ends without
/// having waited.
inline QByteArray awaitedBy(const OtherProcess& process)
{
    const QByteArray id = QByteArray::number(process.id());
    while (!process.hasEnded()) {
        const QByteArray locks = PanelWorld::fileContent("/proc/locks"_s);
        for (const QByteArray& line : locks.split('\n')) {
            // "1: -> POSIX ADVISORY WRITE 4711 00:2f:3 751 758"; a lock that is held has no arrow
            const QByteArrayList words = line.simplified().split(' ');
            if (words.value(1) == "->" && words.value(5) == id) {
                return words.value(4) + ' ' + words.value(7) + ' ' + words.value(8);
            }
        }
    }
    return QByteArray();
}

} // namespace FileLocks
