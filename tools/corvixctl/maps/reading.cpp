#include "maps/reading.h"

#include <algorithm>

#include "base/console.h"
#include "base/systemtext.h"
#include "base/text.h"
#include "utilslib/com.h"

namespace CorvixCtl {
namespace {

using Corvix::ValueOrigin;

// A device that never stops answering must not keep us for ever.
constexpr int mostElements = 100000;
constexpr const wchar_t* noAttribute = L"the printer does not have this attribute";
constexpr const wchar_t* noElement = L"the device has no such element";
constexpr const wchar_t* badXPath = L"the XPath of this item cannot be evaluated";

// In the form in which network tools show octets.
std::wstring BytesText(SAFEARRAY* bytes) {
    std::wstring text;
    void* data = nullptr;
    if (!bytes || FAILED(SafeArrayAccessData(bytes, &data))) return text;
    const auto* first = static_cast<const unsigned char*>(data);
    for (ULONG i = 0; i < bytes->rgsabound[0].cElements; ++i) {
        text += Formatted(i ? L" %02X" : L"%02X", static_cast<unsigned>(first[i]));
    }
    SafeArrayUnaccessData(bytes);
    return text;
}

// As the library names the elements of walks and tables.
std::wstring ElementName(const std::wstring& name, int number) { return name + Formatted(L".%03d", number); }

void AddOrigin(Reading& reading, ValueOrigin origin) {
    const auto raw = KyUtils::Variant::Adopt(origin.raw);
    reading.source = origin.source;
    reading.raw = ToCell(raw.Get());
    if (origin.timeStamp == 0) return;
    const double age = SecondsSince(origin.timeStamp);
    reading.age = Seconds{age};
    if (origin.lifespan != 0) reading.left = Seconds{std::max(0.0, origin.lifespan / 10.0 - age)};
}

std::wstring ResultText(HRESULT result) {
    if (result == E_FAIL) return L"not answered by the device";
    if (result == HRESULT_FROM_WIN32(WSAETIMEDOUT)) return L"the device did not answer in time";
    // These are the transport's, which knows their words.
    if (HRESULT_FACILITY(result) == FACILITY_WIN32)
        return CorvixTransport::DescribeNetError(static_cast<unsigned long>(HRESULT_CODE(result)));
    return L"not answered by the device: " + SystemText(static_cast<unsigned long>(result));
}

const MapItem* FindExactly(const MapInfo& map, std::wstring_view name) {
    const auto found = std::find_if(map.items.begin(), map.items.end(),
                                    [&](const MapItem& item) { return item.name == name; });
    return found == map.items.end() ? nullptr : &*found;
}

// A name with a prefix asks for the item of the name without it.
const MapItem* FindNamed(const MapInfo& map, std::wstring_view name) {
    const MapItem* item = FindExactly(map, name);
    const size_t colon = name.find(L':');
    return item || colon == std::wstring_view::npos ? item : FindExactly(map, name.substr(colon + 1));
}

}  // namespace

void ItemReader::Read(const std::wstring& name) {
    const MapItem* item = FindNamed(map_, name);
    if (item && item->elements) return ReadElements(name, *item->elements);
    readings_.push_back(ReadOne(name));
}

Reading ItemReader::ReadOne(const std::wstring& name) {
    StopIfInterrupted();
    // So that the journal tells of this item's exchange or, where none was needed, of none.
    device_.journal->BeginRequest();
    Reading reading;
    reading.name = name;
    const MapItem* item = FindItem(name);
    if (const auto failed = failedResources_.find(item ? item->resource : L"");
        failed != failedResources_.end()) {
        reading.error = failed->second;
        return reading;
    }
    KyUtils::Variant value;
    lastResult_ = collection_.GetValue(name.c_str(), value.Receive());
    if (FAILED(lastResult_)) {
        StopIfInterrupted();
        reading.error = ReasonOfFailure(name, item, lastResult_);
        return reading;
    }
    reading.value = ToCell(value.Get());
    ValueOrigin origin = {};
    if (collection_.GetValueOrigin(&origin) == S_OK) AddOrigin(reading, origin);
    return reading;
}

void ItemReader::ReadElements(const std::wstring& name, const Elements& elements) {
    // Asked for as a whole it fetches its elements, which are then asked for one by one.
    const Reading whole = ReadOne(name);
    const size_t before = readings_.size();
    const int last = elements.untilEnd ? mostElements : std::min(elements.count, mostElements);
    for (int number = 0; number <= last && !IsCutOff(); ++number) {
        Reading element = ReadOne(ElementName(name, number));
        const bool answered = IsEmpty(element.error);
        if (answered || IsCutOff()) readings_.push_back(std::move(element));
        // A walk may begin at a column, which has no value of its own: element 0 is missing then.
        if (!answered && number > 0 && !elements.mayHaveGaps) break;
    }
    if (readings_.size() > before) return;
    Reading none;
    none.name = name;
    none.error = IsEmpty(whole.error) ? Cell(std::wstring(noElement)) : whole.error;
    readings_.push_back(std::move(none));
}

bool ItemReader::IsCutOff() const {
    return FAILED(lastResult_) && HRESULT_FACILITY(lastResult_) == FACILITY_WIN32 &&
           lastResult_ != HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
}

// The document is there, be it from this exchange or from one before.
bool ItemReader::IsBadXPath(const MapItem& item, HRESULT result) const {
    const auto& exchange = device_.journal->Last();
    const bool hasDocument = !exchange || (exchange->error == 0 && exchange->status == 200);
    return !item.resource.empty() && result == E_FAIL && hasDocument;
}

std::wstring ItemReader::ReasonOfFailure(const std::wstring& name, const MapItem* item, HRESULT result) {
    // What the map lacks comes first: with it no answer of the device would help.
    if (item && item->lack) return item->lack;
    if (item && IsBadXPath(*item, result)) return badXPath;
    if (const auto& exchange = device_.journal->Last()) {
        if (map_.type == Corvix::DataMapTypeEnum::IPP) return DescribeIppExchange(*exchange, noAttribute);
        const std::wstring reason = DescribeExchange(*exchange, result);
        if (item && !item->resource.empty()) failedResources_.emplace(item->resource, reason);
        return reason;
    }
    if (!item) return ReasonOfUnknown(name);
    if (item->isParameters) return L"settings of the map's requests, not a value";
    if (item->isConstant) return L"the map gives no text for this constant";
    if (item->elements && result == E_FAIL) return noElement;
    return ResultText(result);
}

const MapItem* ItemReader::FindItem(const std::wstring& name) const {
    const MapItem* item = FindNamed(map_, name);
    // An element of a walk or a table, such as "supplies.003".
    return item ? item
                : FindNamed(map_, std::wstring_view(name).substr(0, name.find(L'.', name.find(L':') + 1)));
}

std::wstring ItemReader::ReasonOfUnknown(const std::wstring& name) const {
    std::vector<std::wstring> names = NamesOf(map_);
    for (const std::wstring& known : names) {
        // A constant has a prefix in its name, which is easily left out.
        const size_t colon = known.find(L':');
        if (colon != std::wstring::npos && known.substr(colon + 1) == name)
            return L"not in this map by that name; ask for " + known;
    }
    return L"not in this map" + DidYouMean(name, names);
}

std::vector<std::wstring> NamesOf(const MapInfo& map) {
    std::vector<std::wstring> names;
    for (const MapItem& item : map.items) {
        if (!item.isParameters) names.push_back(item.name);
    }
    return names;
}

Cell ToCell(const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
        case VT_NULL:
            return {};
        case VT_BSTR:
            return std::wstring(value.bstrVal ? value.bstrVal : L"", SysStringLen(value.bstrVal));
        case VT_I4:
        case VT_INT:
            return static_cast<long long>(value.lVal);
        case VT_ARRAY | VT_UI1:
            return BytesText(value.parray);
        default:
            break;
    }
    KyUtils::Variant text;
    const HRESULT changed = VariantChangeType(text.Receive(), const_cast<VARIANT*>(&value), 0, VT_BSTR);
    return SUCCEEDED(changed) ? ToCell(text.Get())
                              : Cell(L"(value of type " + std::to_wstring(value.vt) + L")");
}

}  // namespace CorvixCtl
