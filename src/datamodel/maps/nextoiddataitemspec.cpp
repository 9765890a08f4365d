#include "corvixdm/dataitemspec.h"
#include "datamodel/dom/domreader.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

NextOIDDataItemSpec::NextOIDDataItemSpec(const DomElement& element)
    : OIDDataItemSpec(element),
      count_(IntValueOf(element, L"Count")),
      untilEnd_(BoolValueOf(element, L"UntilEnd")) {}

NextOIDDataItemSpec::NextOIDDataItemSpec(const wchar_t* name, const wchar_t* oid, const wchar_t* group,
                                         bool transient, const wchar_t* prefix, unsigned long long lifespan,
                                         const wchar_t* type, bool untilEnd, int count)
    : OIDDataItemSpec(name, oid, group, transient, prefix, lifespan, type),
      count_(count),
      untilEnd_(untilEnd) {}

NextOIDDataItemSpec* NextOIDDataItemSpec::CreateNextOidDataItemSpec() {
    return KyUtils::Entry(logSource, "Corvix::NextOIDDataItemSpec::CreateNextOidDataItemSpec",
                          [] { return new NextOIDDataItemSpec; });
}

NextOIDDataItemSpec* NextOIDDataItemSpec::CreateNextOidDataItemSpec(IXMLDOMNode* node) {
    return KyUtils::Entry(logSource, "Corvix::NextOIDDataItemSpec::CreateNextOidDataItemSpec",
                          [&] { return new NextOIDDataItemSpec(DomElement(node)); });
}

NextOIDDataItemSpec* NextOIDDataItemSpec::CreateNextOidDataItemSpec(
    const wchar_t* name, const wchar_t* oid, const wchar_t* group, bool transient, const wchar_t* prefix,
    unsigned long long lifespan, const wchar_t* type, bool untilEnd, int count) {
    return KyUtils::Entry(logSource, "Corvix::NextOIDDataItemSpec::CreateNextOidDataItemSpec", [&] {
        return new NextOIDDataItemSpec(name, oid, group, transient, prefix, lifespan, type, untilEnd, count);
    });
}

void NextOIDDataItemSpec::Initialize() {
    count_ = 0;
    untilEnd_ = false;
}

NextOIDDataItemSpec* NextOIDDataItemSpec::GetNextOIDDataItemSpec() { return this; }

OIDGetDataItemsSpec* NextOIDDataItemSpec::GetOIDGetDataItemsSpec() { return nullptr; }

bool NextOIDDataItemSpec::IsUntilEnd() const { return untilEnd_; }

int NextOIDDataItemSpec::Count() const { return count_; }

}  // namespace Corvix
