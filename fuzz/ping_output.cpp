#include "adapters/PingTest.h"
#include "fuzz/FuzzSupport.h"

#include <QByteArray>

// Input: what ping has printed so far.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string output = Input(data, size).rest();
    const QByteArray bytes(output.data(), int(output.size()));
    const bool hasReply = PingTest::hasReply(bytes);
    expect(hasReply == (output.find("ttl") != std::string::npos), "a reply is told by its ttl");
    expect(PingTest::hasReply(bytes + "round-trip min/avg/max\n") == hasReply,
           "the summary of ping is no reply");
    expect(PingTest::hasReply(bytes + "\nttl=64\n"), "what was printed before hides no reply");

    writeFile("ping.txt", output);
    expect(PingTest::replyArrived() == hasReply, "the file counts as the output in it");
    return 0;
}
