#include "comparison.h"

#include <msxml.h>
#include <wrl/client.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <stdexcept>
#include <utility>

namespace SnmpPeer {
namespace {

using namespace Corvix;

const std::wstring nothing = L"<nothing>";

// A value with its type, so that 5 and "5" differ. Clears it.
std::wstring Describe(VARIANT value) {
    std::wstring text = L"<type " + std::to_wstring(value.vt) + L">";
    if (value.vt == VT_I4) text = std::to_wstring(value.lVal);
    if (value.vt == VT_BSTR) text = L"\"" + std::wstring(value.bstrVal, SysStringLen(value.bstrVal)) + L"\"";
    if (value.vt == (VT_ARRAY | VT_UI1)) {
        text.clear();
        const auto* bytes = static_cast<const unsigned char*>(value.parray->pvData);
        for (ULONG i = 0; i < value.parray->rgsabound[0].cElements; ++i) {
            wchar_t hex[4];
            std::swprintf(hex, 4, L"%02X ", bytes[i]);
            text += hex;
        }
    }
    VariantClear(&value);
    return text;
}

std::wstring ElementName(const std::wstring& name, size_t number) {
    wchar_t sequence[16];
    std::swprintf(sequence, 16, L".%03u", static_cast<unsigned>(number));
    return name + sequence;
}

VARIANT Text(const std::wstring& text) {
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return value;
}

// Clears the raw value.
VARIANT Convert(const DataItemSpec& item, VARIANT raw) {
    const VARIANT converted = item.ConvertValue(raw);
    VariantClear(&raw);
    return converted;
}

struct CollectionDeleter {
    void operator()(DataMapSpecCollection* maps) const { DataMapSpecCollection::Dispose(maps); }
};
using MapsPtr = std::unique_ptr<DataMapSpecCollection, CollectionDeleter>;

MapsPtr LoadMaps(const std::wstring& file) {
    constexpr CLSID domDocumentClass = {
        0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
    Microsoft::WRL::ComPtr<IXMLDOMDocument> document;
    CoCreateInstance(domDocumentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, &document);
    if (!document) throw std::runtime_error("no XML parser");
    VARIANT path = Text(file);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->put_async(VARIANT_FALSE);
    document->load(path, &loaded);
    VariantClear(&path);
    VARIANT query = Text(L"DataMaps");
    Microsoft::WRL::ComPtr<IXMLDOMNode> node;
    document->selectSingleNode(query.bstrVal, &node);
    VariantClear(&query);
    if (!loaded || !node) throw std::runtime_error("the map does not load");
    return MapsPtr(DataMapSpecCollection::CreateDataMapSpecCollection(node.Get()));
}

}  // namespace

Comparison::Comparison(Address& device, const std::wstring& mapFile, ExpectedObjects expected)
    : expected_(std::move(expected)) {
    const MapsPtr maps = LoadMaps(mapFile);
    map_ = DisposablePtr<DataMapSpec>::Share(maps->GetDataMapSpec(0));
    const HRESULT result =
        CreateDataCollectionFromDataMapSpecsCollection(&device, maps.get(), collection_.Receive(), nullptr);
    if (result != S_OK) throw std::runtime_error("the map does not fit the device");
}

void Comparison::Run() {
    for (const auto& [name, item] : map_->GetItems()) {
        if (auto* fetched = dynamic_cast<OIDDataItemSpec*>(item.get())) Compare(*fetched);
    }
}

void Comparison::Compare(OIDDataItemSpec& item) {
    if (const auto* walk = item.GetNextOIDDataItemSpec()) {
        CompareWalk(*walk);
    } else if (const auto* table = item.GetOIDGetDataItemsSpec()) {
        CompareTable(*table);
    } else if (item.GetGroup()) {
        CompareGroup(item);
    } else {
        Check(item.GetName(), item, expected_.Find(item.GetOid()));
    }
}

void Comparison::CompareGroup(const OIDDataItemSpec& item) {
    std::wstring joined;
    for (const auto& [name, each] : map_->GetItems()) {
        const auto* member = dynamic_cast<const OIDDataItemSpec*>(each.get());
        if (!member || !member->GetGroup() || std::wstring(member->GetGroup()) != item.GetGroup()) continue;
        const ExpectedValue* value = expected_.Find(member->GetOid());
        joined += (joined.empty() ? L"" : L",") +
                  (value ? std::wstring(value->text.begin(), value->text.end()) : nothing);
    }
    Count(item.GetName(), Describe(Convert(item, Text(joined))), Read(item.GetName()));
}

void Comparison::CompareWalk(const NextOIDDataItemSpec& item) {
    const std::wstring name = item.GetName();
    Count(name, L"\"" + name + L".###\"", Read(name));
    Check(ElementName(name, 0), item, expected_.Find(item.GetOid()));
    const std::vector<const ExpectedValue*> elements = expected_.Below(item.GetOid());
    for (size_t i = 0; i < elements.size(); ++i)
        Check(ElementName(name, i + 1), item, elements[i]);
    Check(ElementName(name, elements.size() + 1), item, nullptr);
}

void Comparison::CompareTable(const OIDGetDataItemsSpec& item) {
    const std::wstring name = item.GetName();
    Count(name, L"\"" + name + L".###\"", Read(name));
    // A copy counts for itself.
    OIDGetDataItemsSpec counting = item;
    const ExpectedValue* element = nullptr;
    size_t number = 0;
    do {
        element = expected_.Find(counting.GetOid());
        Check(ElementName(name, number++), item, element);
    } while (element);
}

void Comparison::Check(const std::wstring& name, const DataItemSpec& item, const ExpectedValue* expected) {
    const std::wstring value = Read(name);
    // Time goes on between the two readings of a running clock.
    const bool isClock = item.GetName() == std::wstring(L"device-uptime");
    if (expected && isClock && std::stoll(value) >= std::stoll(expected->text))
        return Count(name, value, value);
    Count(name, expected ? Describe(Convert(item, ToVariant(*expected))) : nothing, value);
}

void Comparison::Count(const std::wstring& name, const std::wstring& expected, const std::wstring& value) {
    if (expected == value) {
        ++agreed_;
        return;
    }
    ++disagreed_;
    std::printf("%ls: expected %ls, not %ls\n", name.c_str(), expected.c_str(), value.c_str());
}

std::wstring Comparison::Read(const std::wstring& name) {
    VARIANT value;
    VariantInit(&value);
    const HRESULT result = collection_->GetValue(name.c_str(), &value);
    return FAILED(result) ? nothing : Describe(value);
}

}  // namespace SnmpPeer
