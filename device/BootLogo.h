#pragma once

#include <string>

/// The picture that the panel shows while it starts, kept by two tools of the platform.
namespace BootLogo {

/// Copies the logo into a new file @p path. The tool's pipe has no length to measure, so with a
/// real tool the file stays empty.
void read(const std::string& path);

/// Hands a picture file of 1 byte to 6 MiB to the tool. Larger ones, and files that cannot be read
/// whole, give the message "pic size is out of 6M" and send nothing. An empty path starts the tool
/// and sends nothing.
void write(const std::string& path);

} // namespace BootLogo
