#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

/// Stands in for the fuzzer where there is none: hands every file of the folders named on the
/// command line to the target once. Fails when there is no file; a find aborts.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& path)
{
    std::printf("%s\n", path.c_str());
    std::fflush(stdout); // the last line names the find
    std::ifstream file(path, std::ios::binary);
    // As long as the input to the byte, so that a sanitizer sees the first one read beyond it.
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

} // namespace

int main(int argc, char** argv)
{
    int count = 0;
    for (int at = 1; at < argc; ++at) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[at])) {
            replay(entry.path());
            ++count;
        }
    }
    std::printf("%d inputs replayed\n", count);
    return count > 0 ? 0 : 1;
}
