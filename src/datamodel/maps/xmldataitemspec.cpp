#include "corvixdm/dataitemspec.h"
#include "datamodel/dom/domreader.h"
#include "datamodel/maps/itemtext.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

XMLDataItemSpec::XMLDataItemSpec(const DomElement& element)
    : DataItemSpec(element), uri_(TextValueOf(element, L"URI")), xpath_(TextValueOf(element, L"XPath")) {}

XMLDataItemSpec::XMLDataItemSpec(const wchar_t* name, const wchar_t* uri, const wchar_t* xpath,
                                 const wchar_t* prefix, bool transient, unsigned long long lifespan,
                                 const wchar_t* type)
    : DataItemSpec(name, transient, prefix, lifespan, type), uri_(CopyText(uri)), xpath_(CopyText(xpath)) {}

XMLDataItemSpec* XMLDataItemSpec::CreateXMLDataItem() {
    return KyUtils::Entry(logSource, "Corvix::XMLDataItemSpec::CreateXMLDataItem",
                          [] { return new XMLDataItemSpec; });
}

XMLDataItemSpec* XMLDataItemSpec::CreateXMLDataItem(IXMLDOMNode* node) {
    return KyUtils::Entry(logSource, "Corvix::XMLDataItemSpec::CreateXMLDataItem",
                          [&] { return new XMLDataItemSpec(DomElement(node)); });
}

XMLDataItemSpec* XMLDataItemSpec::CreateXMLDataItem(const wchar_t* name, const wchar_t* uri,
                                                    const wchar_t* xpath, const wchar_t* prefix,
                                                    bool transient, unsigned long long lifespan,
                                                    const wchar_t* type) {
    return KyUtils::Entry(logSource, "Corvix::XMLDataItemSpec::CreateXMLDataItem", [&] {
        return new XMLDataItemSpec(name, uri, xpath, prefix, transient, lifespan, type);
    });
}

void XMLDataItemSpec::Initialize() {
    uri_.reset();
    xpath_.reset();
}

const wchar_t* XMLDataItemSpec::GetUri() const { return TextOrNull(uri_); }

const wchar_t* XMLDataItemSpec::GetXPath() const { return TextOrNull(xpath_); }

}  // namespace Corvix
