#include "datamodel/ipp/ippattributesimpl.h"

#include <utility>

#include "datamodel/ipp/exchange/ippexchange.h"
#include "datamodel/ipp/ippattributecache.h"
#include "datamodel/ipp/target/printeruri.h"
#include "utilslib/boundary.h"
#include "utilslib/logging.h"
#include "wire/ipp/messagereader.h"

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
                                                      const RequestValues& values,
                                                      unsigned long securityFlags) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPAttributesImpl::Query");
    IppTarget target;
    if (!TakePrinterUri(address, printerUri, target.resource)) return nullptr;
    target.printerUri = printerUri;
    target.secure = IsSecureUri(printerUri);
    if (target.secure) target.securityFlags = securityFlags;
    IppExchange exchange(address, std::move(target));
    IppAnswer answer;
    exchange.Ask(values, answer);
    // A malformed answer is an answer: it tells itself what is wrong with it.
    return answer.Message() ? Create(answer.Message()) : nullptr;
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

HRESULT IPPAttributesImpl::NextGroup(IPPGroup* group) const {
    if (!group) return E_FAIL;
    if (group->next >= response_->GroupCount()) return S_FALSE;
    const Ipp::Group next = response_->GetGroup(group->next);
    *group = {next.tag, next.first, next.end, group->next + 1};
    return S_OK;
}

HRESULT IPPAttributesImpl::NextAttribute(IPPAttribute* attribute) const {
    if (!attribute) return E_FAIL;
    std::optional<Ipp::Attribute> next;
    if (attribute->isMember) {
        Ipp::MemberCursor cursor(*response_, attribute->next);
        next = cursor.Next();
        attribute->next = cursor.Position();
    } else if (attribute->next < attribute->end) {
        next = response_->GetAttribute(attribute->next++);
    }
    if (!next) return S_FALSE;
    attribute->name = next->name;
    attribute->begin = attribute->value = next->begin;
    return S_OK;
}

HRESULT IPPAttributesImpl::NextValue(IPPAttribute* attribute, IPPValue* value) const {
    if (!attribute || !value) return E_FAIL;
    Ipp::ValueCursor cursor(*response_, attribute->begin, attribute->value);
    const auto next = cursor.Next();
    if (!next) return S_FALSE;
    *value = Ipp::Decode(*next);
    attribute->value = cursor.Position();
    return S_OK;
}

std::optional<Ipp::Attribute> IPPAttributesImpl::Find(const IPPGroup* group, std::string_view name) const {
    if (group) return response_->Find({group->tag, group->first, group->end}, name);
    std::optional<Ipp::Attribute> found;
    for (unsigned i = 0; !found && i < response_->GroupCount(); ++i)
        found = response_->Find(response_->GetGroup(i), name);
    return found;
}

HRESULT IPPAttributesImpl::FindAttribute(const IPPGroup* group, const char* name,
                                         IPPAttribute* attribute) const {
    if (!name || !attribute) return E_FAIL;
    const auto found = Find(group, name);
    if (!found) return S_FALSE;
    *attribute = IPPAttribute();
    attribute->name = found->name;
    attribute->begin = attribute->value = found->begin;
    return S_OK;
}

}  // namespace Corvix
