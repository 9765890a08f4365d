// The files that describe the simulated device: built into the program, replaceable from a folder.
#pragma once

#include <map>
#include <string>

namespace CorvixSim {

/// All files of the device by name: the path below device/files/, with '/'.
using DeviceFiles = std::map<std::string, std::string>;

/// The files of device/files/ as they were when the program was built.
DeviceFiles EmbeddedFiles();

/// The embedded files, and those of `folder` in their place where it has any; an empty `folder` adds nothing.
/// Throws std::runtime_error when the folder cannot be read.
DeviceFiles LoadDeviceFiles(const std::string& folder);

/// The content of a file, named in UTF-8. Throws std::runtime_error when it cannot be read.
std::string ReadWholeFile(const std::string& path);

}  // namespace CorvixSim
