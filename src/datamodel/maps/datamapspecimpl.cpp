#include "datamodel/maps/datamapspecimpl.h"

#include <algorithm>
#include <iterator>

#include "datamodel/dom/domreader.h"
#include "datamodel/maps/protocols.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// An item element of a map. An item that has a fixed name is stored under it, whatever its attributes say.
struct ItemKind {
    std::wstring_view element;
    CvxDataItem* (*create)(IXMLDOMNode*);
    const wchar_t* fixedName = nullptr;
};

CvxDataItem* CreateXmlItem(IXMLDOMNode* node) { return XMLDataItemSpec::CreateXMLDataItem(node); }

CvxDataItem* CreateOidItem(IXMLDOMNode* node) { return OIDDataItemSpec::CreateOIDDataItemSpec(node); }

CvxDataItem* CreateWalk(IXMLDOMNode* node) { return NextOIDDataItemSpec::CreateNextOidDataItemSpec(node); }

CvxDataItem* CreateTable(IXMLDOMNode* node) { return OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(node); }

CvxDataItem* CreateIppItem(IXMLDOMNode* node) { return IPPDataItemSpec::CreateIPPDataItemSpec(node); }

CvxDataItem* CreateStaticItem(IXMLDOMNode* node) {
    return StaticDataItemSpec::CreateStaticDataItemSpec(node);
}

constexpr ItemKind xmlItems[] = {{L"DataItem", CreateXmlItem}, {L"StaticDataItem", CreateStaticItem}};
constexpr ItemKind oidItems[] = {{L"DataItem", CreateOidItem},
                                 {L"NextDataItem", CreateWalk},
                                 {L"GetDataItems", CreateTable},
                                 {L"StaticDataItem", CreateStaticItem}};
constexpr ItemKind ippItems[] = {{L"DataItem", CreateIppItem},
                                 {L"StaticDataItem", CreateStaticItem},
                                 {L"IPPParams", CreateIppItem, L"IPPParams"}};

std::wstring ProtocolAttribute(IXMLDOMNode* node) {
    return TextValueOf(DomElement(node), L"Protocol").value_or(std::wstring());
}

/// A map element, the protocol it stands for and the item elements that it knows.
struct MapKind {
    std::wstring_view element;
    std::wstring (*protocol)(IXMLDOMNode*);
    const ItemKind* firstItem;
    const ItemKind* endOfItems;
};

constexpr MapKind mapKinds[] = {
    {L"XMLDataMap", ProtocolAttribute, std::begin(xmlItems), std::end(xmlItems)},
    {L"OIDDataMap", [](IXMLDOMNode*) { return ProtocolText(DataMapTypeEnum::OID); }, std::begin(oidItems),
     std::end(oidItems)},
    {L"IPPDataMap", [](IXMLDOMNode*) { return ProtocolText(DataMapTypeEnum::IPP); }, std::begin(ippItems),
     std::end(ippItems)},
};

/// The kind whose element the node is, or null.
template <class Kind>
const Kind* FindKind(const Kind* first, const Kind* last, IXMLDOMNode* node) {
    const KyUtils::Bstr name = NodeNameOf(node);
    const Kind* found =
        std::find_if(first, last, [&name](const Kind& kind) { return kind.element == name.View(); });
    return found == last ? nullptr : found;
}

void AddItem(DataMapSpecImpl& map, const ItemKind& kind, IXMLDOMNode* node) {
    std::unique_ptr<CvxDataItem> item(kind.create(node));
    const wchar_t* name = kind.fixedName ? kind.fixedName : item->GetName();
    if (!name) {
        // Nobody could ask for it.
        logSource.Warning(L"An item without a name is left out");
        return;
    }
    map.AddDataItemSpec(name, item.release());
}

}  // namespace

void DataMapSpecImpl::Read(IXMLDOMNode* node) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataMapSpecImpl::Read");
    const MapKind* kind = FindKind(std::begin(mapKinds), std::end(mapKinds), node);
    if (!kind) return;
    protocol_ = kind->protocol(node);
    ForEachChild(node, [this, kind](IXMLDOMNode* child) {
        const ItemKind* itemKind = FindKind(kind->firstItem, kind->endOfItems, child);
        if (itemKind) AddItem(*this, *itemKind, child);
    });
}

void DataMapSpecImpl::AddDataItemSpec(const wchar_t* name, CvxDataItem* item) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataMapSpecImpl::AddDataItemSpec");
    if (!name || !item) return;
    // The item is owned before anything can throw: a failed insertion destroys it.
    const auto place = items_.lower_bound(std::wstring_view(name));
    if (place == items_.end() || place->first != name) {
        KyUtils::RaisingComErrors(
            [&] { items_.emplace_hint(place, name, std::unique_ptr<CvxDataItem>(item)); });
    } else if (place->second.get() != item) {
        place->second.reset(item);
    }
}

CvxDataItem* DataMapSpecImpl::GetDataItemSpec(const wchar_t* name) const {
    const KyUtils::LogScope scope(logSource, "Corvix::DataMapSpecImpl::GetDataItemSpec");
    if (!name) return nullptr;
    const auto found = items_.find(name);
    return found == items_.end() ? nullptr : found->second.get();
}

void DataMapSpecImpl::Begin() {
    position_ = items_.begin();
    lastReturned_ = items_.end();
}

CvxDataItem* DataMapSpecImpl::GetNextDataItemSpec() {
    if (position_ == items_.end()) return nullptr;
    lastReturned_ = position_++;
    return lastReturned_->second.get();
}

void DataMapSpecImpl::RemoveFromMap() {
    const KyUtils::LogScope scope(logSource, "Corvix::DataMapSpecImpl::RemoveFromMap");
    if (position_ == items_.end() || lastReturned_ == items_.end()) return;
    items_.erase(lastReturned_);
    lastReturned_ = items_.end();
}

unsigned DataMapSpecImpl::SizeOf() const { return static_cast<unsigned>(items_.size()); }

std::wstring DataMapSpecImpl::GetProtocolType() const {
    return KyUtils::RaisingComErrors([this] { return protocol_; });
}

DataMapTypeEnum DataMapSpecImpl::GetDataMapType() const { return ProtocolType(protocol_); }

}  // namespace Corvix
