// Takes in the documents of print jobs.
#pragma once

#include <string>

#include "device/jobs.h"
#include "ipp/message.h"

namespace CorvixSim {

/// Many threads may call at once.
class IppIntake {
public:
    /// Documents are stored below `spoolFolder`, or only counted when it is empty.
    IppIntake(Jobs& jobs, std::string spoolFolder) : jobs_(jobs), spoolFolder_(std::move(spoolFolder)) {}

    /// Takes in the document that follows a request, and what the request says of it. `last` closes the job; a document
    /// that breaks off aborts it. Throws IppError where the job takes no document or was canceled.
    void Receive(int id, const IppMessage& request, IppSource& source, bool last);

    /// Notes the document that a request refers to. Throws as Receive() does, and for a URI that cannot be printed.
    void Refer(int id, const IppMessage& request, IppSource&, bool last);

    /// One of these two.
    using Way = void (IppIntake::*)(int id, const IppMessage& request, IppSource& source, bool last);

    /// Throws IppError for a "document-uri" that is missing or of an unknown scheme.
    static void CheckUri(const IppMessage& request);

private:
    std::string PathOf(int id, const std::string& format) const;

    Jobs& jobs_;
    const std::string spoolFolder_;
};

}  // namespace CorvixSim
