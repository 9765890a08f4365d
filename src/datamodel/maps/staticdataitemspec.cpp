#include "corvixdm/dataitemspec.h"
#include "datamodel/dom/domreader.h"
#include "datamodel/maps/itemtext.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

// The value is the element's text, nested elements included, not an attribute.
StaticDataItemSpec::StaticDataItemSpec(const DomElement& element)
    : CvxDataItem(element), value_(TextContentOf(element.Node())) {}

StaticDataItemSpec::StaticDataItemSpec(const wchar_t* name, const wchar_t* value, const wchar_t* prefix)
    : CvxDataItem(name, prefix), value_(CopyText(value)) {}

StaticDataItemSpec* StaticDataItemSpec::CreateStaticDataItemSpec() {
    return KyUtils::Entry(logSource, "Corvix::StaticDataItemSpec::CreateStaticDataItemSpec",
                          [] { return new StaticDataItemSpec; });
}

StaticDataItemSpec* StaticDataItemSpec::CreateStaticDataItemSpec(IXMLDOMNode* node) {
    return KyUtils::Entry(logSource, "Corvix::StaticDataItemSpec::CreateStaticDataItemSpec",
                          [&] { return new StaticDataItemSpec(DomElement(node)); });
}

StaticDataItemSpec* StaticDataItemSpec::CreateStaticDataItemSpec(const wchar_t* name, const wchar_t* value,
                                                                 const wchar_t* prefix) {
    return KyUtils::Entry(logSource, "Corvix::StaticDataItemSpec::CreateStaticDataItemSpec",
                          [&] { return new StaticDataItemSpec(name, value, prefix); });
}

void StaticDataItemSpec::Initialize() { value_.reset(); }

const wchar_t* StaticDataItemSpec::GetStaticDataItemValue() const { return TextOrNull(value_); }

}  // namespace Corvix
