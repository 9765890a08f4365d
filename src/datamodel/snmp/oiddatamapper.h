/// The collection that answers the items of an `OIDDataMap`.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "corvixdm/oidprovider.h"
#include "datamodel/collection/datacollectionimpl.h"

namespace Corvix {

/// Items are asked for as "Prefix:Name.Element"; prefix and element are optional. The elements of walks and
/// tables are kept under keys with at least three digits ("Tray:InputTray.003"); element 000 is the value at
/// the item's own OID. An item that has elements, asked for as a whole, answers with the name of its sequence
/// ("Tray:InputTray.###") and has then filled the store with all of them.
class OIDDataMapper final : public DataCollectionImpl {
public:
    /// However long a device goes on, no walk or table "until the end" has more elements.
    static constexpr int maxElements = 20000;

    static DisposablePtr<DataCollectionImpl> Create(DisposablePtr<OIDProvider> provider,
                                                    DisposablePtr<DataMapSpec> map);
    HRESULT GetValue(const wchar_t* name, VARIANT* value) override;
    std::wstring GetDataMapName() const override;

    /// "Prefix:Name.Sequence"; an empty prefix or sequence is left out. E_FAIL, and no key, for an empty
    /// name.
    static HRESULT ConstructKey(std::wstring_view prefix, std::wstring_view name, std::wstring_view sequence,
                                std::wstring& key);
    /// 7 is "007", 1234 is "1234".
    static std::wstring GetSequenceString(int index);

private:
    /// What a name asks for.
    struct DataNode {
        std::wstring_view prefix;
        std::wstring name;
        std::wstring_view suffix;
        OIDDataItemSpec* item = nullptr;  ///< null for a name that is no SNMP item of the map
    };
    struct Sequence;

    OIDDataMapper(DisposablePtr<OIDProvider> provider, DisposablePtr<DataMapSpec> map);
    ~OIDDataMapper() override;

    DataNode GetDataNode(std::wstring_view name) const;
    HRESULT Fetch(const wchar_t* name, const DataNode& node, VARIANT* value);
    HRESULT GetDataItem(std::wstring_view name, const OIDDataItemSpec& item, VARIANT* value);
    HRESULT GetGroup(std::wstring_view name, const OIDDataItemSpec& item, VARIANT* value);
    std::vector<const wchar_t*> PopulateOidListForGroupID(std::wstring_view group) const;
    HRESULT GetNextDataItem(Sequence& sequence, const NextOIDDataItemSpec& item, VARIANT* value);
    HRESULT GetDataItemsInSequnce(Sequence& sequence, const OIDGetDataItemsSpec& item, VARIANT* value);

    HRESULT AnswerSequence(const DataNode& node, VARIANT* value);
    bool IsKnown(const Sequence& sequence);
    HRESULT Walk(Sequence& sequence, const NextOIDDataItemSpec& item, bool startIsReadable);
    HRESULT ReadTable(Sequence& sequence, OIDGetDataItemsSpec& item);
    HRESULT ReadElement(Sequence& sequence, int index, const wchar_t* oid);
    void TakeElement(Sequence& sequence, int index, KyUtils::Variant raw);
    HRESULT HandOver(Sequence& sequence, HRESULT ended, VARIANT* value);

    DisposablePtr<OIDProvider> provider_;
    // Keys of the sequences that were last fetched with failures, or not to the end.
    std::set<std::wstring> incomplete_;
    // Keys of the sequences with elements of types that caches do not keep.
    std::set<std::wstring> unkept_;
};

}  // namespace Corvix
