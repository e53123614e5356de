#pragma once

class QByteArray;

/// The DHCP clients of the panel, one background process per adapter. They are found again through
/// the pid files that they write, also by a later dialog.
namespace DhcpClient {

/// Ends the adapter's client, then starts a new one: 100 attempts, one second apart, and a second's
/// pause after a failure. Returns at once. Adapters other than 0 and 1 have no client.
void start(int adapter);

/// Sends the adapter's client the signal to end. The pid file stays. Nothing happens when there is
/// no pid file or it holds no usable process id.
void stop(int adapter);

/// Process id in the first line of a pid file: digits, blanks around them, 64 bytes at most. 0 for
/// everything else, also for a number that is 0, negative or too large: sent to "kill", those would
/// reach the panel's own processes.
int processId(const QByteArray& pidFile);

} // namespace DhcpClient
