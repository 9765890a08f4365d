#include <limits>

#include "corvixdm/dataitemspec.h"
#include "datamodel/dom/domreader.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr wchar_t indexPlaceholder = L'N';

}  // namespace

OIDGetDataItemsSpec::OIDGetDataItemsSpec(const DomElement& element)
    : OIDDataItemSpec(element),
      nText_(TextValueOf(element, L"N").value_or(std::wstring())),
      n_(IntValueOf(element, L"N")),
      count_(IntValueOf(element, L"Count")),
      untilEnd_(BoolValueOf(element, L"UntilEnd")) {}

OIDGetDataItemsSpec::OIDGetDataItemsSpec(const wchar_t* name, const wchar_t* oid, const wchar_t* group,
                                         bool transient, const wchar_t* prefix, unsigned long long lifespan,
                                         const wchar_t* type, bool untilEnd, int count, const wchar_t* n)
    : OIDDataItemSpec(name, oid, group, transient, prefix, lifespan, type),
      nText_(n ? n : L""),
      count_(count),
      untilEnd_(untilEnd) {}

OIDGetDataItemsSpec* OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec() {
    return KyUtils::Entry(logSource, "Corvix::OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec",
                          [] { return new OIDGetDataItemsSpec; });
}

OIDGetDataItemsSpec* OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(IXMLDOMNode* node) {
    return KyUtils::Entry(logSource, "Corvix::OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec",
                          [&] { return new OIDGetDataItemsSpec(DomElement(node)); });
}

OIDGetDataItemsSpec* OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(
    const wchar_t* name, const wchar_t* oid, const wchar_t* group, bool transient, const wchar_t* prefix,
    unsigned long long lifespan, const wchar_t* type, bool untilEnd, int count, const wchar_t* n) {
    return KyUtils::Entry(logSource, "Corvix::OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec", [&] {
        return new OIDGetDataItemsSpec(name, oid, group, transient, prefix, lifespan, type, untilEnd, count,
                                       n);
    });
}

void OIDGetDataItemsSpec::Initialize() {
    nText_.clear();
    n_ = 0;
    count_ = 0;
    untilEnd_ = false;
}

NextOIDDataItemSpec* OIDGetDataItemsSpec::GetNextOIDDataItemSpec() { return nullptr; }

OIDGetDataItemsSpec* OIDGetDataItemsSpec::GetOIDGetDataItemsSpec() { return this; }

bool OIDGetDataItemsSpec::IsUntilEnd() const { return untilEnd_; }

int OIDGetDataItemsSpec::Count() const { return count_; }

const wchar_t* OIDGetDataItemsSpec::GetN() const { return nText_.c_str(); }

std::wstring OIDGetDataItemsSpec::GetOid() {
    // Without a first index in the map there is no table to count through.
    if (nText_.empty()) return {};
    return GetNextOid();
}

std::wstring OIDGetDataItemsSpec::GetNextOid() {
    return KyUtils::Entry(logSource, "Corvix::OIDGetDataItemsSpec::GetNextOid",
                          [this] { return FindAndReplaceNInOID(); });
}

std::wstring OIDGetDataItemsSpec::FindAndReplaceNInOID() {
    const wchar_t* pattern = OIDDataItemSpec::GetOid();
    if (!pattern) return {};
    std::wstring oid = pattern;
    const size_t placeholder = oid.find(indexPlaceholder);
    if (placeholder == std::wstring::npos) return oid;
    oid.replace(placeholder, 1, std::to_wstring(n_));
    // After the replacement, which may run out of memory: a failed call must not use up an index.
    if (n_ < std::numeric_limits<int>::max()) ++n_;
    return oid;
}

}  // namespace Corvix
