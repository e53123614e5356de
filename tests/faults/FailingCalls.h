#pragma once

#include <QByteArray>
#include <QList>

/// Lets one call of the C library fail in a function under test.
///
/// The test program defines the calls that the rooms make (open, read, popen, system, ...) itself.
/// Each goes on to the library's, unless it is the one that is to fail. Calls of the Qt libraries
/// are taken the same way; those that the C library makes of itself, below popen or fclose, are
/// not.
///
/// A way to fail is written "lseek 2 EINVAL": the second call of lseek ends with that error, and
/// does nothing. "read 1 short" moves half of the bytes, of an odd number the smaller half; after
/// "write 1 short" there is no room for more. The calls that close or end something do their work
/// and report an error afterwards, as the system does; so does "system 1 ECHILD".
///
/// A signal of the host's is written "read 1 interrupted": the call ends with EINTR and has done
/// nothing. "write 1 cut" has moved half, and moves the rest when it is asked to.
namespace FailingCalls {

/// One way to fail, and whether the function could go on to ask for it.
using Fault = QByteArray;

/// Starts to write down the calls of this thread and lets @p fault happen when its call comes.
/// Without a fault nothing fails.
void start(const Fault& fault = Fault());

/// Ends that. Every way in which the calls since start() could have failed, in their order.
QList<Fault> stop();

/// Every way in which signals could have interrupted those calls.
const QList<Fault>& interruptions();

/// Whether the fault of the last start() has happened.
bool hasHappened();

} // namespace FailingCalls
