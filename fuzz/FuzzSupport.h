#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What the fuzz targets share. Each target is one file with the fuzzer's entry point. It hands the
/// bytes to the code that has to cope with them and compares what comes out with what the headers
/// promise. A target keeps nothing from one input to the next, so that every find stands alone.

/// Prints @p promise and aborts, which the fuzzer takes for a find, when it was not kept.
void expect(bool kept, const char* promise);

/// Takes an input apart from its front. Behind its end there are zeros.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size);

    bool isAtEnd() const { return m_at == m_end; }
    std::uint8_t byte();
    /// Takes four bytes, little-endian.
    std::uint32_t number();
    /// Takes what stands before the next line end, and that line end too.
    std::string line();
    /// Takes all that is left.
    std::string rest();

private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
};

/// Replaces the content of a file. Aborts when that fails.
void writeFile(const char* path, const std::string& content);
/// The content of a file; empty when there is none.
std::string readFile(const char* path);

/// Stands in for every command of the product: in a fuzz target popen, pclose, read, system and
/// access are its functions, by the linker's --wrap, and start nothing.
namespace ToolStandIn {

struct Tool
{
    std::string output;         ///< What it prints; a reader gets no more than that.
    std::size_t pieceBytes = 0; ///< How many bytes come at once; 0 for as many as are asked for.
    bool canBeRead = true;      ///< Whether popen for reading succeeds.
    bool canBeWritten = true;   ///< Whether popen for writing succeeds.
    bool isThere = true;        ///< Whether its file is; a shell that finds none ends with 127.
    bool endIsSeen = true;      ///< Whether anybody knows how it ended.
    int exitCode = 0;
};

/// The tool that is met from now on. Forgets commands and input.
void install(const Tool& tool);

/// Command lines since install(), oldest first.
const std::vector<std::string>& commands();

/// Bytes that commands since install() have taken from their standard input.
const std::string& input();

/// Pipes that were opened and not closed; what the product leaves open is a leak.
int openPipes();

} // namespace ToolStandIn
