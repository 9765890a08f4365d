/// What an IPP request says, and the attribute part that says it.
#pragma once

#include <windows.h>

#include <string>

#include "corvixdm/ipprequest.h"
#include "datamodel/ipp/target/ipptarget.h"

namespace Corvix {

/// What a request says beside where it goes. Texts are UTF-8; an empty one is not sent.
struct RequestValues {
    int operation = 0;
    /// What the caller wants of the job, or null; where it says who asks and for which job, that holds. Stays the
    /// caller's.
    IPPRequestBase* record = nullptr;
    std::string language;  ///< the natural language of the request, "en" while it is empty
    std::string userName;
    std::string jobUri;
    std::string requestedAttributes;  ///< comma-separated
    bool completedJobs = false;       ///< which jobs Get-Jobs asks for
    bool jobsOfAllUsers =
        false;  ///< with `requestedAttributes`, in place of all those of the user's own jobs
    /// The document of a Print-Job in one body. The bytes stay the caller's.
    const unsigned char* document = nullptr;
    unsigned long documentLength = 0;

    /// The same, of another operation and record.
    RequestValues For(int otherOperation, IPPRequestBase* otherRecord) const;
};

/// Builds the attribute part of a request.
/// \return E_FAIL, with `attributes` empty, when it cannot be formed; the last error is 4306 for a
///     Get-Printer-Attributes that asks for nothing.
HRESULT FormAttributes(const IppTarget& target, const RequestValues& values, std::string& attributes);
/// Appends the document to the attribute part of a Print-Job, and nothing to that of any other operation.
HRESULT AppendDocument(const RequestValues& values, std::string& body);
/// Builds a whole body. E_FAIL as well when there is no memory for it.
HRESULT FormBody(const IppTarget& target, const RequestValues& values, std::string& body);

}  // namespace Corvix
