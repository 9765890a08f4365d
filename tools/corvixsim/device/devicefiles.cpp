#include "device/devicefiles.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace CorvixSim {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file) throw std::runtime_error("cannot read " + path.u8string());
    return text;
}

void Overlay(DeviceFiles& files, const fs::path& folder) {
    std::error_code error;
    // With an error code: its exception would name the folder in the encoding of the system.
    fs::recursive_directory_iterator entry(folder, error);
    if (error) throw std::runtime_error("cannot read the folder " + folder.u8string());
    for (; entry != fs::recursive_directory_iterator(); ++entry) {
        if (!entry->is_regular_file()) continue;
        // Named with "/" on every system, as the embedded files are.
        files[entry->path().lexically_relative(folder).generic_u8string()] = ReadFile(entry->path());
    }
}

}  // namespace

DeviceFiles LoadDeviceFiles(const std::string& folder) {
    DeviceFiles files = EmbeddedFiles();
    if (!folder.empty()) Overlay(files, fs::u8path(folder));
    return files;
}

std::string ReadWholeFile(const std::string& path) { return ReadFile(fs::u8path(path)); }

}  // namespace CorvixSim
