// The documents that the HTTP services hand out.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "device/devicefiles.h"

namespace CorvixSim {

struct Document {
    std::string contentType;
    std::string text;  ///< with {{name}} where values of the device go
};

/// Documents by port and path. Any thread may call any operation.
class Documents {
public:
    /// Takes the files below "http/PORT/" as the documents of that port of a real device, and those below
    /// "http/any/" as documents of every port.
    explicit Documents(const DeviceFiles& files);

    std::optional<Document> Find(unsigned port, const std::string& path) const;

    /// Puts or replaces a document. The content type follows from the path's ending.
    void Put(unsigned port, const std::string& path, std::string text);

private:
    static constexpr unsigned kAnyPort = 0;

    mutable std::mutex mutex_;
    std::map<std::pair<unsigned, std::string>, Document> documents_;
};

}  // namespace CorvixSim
