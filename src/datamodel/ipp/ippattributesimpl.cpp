#include "datamodel/ipp/ippattributesimpl.h"

#include <utility>

#include "datamodel/ipp/ippattributecache.h"
#include "datamodel/ipp/ippoperations.h"
#include "datamodel/ipp/target/printeruri.h"
#include "utilslib/boundary.h"
#include "utilslib/logging.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

IPPAttributes::IPPAttributes() = default;
IPPAttributes::IPPAttributes(const IPPAttributes&) : IDisposable() {}
IPPAttributes& IPPAttributes::operator=(const IPPAttributes&) { return *this; }
IPPAttributes::~IPPAttributes() = default;

IPPAttributesImpl::IPPAttributesImpl(std::shared_ptr<const Ipp::Message> response)
    : response_(std::move(response)) {
    for (const std::string_view name : response_->Names())
        names_.emplace_back(name);
}

DisposablePtr<IPPAttributes> IPPAttributesImpl::Create(std::shared_ptr<const Ipp::Message> response) {
    return DisposablePtr<IPPAttributes>::Share(new IPPAttributesImpl(std::move(response)));
}

DisposablePtr<IPPAttributes> IPPAttributesImpl::Read(std::string_view body) {
    return Create(std::make_shared<const Ipp::Message>(Ipp::ReadResponseData(body)));
}

DisposablePtr<IPPAttributes> IPPAttributesImpl::Query(Address* address, const wchar_t* printerUri,
                                                      std::string_view requestedAttributes,
                                                      unsigned long securityFlags) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPAttributesImpl::Query");
    std::wstring path;
    if (!TakePrinterUri(address, printerUri, path)) return nullptr;
    const bool secure = IsSecureUri(printerUri);
    IPPOperations operations(address);
    if (secure) operations.SetSecurityFlags(securityFlags);
    operations.SetAttributeName(requestedAttributes);
    operations.SetResourceURI(path);
    operations.SetPrinterURI(printerUri);
    DisposablePtr<HTTPResponse> response;
    if (FAILED(operations.SendIPPRequest(Ipp::Operation::GetPrinterAttributes, response.Receive(), nullptr,
                                         secure)))
        return nullptr;
    // A malformed answer is an answer: it tells itself what is wrong with it.
    operations.ParseIPPResponse(response.Get(), nullptr);
    return Create(operations.LastResponse());
}

HRESULT IPPAttributesImpl::GetHeader(IPPAnswerHeader* header) const {
    if (!header) return E_FAIL;
    if (!response_->HasHeader()) return S_FALSE;
    const Ipp::MessageHeader& read = response_->Header();
    *header = {read.major, read.minor, read.code, read.requestId};
    return S_OK;
}

const char* IPPAttributesImpl::GetName(unsigned index) const {
    return index < names_.size() ? names_[index].c_str() : nullptr;
}

HRESULT IPPAttributesImpl::GetValue(const char* name, VARIANT* value) const {
    if (!name || !value) return E_FAIL;
    return KyUtils::RaisingComErrors([&] { return CopyAttributeText(*response_, name, value); });
}

HRESULT IPPAttributesImpl::GetFault(IPPFault* fault) const {
    if (!fault) return E_FAIL;
    // An operation is content with an answer whose end is missing; who looks at one wants to know.
    const auto cutOff =
        Ipp::Fault{response_->Body().size(), "the body ends before the end of the attributes"};
    if (!response_->GetFault() && response_->HasEndTag()) return S_FALSE;
    const Ipp::Fault found = response_->GetFault().value_or(cutOff);
    *fault = {static_cast<unsigned long>(found.offset), found.reason};
    return S_OK;
}

const unsigned char* IPPAttributesImpl::GetBody(unsigned long* length) const {
    const std::string_view body = response_->Body();
    if (length) *length = static_cast<unsigned long>(body.size());
    return body.empty() ? nullptr : reinterpret_cast<const unsigned char*>(body.data());
}

}  // namespace Corvix
