// The files that describe the simulated device: built into the program, replaceable from a folder.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace CorvixSim {

struct EmbeddedFile {
    const char* name;  ///< the path below device/, with '/'
    std::string_view text;
};

struct EmbeddedFileList {
    const EmbeddedFile* first;
    size_t count;
    const EmbeddedFile* begin() const { return first; }
    const EmbeddedFile* end() const { return first + count; }
};

/// The files of the folder device/ as they were when the program was built.
EmbeddedFileList EmbeddedFiles();

/// All files of the device by name.
using DeviceFiles = std::map<std::string, std::string>;

/// The embedded files, and those of `folder` in their place where it has any; an empty `folder` adds nothing.
/// Throws std::runtime_error when the folder cannot be read.
DeviceFiles LoadDeviceFiles(const std::string& folder);

/// The content of a file, named in UTF-8. Throws std::runtime_error when it cannot be read.
std::string ReadWholeFile(const std::string& path);

}  // namespace CorvixSim
