#include <algorithm>
#include <cstdint>
#include <string_view>

#include "corvixdm/dataitemspec.h"
#include "datamodel/dom/domreader.h"
#include "datamodel/maps/itemtext.h"
#include "utilslib/boundary.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr wchar_t listSeparator = L',';
constexpr std::wstring_view defaultKey = L"default";
constexpr VARTYPE byteArrayType = VT_ARRAY | VT_UI1;

using Rules = std::map<std::wstring, std::wstring>;

/// The bytes of a one-dimensional byte array, locked for as long as this lives; none when it is not such an
/// array.
class LockedBytes {
public:
    explicit LockedBytes(SAFEARRAY* array) {
        if (!array || SafeArrayGetDim(array) != 1 || SafeArrayGetElemsize(array) != 1) return;
        void* data = nullptr;
        if (FAILED(SafeArrayAccessData(array, &data))) return;
        array_ = array;
        bytes_ = static_cast<const std::uint8_t*>(data);
    }
    ~LockedBytes() {
        if (array_) SafeArrayUnaccessData(array_);
    }
    LockedBytes(const LockedBytes&) = delete;
    LockedBytes& operator=(const LockedBytes&) = delete;

    size_t Size() const { return array_ ? array_->rgsabound[0].cElements : 0; }
    std::int32_t BigEndianAt(size_t offset) const {
        const std::uint8_t* bytes = bytes_ + offset;
        return static_cast<std::int32_t>(std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
                                         std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]});
    }

private:
    SAFEARRAY* array_ = nullptr;
    const std::uint8_t* bytes_ = nullptr;
};

/// Two big-endian numbers packed into eight bytes, as "1-5": how devices report ranges.
std::wstring PairText(SAFEARRAY* array) {
    const LockedBytes bytes(array);
    if (bytes.Size() < 8) return {};
    return std::to_wstring(bytes.BigEndianAt(0)) + L'-' + std::to_wstring(bytes.BigEndianAt(4));
}

std::wstring RawText(const VARIANT& raw) {
    switch (raw.vt) {
        case VT_I4:
            return std::to_wstring(raw.lVal);
        case VT_BSTR:
            return std::wstring(raw.bstrVal ? raw.bstrVal : L"", SysStringLen(raw.bstrVal));
        case byteArrayType:
            return PairText(raw.parray);
        default:
            return {};
    }
}

template <class Predicate>
bool AnyPieceOf(std::wstring_view list, Predicate matches) {
    const std::vector<std::wstring_view> pieces = KyUtils::Split(list, listSeparator);
    return std::any_of(pieces.begin(), pieces.end(), matches);
}

/// A list key is looked for piece by piece inside the text; a single key must be the whole text, or one whole
/// piece of a text that is a list.
bool ContainsRuleMatches(std::wstring_view key, std::wstring_view text) {
    if (key.find(listSeparator) != std::wstring_view::npos) {
        return AnyPieceOf(key, [text](std::wstring_view piece) { return text.find(piece) != text.npos; });
    }
    return AnyPieceOf(text, [key](std::wstring_view piece) { return piece == key; });
}

const std::wstring* FindEqual(const Rules& rules, std::wstring_view text) {
    const auto found = rules.find(std::wstring(text));
    return found == rules.end() ? nullptr : &found->second;
}

const std::wstring* FindContained(const Rules& rules, std::wstring_view text) {
    const auto found = std::find_if(rules.begin(), rules.end(), [text](const Rules::value_type& rule) {
        return ContainsRuleMatches(rule.first, text);
    });
    return found == rules.end() ? nullptr : &found->second;
}

const std::wstring* FindReplacement(const Rules& equals, const Rules& contains, std::wstring_view text) {
    // An equal text wins over a contained one, and both over the defaults, whatever their order in the document.
    if (const std::wstring* replacement = FindEqual(equals, text)) return replacement;
    if (const std::wstring* replacement = FindContained(contains, text)) return replacement;
    if (const std::wstring* replacement = FindEqual(equals, defaultKey)) return replacement;
    return FindEqual(contains, defaultKey);
}

void AddRule(Rules& rules, const std::optional<std::wstring>& key, const std::wstring& replacement) {
    if (key) rules[KyUtils::ToLower(*key)] = replacement;
}

}  // namespace

CvxDataItem::CvxDataItem(const wchar_t* name, const wchar_t* prefix)
    : name_(CopyText(name)), attributeId_(name_), prefix_(CopyText(prefix)) {}

CvxDataItem::CvxDataItem(const DomElement& element)
    : name_(TextValueOf(element, L"Name")),
      attributeId_(TextValueOf(element, L"AttributeID")),
      prefix_(TextValueOf(element, L"Prefix")) {
    // In documents the attribute ID stands in for a missing name.
    if (!name_) name_ = attributeId_;
}

CvxDataItem::~CvxDataItem() = default;

void CvxDataItem::Initialize() {
    name_.reset();
    attributeId_.reset();
    prefix_.reset();
    containsRules_.clear();
    equalsRules_.clear();
}

const wchar_t* CvxDataItem::GetName() const { return TextOrNull(name_); }

const wchar_t* CvxDataItem::GetAttributeID() const { return TextOrNull(attributeId_); }

const wchar_t* CvxDataItem::GetPrefix() const { return TextOrNull(prefix_); }

void CvxDataItem::AddToConversionCollection(const DomElement& element) {
    ForEachChild(element.Node(), [this](IXMLDOMNode* child) {
        if (!ElementNameIs(child, L"Conversion")) return;
        const DomElement conversion(child);
        const auto replacement = TextValueOf(conversion, L"Value");
        if (!replacement) return;
        AddRule(equalsRules_, TextValueOf(conversion, L"Equals"), *replacement);
        AddRule(containsRules_, TextValueOf(conversion, L"Contains"), *replacement);
    });
}

VARIANT CvxDataItem::ConvertValue(VARIANT raw) const {
    return KyUtils::Entry(logSource, "Corvix::CvxDataItem::ConvertValue", [&] {
        if (equalsRules_.empty() && containsRules_.empty()) return KyUtils::Variant::Copy(raw).Release();
        const std::wstring text = KyUtils::ToLower(RawText(raw));
        const std::wstring* replacement = FindReplacement(equalsRules_, containsRules_, text);
        return (replacement ? KyUtils::Variant::FromText(*replacement) : KyUtils::Variant::Copy(raw))
            .Release();
    });
}

}  // namespace Corvix
