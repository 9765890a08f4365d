// What an answer says: its attributes as values, and the outcome of a job.
#include "datamodel/ipp/ippattributecache.h"
#include "datamodel/ipp/ippoperations.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// Every request carries this id.
constexpr const char* requestId = "100";

struct JobStateName {
    std::string_view number;
    const char* name;
};

constexpr JobStateName jobStateNames[] = {
    {"3", "Pending"},  {"4", "Pending_held"}, {"5", "Processing"}, {"6", "Processing_stopped"},
    {"7", "Canceled"}, {"8", "Aborted"},      {"9", "Completed"},
};

struct CopiedAttribute {
    std::string_view name;
    void (IPPResponseBase::*set)(const char* text);
};

constexpr CopiedAttribute copiedAttributes[] = {
    {"document-access-error", &IPPResponseBase::SetDocumentAccessError},
    {"job-uri", &IPPResponseBase::SetJobURI},
    {"job-id", &IPPResponseBase::SetJobID},
    {"job-state-reasons", &IPPResponseBase::SetJobStateReasons},
};

void CopyJob(const Ipp::Message& response, IPPResponseBase& record) {
    for (const CopiedAttribute& attribute : copiedAttributes) {
        if (const auto text = response.ValueText(attribute.name)) (record.*attribute.set)(text->c_str());
    }
    if (const auto state = response.ValueText("job-state")) record.SetJobState(GetJobState(*state).c_str());
}

}  // namespace

std::string GetJobState(std::string_view number) {
    for (const JobStateName& state : jobStateNames) {
        if (state.number == number) return state.name;
    }
    return std::string(number);
}

/// The attribute that a parse answers: the one requested, or of several the one that the key names.
std::string_view IPPOperations::TargetName() const {
    const bool single = values_.requestedAttributes.find(',') == std::string::npos;
    return single && !values_.requestedAttributes.empty() ? values_.requestedAttributes : attributeKey_;
}

HRESULT IPPOperations::ParseIPPContent(const unsigned char* body, unsigned long length, VARIANT* value) {
    const std::string_view bytes(reinterpret_cast<const char*>(body), body ? length : 0);
    const HRESULT read = answer_.Read(bytes, failOnErrorStatus_);
    if (SUCCEEDED(read) && value && LastResponse()->HasEndTag()) GetValueFromIPPMap(TargetName(), value);
    return read;
}

HRESULT IPPOperations::ParseIPPResponse(HTTPResponse* response, VARIANT* value) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::ParseIPPResponse");
    if (!response) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    const unsigned long length = response->GetBodyLength();
    return ParseIPPContent(response->GetBody(), length, value);
}

HRESULT IPPOperations::GetValueFromIPPMap(std::string_view name, VARIANT* value) const {
    if (!value) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    return LastResponse() ? CopyAttributeText(*LastResponse(), name, value) : S_FALSE;
}

HRESULT IPPOperations::FormResponseStructure(int operation, IPPResponseBase* record) const {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::FormResponseStructure");
    if (!record) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    if (!LastResponse()) return E_FAIL;
    record->SetSuccess(LastResponse()->ValueText("status-code").value_or("NOT_SET_ERROR").c_str());
    record->SetRequestID(requestId);
    if (operation != Ipp::Operation::CancelJob) CopyJob(*LastResponse(), *record);
    return S_OK;
}

}  // namespace Corvix
