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
/// does nothing. "read 1 short" moves half of the bytes, of an odd number the smaller half. The
/// calls that close or end something do their work and report an error afterwards, as the system
/// does; so does "system 1 ECHILD".
namespace FailingCalls {

/// One way to fail, and whether the function could go on to ask for it.
using Fault = QByteArray;

/// Starts to write down the calls of this thread and lets @p fault happen when its call comes.
/// Without a fault nothing fails.
void start(const Fault& fault = Fault());

/// Ends that. Every way in which the calls since start() could have failed, in their order.
QList<Fault> stop();

/// Whether the fault of the last start() has happened.
bool hasHappened();

} // namespace FailingCalls
