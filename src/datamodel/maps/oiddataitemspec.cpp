#include "corvixdm/dataitemspec.h"
#include "datamodel/dom/domreader.h"
#include "datamodel/maps/itemtext.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

OIDDataItemSpec::OIDDataItemSpec(const DomElement& element)
    : DataItemSpec(element), group_(TextValueOf(element, L"GroupID")), oid_(TextValueOf(element, L"OID")) {}

OIDDataItemSpec::OIDDataItemSpec(const wchar_t* name, const wchar_t* oid, const wchar_t* group,
                                 bool transient, const wchar_t* prefix, unsigned long long lifespan,
                                 const wchar_t* type)
    : DataItemSpec(name, transient, prefix, lifespan, type), group_(CopyText(group)), oid_(CopyText(oid)) {}

OIDDataItemSpec* OIDDataItemSpec::CreateOIDDataItemSpec() {
    return KyUtils::Entry(logSource, "Corvix::OIDDataItemSpec::CreateOIDDataItemSpec",
                          [] { return new OIDDataItemSpec; });
}

OIDDataItemSpec* OIDDataItemSpec::CreateOIDDataItemSpec(IXMLDOMNode* node) {
    return KyUtils::Entry(logSource, "Corvix::OIDDataItemSpec::CreateOIDDataItemSpec",
                          [&] { return new OIDDataItemSpec(DomElement(node)); });
}

OIDDataItemSpec* OIDDataItemSpec::CreateOIDDataItemSpec(const wchar_t* name, const wchar_t* oid,
                                                        const wchar_t* group, bool transient,
                                                        const wchar_t* prefix, unsigned long long lifespan,
                                                        const wchar_t* type) {
    return KyUtils::Entry(logSource, "Corvix::OIDDataItemSpec::CreateOIDDataItemSpec", [&] {
        return new OIDDataItemSpec(name, oid, group, transient, prefix, lifespan, type);
    });
}

void OIDDataItemSpec::Initialize() {
    group_.reset();
    oid_.reset();
}

NextOIDDataItemSpec* OIDDataItemSpec::GetNextOIDDataItemSpec() { return nullptr; }

OIDGetDataItemsSpec* OIDDataItemSpec::GetOIDGetDataItemsSpec() { return nullptr; }

const wchar_t* OIDDataItemSpec::GetOid() const { return TextOrNull(oid_); }

const wchar_t* OIDDataItemSpec::GetGroup() const { return TextOrNull(group_); }

}  // namespace Corvix
