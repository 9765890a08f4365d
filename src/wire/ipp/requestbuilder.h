/// The attribute part of each request: which attributes an operation carries, in which order.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Corvix::Ipp {

/// Attributes that the caller encoded itself, added to a request as they are.
struct EncodedAttributes {
    bool operationGroup = false;  ///< at the end of the operation attributes; else at the end of the request
    std::string_view bytes;
};

/// What a request says. Nothing is copied: the texts outlive the call. What is empty, 0 or at its "not sent"
/// value is left out of the request.
struct RequestFields {
    std::string_view language;             ///< natural language of the request's texts, "en" when empty
    std::string_view printerUri;           ///< the target
    std::string_view requestedAttributes;  ///< comma-separated
    std::string_view jobUri;
    std::string_view userName;
    bool completedJobs = false;  ///< which jobs Get-Jobs asks for
    bool jobsOfAllUsers =
        false;  ///< with `requestedAttributes`, in place of all those of the user's own jobs

    std::string_view recordPrinterUri;  ///< named once more by operations that print
    std::string_view jobName;
    std::string_view documentName;
    std::string_view documentUri;
    std::uint32_t jobId = 0;
    std::uint32_t copies = 0;
    int sides = 3;                      ///< 0 to 2
    int orientation = 2;                ///< above 2
    int quality = 2;                    ///< above 2
    int multipleDocumentHandling = -1;  ///< 1 to 3
    int contentOptimize = 0;            ///< 1 to 5
    std::int32_t crossFeedResolution = 0;
    std::int32_t feedResolution = 0;
    unsigned char resolutionUnits = 0;
    bool fidelity = false;
    bool monochrome = false;
    bool lastDocument = false;

    std::vector<EncodedAttributes> extras;  ///< in the order in which they were added
    bool extrasHoldCopies = false;          ///< the caller's "copies" then stands in for `copies`
};

enum class FormResult {
    Formed,
    Refused,           ///< a writer refused: too long, or an empty name
    NothingRequested,  ///< Get-Printer-Attributes without a requested attribute
};

/// Builds the attribute part, end tag included, in a buffer of attributePartCapacity bytes. The length is
/// touched only when the part was formed. An operation that has no attributes of its own gets the header and
/// the extras.
FormResult FormRequest(unsigned char* buffer, int& length, int operation, const RequestFields& fields);

}  // namespace Corvix::Ipp
