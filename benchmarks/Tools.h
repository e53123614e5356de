#pragma once

#include <filesystem>
#include <fstream>

/// The tools of the panel that a benchmark runs in.
namespace Tools {

/// Every tool becomes a compiled program, as on a panel, and the shell the plain one: what is
/// measured is then neither what the shell scripts of the simulated panel take, nor what its shell
/// does before the real one starts. Those of the system do nothing. So there is what they would
/// have made at the first start ever, the backup of the resolver file; without it every start would
/// try again, several times.
inline void makeFast()
{
    for (const char* folder : {"/root/plat-intf", "/panel/bin"}) {
        for (const auto& tool : std::filesystem::directory_iterator(folder)) {
            std::filesystem::remove(tool.path());
            std::filesystem::create_symlink("/panel-build/simulator/platform-tool/platform_tool",
                                            tool.path());
        }
    }
    // Mounted as /bin/sh, and so has to stay the same file. The emulated panel's shell is plain.
    if (std::filesystem::exists("/panel/lib/shell")) {
        std::filesystem::copy_file("/panel/lib/sh", "/panel/lib/shell",
                                   std::filesystem::copy_options::overwrite_existing);
    }
    std::ofstream("/etc/resolvbak.conf", std::ios::app).close();
}

} // namespace Tools
