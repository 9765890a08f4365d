#include "device/documents.h"

#include "base/text.h"

namespace CorvixSim {
namespace {

struct TypeOfEnding {
    std::string_view ending;
    const char* type;
};

constexpr TypeOfEnding kTypes[] = {
    {".xml", "text/xml; charset=utf-8"},
    {".html", "text/html; charset=utf-8"},
    {".strings", "text/strings; charset=utf-8"},
    {".txt", "text/plain; charset=utf-8"},
    {".png", "image/png"},
};

const char* ContentTypeOf(std::string_view path) {
    for (const TypeOfEnding& known : kTypes) {
        if (path.size() >= known.ending.size() &&
            path.substr(path.size() - known.ending.size()) == known.ending) {
            return known.type;
        }
    }
    return "application/octet-stream";
}

}  // namespace

Documents::Documents(const DeviceFiles& files) {
    constexpr std::string_view prefix = "http/";
    for (const auto& [name, text] : files) {
        if (!StartsWith(name, prefix)) continue;
        const size_t slash = name.find('/', prefix.size());
        if (slash == std::string::npos) continue;
        const std::string port = name.substr(prefix.size(), slash - prefix.size());
        const auto number = port == "any" ? kAnyPort : ParseNumber(port, 65535);
        // Folders that are named otherwise are for people, such as a README.
        if (number) Put(static_cast<unsigned>(*number), name.substr(slash), text);
    }
}

std::optional<Document> Documents::Find(unsigned port, const std::string& path) const {
    const std::lock_guard lock(mutex_);
    // A document of the port itself comes before one that all ports share.
    for (const unsigned place : {port, kAnyPort}) {
        const auto found = documents_.find({place, path});
        if (found != documents_.end()) return found->second;
    }
    return std::nullopt;
}

void Documents::Put(unsigned port, const std::string& path, std::string text) {
    const std::lock_guard lock(mutex_);
    documents_[{port, path}] = {ContentTypeOf(path), std::move(text)};
}

}  // namespace CorvixSim
