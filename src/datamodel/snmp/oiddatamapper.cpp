#include "datamodel/snmp/oiddatamapper.h"

#include <optional>
#include <utility>

#include "datamodel/collection/itemname.h"
#include "datamodel/snmp/oidtext.h"
#include "datamodel/snmp/oidwalk.h"
#include "datamodel/snmp/variantlist.h"
#include "utilslib/boundary.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr std::wstring_view wholeSequence = L"###";
constexpr size_t sequenceDigits = 3;

std::wstring_view ViewOf(const wchar_t* text) { return text ? std::wstring_view(text) : std::wstring_view(); }

/// An element number; nothing for text that is not a decimal number of at most nine digits.
std::optional<int> ParseElementNumber(std::wstring_view text) {
    constexpr size_t mostDigits = 9;
    if (text.empty() || text.find_first_not_of(L"0123456789") != std::wstring_view::npos) return std::nullopt;
    text.remove_prefix(std::min(text.find_first_not_of(L'0'), text.size()));
    if (text.size() > mostDigits) return std::nullopt;
    int number = 0;
    for (const wchar_t digit : text)
        number = number * 10 + (digit - L'0');
    return number;
}

/// Whether the device does not answer at all. Do not ask it for further elements then: each would cost all the
/// retries of the connection.
bool IsSilence(HRESULT result) {
    return result == HRESULT_FROM_WIN32(WSAETIMEDOUT) || result == HRESULT_FROM_WIN32(ERROR_TIMEOUT) ||
           result == HRESULT_FROM_WIN32(ERROR_DEVICE_NOT_CONNECTED);
}

/// Whether a cache keeps values of this type.
bool IsKept(VARTYPE type) { return type == VT_BSTR || type == VT_I4; }

}  // namespace

/// One request for a walk or a table, or for an element of it.
struct OIDDataMapper::Sequence {
    std::wstring_view prefix;
    std::wstring_view name;
    const OIDDataItemSpec& item;
    std::optional<int> wanted;  ///< nothing: the sequence as a whole
    std::optional<KyUtils::Variant> found;
    KyUtils::Variant foundRaw;
    int count = 0;         ///< of the elements fetched
    bool complete = true;  ///< whether the device told where the sequence ends, and what is missing in it

    /// Any failure other than "not found" means that the element may exist.
    void Note(HRESULT result) {
        if (FAILED(result) && result != HRESULT_FROM_WIN32(ERROR_NOT_FOUND)) complete = false;
    }
    std::wstring Key(std::wstring_view sequence) const {
        std::wstring key;
        ConstructKey(prefix, name, sequence, key);
        return key;
    }
    /// Elements of transient items are not kept, so fetching ends with the one that was wanted.
    bool IsDone() const { return item.IsTransient() && (found || !wanted); }
};

OIDDataMapper::OIDDataMapper(DisposablePtr<OIDProvider> provider, DisposablePtr<DataMapSpec> map)
    : DataCollectionImpl(std::move(map)), provider_(std::move(provider)) {}

/// In a cache, the name of a sequence says that all its elements are there. Take it out where they are not.
OIDDataMapper::~OIDDataMapper() {
    for (const auto* keys : {&incomplete_, &unkept_}) {
        for (const std::wstring& key : *keys)
            Store().Remove(key);
    }
}

DisposablePtr<DataCollectionImpl> OIDDataMapper::Create(DisposablePtr<OIDProvider> provider,
                                                        DisposablePtr<DataMapSpec> map) {
    return DisposablePtr<DataCollectionImpl>::Share(new OIDDataMapper(std::move(provider), std::move(map)));
}

std::wstring OIDDataMapper::GetDataMapName() const { return L"OIDDataMap"; }

HRESULT OIDDataMapper::ConstructKey(std::wstring_view prefix, std::wstring_view name,
                                    std::wstring_view sequence, std::wstring& key) {
    if (name.empty()) return E_FAIL;
    key.assign(prefix);
    if (!prefix.empty()) key += L':';
    key += name;
    if (!sequence.empty()) (key += L'.') += sequence;
    return S_OK;
}

std::wstring OIDDataMapper::GetSequenceString(int index) {
    std::wstring digits = std::to_wstring(index);
    if (digits.size() < sequenceDigits) digits.insert(0, sequenceDigits - digits.size(), L'0');
    return digits;
}

