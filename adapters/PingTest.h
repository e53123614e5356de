#pragma once

class QByteArray;

/// One echo request to a public host over whatever route the panel has. The reply is looked for in
/// a file, as the request runs in the background.
namespace PingTest {

/// How long to wait before asking for the result, in milliseconds; ping itself waits as long.
inline constexpr int replyWaitMs = 3000;

/// Removes the result of an earlier request, ends one that still runs, and sends a new one.
/// Returns at once. The result goes to "ping.txt" in the working directory of the process.
void start();

/// Whether a reply has arrived. A missing result counts as none.
bool replyArrived();

/// Whether the output of ping has a reply in it: its lines carry the reply's "ttl".
bool hasReply(const QByteArray& output);

} // namespace PingTest
