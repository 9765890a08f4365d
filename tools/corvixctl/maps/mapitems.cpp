#include "maps/mapitems.h"

namespace CorvixCtl {
namespace {

using Corvix::CvxDataItem;
using Corvix::DataItemSpec;
using Corvix::DataMapSpec;

bool IsMissing(const wchar_t* text) { return !text || !*text; }

std::wstring TextOr(const wchar_t* text, const wchar_t* fallback) {
    return IsMissing(text) ? fallback : text;
}

std::wstring OidSource(const Corvix::OIDDataItemSpec& item) {
    std::wstring source = TextOr(item.GetOid(), L"(no OID)");
    if (const wchar_t* group = item.GetGroup()) source += L" (group " + std::wstring(group) + L")";
    return source;
}

std::wstring ExtentText(const Elements& elements) {
    return elements.untilEnd ? L"until the end" : std::to_wstring(elements.count) + L" more";
}

// One function for each kind of item; each fills in what is its own. False when the item is of another kind.
bool DescribeConstant(const CvxDataItem& item, MapItem& info) {
    const auto* constant = dynamic_cast<const Corvix::StaticDataItemSpec*>(&item);
    if (!constant) return false;
    info.kind = L"StaticDataItem";
    info.source = L"constant " + TextOr(constant->GetStaticDataItemValue(), L"(empty)");
    info.isConstant = true;
    // With the name under which a collection answers it.
    if (const wchar_t* prefix = item.GetPrefix()) info.name = std::wstring(prefix) + L":" + info.name;
    return true;
}

bool DescribeXml(const CvxDataItem& item, MapItem& info) {
    const auto* xml = dynamic_cast<const Corvix::XMLDataItemSpec*>(&item);
    if (!xml) return false;
    info.kind = L"DataItem";
    // Of two lacks the later one is told: without a URI there is nothing to evaluate an XPath on.
    if (IsMissing(xml->GetXPath())) info.lack = L"the map gives no XPath for this item";
    if (IsMissing(xml->GetUri())) info.lack = L"the map gives no URI for this item";
    info.resource = TextOr(xml->GetUri(), L"");
    info.source = TextOr(xml->GetUri(), L"(no URI)") + L" " + TextOr(xml->GetXPath(), L"(no XPath)");
    return true;
}

bool DescribeWalk(const CvxDataItem& item, MapItem& info) {
    const auto* walk = dynamic_cast<const Corvix::NextOIDDataItemSpec*>(&item);
    if (!walk) return false;
    info.kind = L"NextDataItem";
    info.elements = {walk->IsUntilEnd(), walk->Count(), false};
    info.source = OidSource(*walk) + L", walked " + ExtentText(*info.elements);
    return true;
}

bool DescribeTable(const CvxDataItem& item, MapItem& info) {
    const auto* table = dynamic_cast<const Corvix::OIDGetDataItemsSpec*>(&item);
    if (!table) return false;
    info.kind = L"GetDataItems";
    info.elements = {table->IsUntilEnd(), table->Count(), !table->IsUntilEnd()};
    // The table's own GetOid() would use up an index: the base's is the template.
    info.source =
        OidSource(*table) + L", N from " + TextOr(table->GetN(), L"0") + L", " + ExtentText(*info.elements);
    return true;
}

bool DescribeOid(const CvxDataItem& item, MapItem& info) {
    const auto* oid = dynamic_cast<const Corvix::OIDDataItemSpec*>(&item);
    if (!oid) return false;
    info.kind = L"DataItem";
    if (IsMissing(oid->GetOid())) info.lack = L"the map gives no OID for this item";
    info.source = OidSource(*oid);
    return true;
}

bool DescribeIpp(const CvxDataItem& item, MapItem& info) {
    const auto* ipp = dynamic_cast<const Corvix::IPPDataItemSpec*>(&item);
    if (!ipp) return false;
    info.isParameters = info.name == parametersItem;
    info.kind = info.isParameters ? parametersItem : L"DataItem";
    if (info.isParameters) {
        info.source = L"resource " + TextOr(ipp->GetResourceUri(), L"/ipp/printer");
        return true;
    }
    info.source = L"attribute " + TextOr(item.GetAttributeID(), info.name.c_str());
    if (const wchar_t* command = ipp->GetCommand()) info.source += L" by " + std::wstring(command);
    return true;
}

using Describe = bool (*)(const CvxDataItem& item, MapItem& info);
// A walk and a table are OID items too: they are asked first.
constexpr Describe describers[] = {DescribeConstant, DescribeXml, DescribeWalk,
                                   DescribeTable,    DescribeOid, DescribeIpp};

MapItem DescribeItem(const std::wstring& name, const CvxDataItem& item) {
    MapItem info;
    info.name = name;
    info.kind = L"";
    for (const Describe describe : describers) {
        if (describe(item, info)) break;
    }
    // Constants have no lifespan.
    if (const auto* fetched = dynamic_cast<const DataItemSpec*>(&item)) {
        info.isTransient = fetched->IsTransient();
        info.lifespan = fetched->GetLifespan();
    }
    return info;
}

std::wstring PrinterPathOf(const DataMapSpec& map) {
    const auto* parameters =
        dynamic_cast<const Corvix::IPPDataItemSpec*>(map.GetDataItemSpec(parametersItem));
    return parameters ? TextOr(parameters->GetResourceUri(), L"") : L"";
}

}  // namespace

MapInfo DescribeMap(const DataMapSpec& map) {
    MapInfo info{map.GetDataMapType(), map.GetProtocolType(), {}, PrinterPathOf(map)};
    for (const auto& [name, item] : map.GetItems())
        info.items.push_back(DescribeItem(name, *item));
    return info;
}

}  // namespace CorvixCtl