OIDDataMapper::DataNode OIDDataMapper::GetDataNode(std::wstring_view name) const {
    const ItemName parts = SplitItemName(name);
    const size_t dot = parts.item.find(L'.');
    DataNode node{parts.prefix, std::wstring(parts.item.substr(0, dot)), {}, nullptr};
    if (dot != std::wstring_view::npos) node.suffix = parts.item.substr(dot + 1);
    node.item = dynamic_cast<OIDDataItemSpec*>(Map()->GetDataItemSpec(node.name.c_str()));
    return node;
}

HRESULT OIDDataMapper::GetValue(const wchar_t* name, VARIANT* value) {
    return KyUtils::Entry(logSource, "Corvix::OIDDataMapper::GetValue", [&] {
        if (!name || !value || !provider_) return E_FAIL;
        const HRESULT stored = DataCollectionImpl::GetValue(name, value);
        if (stored == S_OK) return stored;
        const DataNode node = GetDataNode(name);
        return node.item ? Fetch(name, node, value) : stored;
    });
}

HRESULT OIDDataMapper::Fetch(const wchar_t* name, const DataNode& node, VARIANT* value) {
    const bool hasElements = node.item->GetOIDGetDataItemsSpec() || node.item->GetNextOIDDataItemSpec();
    return hasElements ? AnswerSequence(node, value) : GetDataItem(name, *node.item, value);
}

HRESULT OIDDataMapper::GetDataItem(std::wstring_view name, const OIDDataItemSpec& item, VARIANT* value) {
    if (!item.GetOid()) return E_FAIL;
    if (!ViewOf(item.GetGroup()).empty()) return GetGroup(name, item, value);
    KyUtils::Variant raw;
    const HRESULT result = provider_->GetValue(item.GetOid(), raw.Receive());
    if (FAILED(result)) return result;
    return Answer(item, name, std::move(raw), value);
}

HRESULT OIDDataMapper::GetGroup(std::wstring_view name, const OIDDataItemSpec& item, VARIANT* value) {
    std::vector<const wchar_t*> oids = PopulateOidListForGroupID(item.GetGroup());
    VariantList values(oids.size());
    const HRESULT result = provider_->GetMultipleValues(oids.data(), values.Data(), values.Count());
    if (FAILED(result)) return result;
    return Answer(item, name, KyUtils::Variant::FromText(values.Join()), value);
}

std::vector<const wchar_t*> OIDDataMapper::PopulateOidListForGroupID(std::wstring_view group) const {
    std::vector<const wchar_t*> oids;
    for (const auto& [name, each] : Map()->GetItems()) {
        const auto* item = dynamic_cast<const OIDDataItemSpec*>(each.get());
        const bool isMember = item && item->GetOid() && ViewOf(item->GetGroup()) == group;
        if (isMember && !ViewOf(item->GetName()).empty()) oids.push_back(item->GetOid());
    }
    return oids;
}

HRESULT OIDDataMapper::AnswerSequence(const DataNode& node, VARIANT* value) {
    Sequence sequence{node.prefix, node.name, *node.item, std::nullopt, std::nullopt, {}, 0, true};
    if (!node.suffix.empty() && node.suffix != wholeSequence) {
        sequence.wanted = ParseElementNumber(node.suffix);
        if (!sequence.wanted) return E_FAIL;
        // "Tray.3" is kept as "Tray.003".
        const std::wstring key = sequence.Key(GetSequenceString(*sequence.wanted));
        if (DataCollectionImpl::GetValue(key.c_str(), value) == S_OK) return S_OK;
        if (IsKnown(sequence)) return E_FAIL;
    }
    // Until the end is reached: if memory runs out on the way, the part must not count as the whole.
    incomplete_.insert(sequence.Key({}));
    if (!node.item->IsTransient()) {
        const KyUtils::Variant name = KyUtils::Variant::FromText(sequence.Key(wholeSequence));
        StoreValue(sequence.Key({}).c_str(), name.Get(), node.item->GetLifespan());
    }
    if (const auto* table = node.item->GetOIDGetDataItemsSpec()) {
        return GetDataItemsInSequnce(sequence, *table, value);
    }
    return GetNextDataItem(sequence, *node.item->GetNextOIDDataItemSpec(), value);
}

/// Whether the store has the whole sequence, so that an element missing there does not exist: its name is fresh and
/// the last fetch reached the end.
bool OIDDataMapper::IsKnown(const Sequence& sequence) {
    const std::wstring key = sequence.Key({});
    const StoredValue* name = Store().FindFresh(key);
    return name && name->value.Text() == sequence.Key(wholeSequence) && incomplete_.count(key) == 0;
}

