#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>

/// The tools of the panel that a benchmark runs in.
namespace Tools {

/// Every tool becomes a compiled program, as on a panel: what is measured is then not what the
/// shell scripts of the simulated panel take. Those of the system do nothing.
inline void makeFast()
{
    for (const char* folder : {"/root/plat-intf", "/panel/bin"}) {
        for (const auto& tool : std::filesystem::directory_iterator(folder)) {
            std::filesystem::remove(tool.path());
            std::filesystem::create_symlink("/panel-build/simulator/platform-tool/platform_tool",
                                            tool.path());
        }
    }
}

} // namespace Tools
