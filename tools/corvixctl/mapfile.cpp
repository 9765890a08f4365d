#include "mapfile.h"

#include <windows.h>

#include <msxml.h>
#include <shlwapi.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "com.h"
#include "exitcodes.h"
#include "files.h"
#include "systemtext.h"
#include "xmlfault.h"

namespace CorvixCtl {
namespace {

using Corvix::CvxDataItem;
using Corvix::DataItemSpec;
using Corvix::DataMapSpec;
using Corvix::DataMapSpecCollection;
using Corvix::DataMapTypeEnum;

constexpr CLSID domDocumentClass = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};

// The element of an IPP map that says how its requests are made, and the name of its item.
constexpr const wchar_t* parametersItem = L"IPPParams";

struct Protocol {
    DataMapTypeEnum type;
    const wchar_t* name;
    const wchar_t* mapName;  // what a collection bound to such a map calls it
};
constexpr Protocol protocols[] = {
    {DataMapTypeEnum::Pavo, L"Pavo", L"XMLDataMap[@Protocol='Pavo']"},
    {DataMapTypeEnum::WS, L"WS", L"XMLDataMap[@Protocol='WS']"},
    {DataMapTypeEnum::PLSXML, L"PLSXML", L"XMLDataMap[@Protocol='PLSXML']"},
    {DataMapTypeEnum::IPP, L"IPP", L"IPPDataMap"},
    {DataMapTypeEnum::OID, L"OID", L"OIDDataMap"},
};

Failure BadMap(const std::wstring& path, const std::wstring& reason) {
    return Failure(ExitCode::BadMap, L"map " + path + L": " + reason);
}

std::string ReadMapFile(const std::wstring& path) {
    std::string bytes = ReadFileBytes(path, ExitCode::BadMap, L"map");
    if (bytes.empty())
        throw BadMap(path, L"the file is empty; a map is an XML document with the root DataMaps");
    return bytes;
}

// ---- the document

ComPtr<IStream> StreamOver(const std::string& bytes) {
    ComPtr<IStream> stream;
    stream.Attach(
        SHCreateMemStream(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<UINT>(bytes.size())));
    return stream;
}

std::wstring ReasonOf(IXMLDOMDocument& document) {
    ComPtr<IXMLDOMParseError> error;
    Bstr reason;
    if (FAILED(document.get_parseError(&error)) || FAILED(error->get_reason(reason.Receive()))) return {};
    std::wstring text(reason.View());
    text.erase(text.find_last_not_of(L" .\r\n") + 1);
    // Some parsers know no better.
    return text == L"error" ? std::wstring() : text;
}

Failure NotXml(const std::wstring& path, const std::string& bytes, IXMLDOMDocument& document) {
    const ComPtr<IStream> stream = StreamOver(bytes);
    const std::optional<XmlFault> fault = stream ? FindXmlFault(*stream.Get()) : std::nullopt;
    if (fault) {
        return BadMap(path, L"not well-formed XML at line " + std::to_wstring(fault->line) + L", column " +
                                std::to_wstring(fault->column) + L": " + fault->reason);
    }
    const std::wstring reason = ReasonOf(document);
    return BadMap(path, L"not well-formed XML" + (reason.empty() ? L"" : L": " + reason));
}

ComPtr<IXMLDOMDocument> ParseMap(const std::wstring& path, const std::string& bytes) {
    ComPtr<IXMLDOMDocument> document;
    const HRESULT created =
        CoCreateInstance(domDocumentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, &document);
    if (FAILED(created))
        throw BadMap(path, L"the system's XML parser cannot be started: " +
                               SystemText(static_cast<unsigned long>(created)));
    const ComPtr<IStream> stream = StreamOver(bytes);
    VARIANT source = {};
    source.vt = VT_UNKNOWN;
    source.punkVal = stream.Get();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->put_async(VARIANT_FALSE);
    if (!stream || FAILED(document->load(source, &loaded)) || loaded != VARIANT_TRUE)
        throw NotXml(path, bytes, *document.Get());
    return document;
}

ComPtr<IXMLDOMNode> SelectDataMaps(const std::wstring& path, IXMLDOMDocument& document) {
    ComPtr<IXMLDOMNode> root;
    document.selectSingleNode(Bstr(L"DataMaps").Get(), &root);
    if (root) return root;
    ComPtr<IXMLDOMElement> element;
    Bstr name;
    if (document.get_documentElement(&element) == S_OK) element->get_nodeName(name.Receive());
    throw BadMap(path, L"the root element is " + std::wstring(name.View()) + L", not DataMaps");
}

void SetPrinterPath(IXMLDOMNode& root, const std::wstring& printerPath) {
    ComPtr<IXMLDOMNodeList> found;
    root.selectNodes(Bstr(L"IPPDataMap/" + std::wstring(parametersItem)).Get(), &found);
    VARIANT value = {};
    value.vt = VT_BSTR;
    const Bstr text(printerPath);
    value.bstrVal = text.Get();
    ComPtr<IXMLDOMNode> node;
    while (found && found->nextNode(&node) == S_OK) {
        ComPtr<IXMLDOMElement> element;
        if (SUCCEEDED(node->QueryInterface(IID_IXMLDOMElement, &element)))
            element->setAttribute(Bstr(L"ResourceURI").Get(), value);
    }
}

// Without the XML declaration, whose encoding would be wrong for a text in memory.
std::wstring XmlOf(IXMLDOMNode& node) {
    Bstr xml;
    node.get_xml(xml.Receive());
    return std::wstring(xml.View());
}

// ---- the items

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
    if (const wchar_t* prefix = item.GetPrefix()) info.name = std::wstring(prefix) + L":" + info.name;
    return true;
}