HRESULT OIDDataMapper::GetNextDataItem(Sequence& sequence, const NextOIDDataItemSpec& item, VARIANT* value) {
    if (!item.GetOid()) return E_FAIL;
    if (sequence.IsDone()) return HandOver(sequence, S_OK, value);
    const bool startIsReadable = SUCCEEDED(ReadElement(sequence, 0, item.GetOid()));
    const HRESULT ended = sequence.IsDone() ? S_OK : Walk(sequence, item, startIsReadable);
    return HandOver(sequence, ended, value);
}

HRESULT OIDDataMapper::Walk(Sequence& sequence, const NextOIDDataItemSpec& item, bool startIsReadable) {
    OidWalk walk(*provider_, item.GetOid());
    // A readable start is an instance: walk its column. Otherwise the start is the column itself.
    if (item.IsUntilEnd()) walk.StayBelow(startIsReadable ? ParentOid(item.GetOid()) : item.GetOid());
    const int last = item.IsUntilEnd() ? maxElements : item.Count();
    for (int index = 1; index <= last && !sequence.IsDone(); ++index) {
        KyUtils::Variant raw;
        const HRESULT result = walk.Next(raw);
        sequence.Note(result);
        if (result != S_OK) return result;
        TakeElement(sequence, index, std::move(raw));
        if (item.IsUntilEnd() && index == last) {
            logSource.Warning(L"The walk of %ls has no end: cut after %d elements", item.GetOid(), index);
        }
    }
    return S_OK;
}

HRESULT OIDDataMapper::GetDataItemsInSequnce(Sequence& sequence, const OIDGetDataItemsSpec& item,
                                             VARIANT* value) {
    if (sequence.IsDone()) return HandOver(sequence, S_OK, value);
    // GetOid() advances the index. Work on a copy, so that every request begins with the first one.
    OIDGetDataItemsSpec table = item;
    const HRESULT first = ReadElement(sequence, 0, table.GetOid().c_str());
    const HRESULT ended = sequence.IsDone() || IsSilence(first) ? first : ReadTable(sequence, table);
    return HandOver(sequence, ended, value);
}

HRESULT OIDDataMapper::ReadTable(Sequence& sequence, OIDGetDataItemsSpec& item) {
    const int last = item.IsUntilEnd() ? maxElements : item.Count();
    for (int index = 1; index <= last && !sequence.IsDone(); ++index) {
        const HRESULT result = ReadElement(sequence, index, item.GetOid().c_str());
        // A table with a fixed count may have gaps; one "until the end" ends at the first.
        if (FAILED(result) && (item.IsUntilEnd() || IsSilence(result))) return result;
        if (item.IsUntilEnd() && index == last) {
            logSource.Warning(L"The table %ls has no end: cut after %d elements",
                              item.OIDDataItemSpec::GetOid(), index);
        }
    }
    return S_OK;
}

HRESULT OIDDataMapper::ReadElement(Sequence& sequence, int index, const wchar_t* oid) {
    KyUtils::Variant raw;
    const HRESULT result = provider_->GetValue(oid, raw.Receive());
    sequence.Note(result);
    if (SUCCEEDED(result)) TakeElement(sequence, index, std::move(raw));
    return result;
}

void OIDDataMapper::TakeElement(Sequence& sequence, int index, KyUtils::Variant raw) {
    KyUtils::Variant converted = ConvertAndStore(sequence.item, sequence.Key(GetSequenceString(index)), raw);
    ++sequence.count;
    if (!IsKept(converted->vt)) unkept_.insert(sequence.Key({}));
    if (sequence.wanted != index) return;
    sequence.found = std::move(converted);
    sequence.foundRaw = std::move(raw);
}

HRESULT OIDDataMapper::HandOver(Sequence& sequence, HRESULT ended, VARIANT* value) {
    if (sequence.complete) incomplete_.erase(sequence.Key({}));
    if (IsSilence(ended)) {
        // The sequence is cut short: neither this nor a later collection may take it for complete.
        Store().Remove(sequence.Key({}));
        if (sequence.count == 0) return ended;
    }
    if (!sequence.wanted) {
        *value = KyUtils::Variant::FromText(sequence.Key(wholeSequence)).Release();
        NoteDeviceAnswer({}, sequence.item.GetLifespan());
        return S_OK;
    }
    // E_OUTOFMEMORY here means that no buffer was large enough for a name: of no meaning to the caller.
    if (!sequence.found) return FAILED(ended) && ended != E_OUTOFMEMORY ? ended : E_FAIL;
    *value = sequence.found->Release();
    NoteDeviceAnswer(std::move(sequence.foundRaw), sequence.item.GetLifespan());
    return S_OK;
}

}  // namespace Corvix