bool DescribeXml(const CvxDataItem& item, MapItem& info) {
    const auto* xml = dynamic_cast<const Corvix::XMLDataItemSpec*>(&item);
    if (!xml) return false;
    info.kind = L"DataItem";
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

MapInfo DescribeMap(const DataMapSpec& map) {
    MapInfo info{map.GetDataMapType(), map.GetProtocolType(), {}, PrinterPathOf(map)};
    for (const auto& [name, item] : map.GetItems())
        info.items.push_back(DescribeItem(name, *item));
    return info;
}

// Comments and unknown elements become empty maps of no kind, which nobody wants to see.
bool IsMap(const MapInfo& map) {
    return map.type != DataMapTypeEnum::Unknown || !map.protocol.empty() || !map.items.empty();
}

}  // namespace

MapFile MapFile::Load(const std::wstring& path, const std::wstring& printerPath) {
    const std::string bytes = ReadMapFile(path);
    const ComPtr<IXMLDOMDocument> document = ParseMap(path, bytes);
    const ComPtr<IXMLDOMNode> root = SelectDataMaps(path, *document.Get());
    if (!printerPath.empty()) SetPrinterPath(*root.Get(), printerPath);
    MapFile file;
    file.path_ = path;
    file.text_ = XmlOf(*root.Get());
    file.specs_.reset(DataMapSpecCollection::CreateDataMapSpecCollection(root.Get()));
    for (unsigned i = 0; i < file.specs_->GetCount(); ++i) {
        MapInfo info = DescribeMap(*file.specs_->GetDataMapSpec(i));
        if (IsMap(info)) file.maps_.push_back(std::move(info));
    }
    if (file.maps_.empty())
        throw BadMap(path, L"DataMaps holds no map; add an XMLDataMap, OIDDataMap or IPPDataMap element");
    return file;
}

const MapInfo* MapFile::FindMap(DataMapTypeEnum type) const {
    const auto found =
        std::find_if(maps_.begin(), maps_.end(), [&](const MapInfo& map) { return map.type == type; });
    return found == maps_.end() ? nullptr : &*found;
}

const wchar_t* ProtocolName(DataMapTypeEnum type) {
    for (const Protocol& protocol : protocols) {
        if (protocol.type == type) return protocol.name;
    }
    return nullptr;
}

DataMapTypeEnum MapTypeOfProtocol(std::wstring_view name) {
    for (const Protocol& protocol : protocols) {
        if (name == protocol.name) return protocol.type;
    }
    return DataMapTypeEnum::Unknown;
}

DataMapTypeEnum MapTypeOf(std::wstring_view dataMapName) {
    for (const Protocol& protocol : protocols) {
        if (dataMapName == protocol.mapName) return protocol.type;
    }
    return DataMapTypeEnum::Unknown;
}

}  // namespace CorvixCtl
