#include "transport/snmp/snmpvalue.h"

#include <algorithm>
#include <cstring>

#include "utilslib/stringutils.h"

namespace CorvixTransport {
namespace {

const HRESULT notFound = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
const HRESULT invalidData = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);

using KyUtils::Variant;

HRESULT SetText(std::wstring_view text, Variant& variant) {
    variant = Variant::FromText(text);
    return S_OK;
}

// Digits and dots only, so that each character is one unit.
HRESULT SetAscii(std::string_view text, Variant& variant) {
    return SetText(std::wstring(text.begin(), text.end()), variant);
}

// The library knows no unsigned 32-bit value: a counter above 2147483647 comes out negative.
HRESULT SetNumber(std::uint64_t number, Variant& variant) {
    variant = Variant::FromI4(static_cast<LONG>(static_cast<std::uint32_t>(number)));
    return S_OK;
}

HRESULT SetBytes(std::string_view octets, Variant& variant) {
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(octets.size()));
    if (!array) throw _com_error(E_OUTOFMEMORY);
    if (!octets.empty()) std::memcpy(array->pvData, octets.data(), octets.size());
    VARIANT* const place = variant.Receive();
    place->vt = VT_ARRAY | VT_UI1;
    place->parray = array;
    return S_OK;
}

HRESULT SetInteger(std::string_view content, Variant& variant) {
    const std::optional<std::int64_t> number = Snmp::Ber::DecodeInteger(content);
    return number ? SetNumber(static_cast<std::uint64_t>(*number), variant) : invalidData;
}

HRESULT SetUnsigned(std::string_view content, Variant& variant) {
    const std::optional<std::uint64_t> number = Snmp::Ber::DecodeUnsigned(content);
    return number ? SetNumber(*number, variant) : invalidData;
}

/// Too wide for VT_I4, so it travels as its decimal text.
HRESULT SetCounter64(std::string_view content, Variant& variant) {
    const std::optional<std::uint64_t> number = Snmp::Ber::DecodeUnsigned(content);
    return number ? SetAscii(std::to_string(*number), variant) : invalidData;
}

HRESULT SetOctets(std::string_view content, Variant& variant) {
    const std::optional<std::wstring> text = TextOfOctets(content);
    return text ? SetText(*text, variant) : SetBytes(content, variant);
}

HRESULT SetOid(std::string_view content, Variant& variant) {
    const std::optional<Snmp::Oid> oid = Snmp::Ber::DecodeOid(content);
    return oid ? SetAscii(Snmp::FormatOid(*oid), variant) : invalidData;
}

// Only four octets are an address that can be written with dots.
HRESULT SetIpAddress(std::string_view content, Variant& variant) {
    if (content.size() != 4) return SetBytes(content, variant);
    std::string text;
    for (const char octet : content) {
        if (!text.empty()) text += '.';
        text += std::to_string(static_cast<std::uint8_t>(octet));
    }
    return SetAscii(text, variant);
}

HRESULT RefuseAbsent(std::string_view, Variant&) { return notFound; }

struct TagRule {
    Snmp::Ber::Tag tag;
    HRESULT (*set)(std::string_view content, Variant& variant);
};

constexpr TagRule tagRules[] = {
    {Snmp::Ber::Integer, SetInteger},        {Snmp::Ber::OctetString, SetOctets},
    {Snmp::Ber::Null, RefuseAbsent},         {Snmp::Ber::ObjectIdentifier, SetOid},
    {Snmp::Tag::IpAddress, SetIpAddress},    {Snmp::Tag::Counter32, SetUnsigned},
    {Snmp::Tag::Gauge32, SetUnsigned},       {Snmp::Tag::TimeTicks, SetUnsigned},
    {Snmp::Tag::Opaque, SetBytes},           {Snmp::Tag::Counter64, SetCounter64},
    {Snmp::Tag::NoSuchObject, RefuseAbsent}, {Snmp::Tag::NoSuchInstance, RefuseAbsent},
    {Snmp::Tag::EndOfMibView, RefuseAbsent},
};

bool IsControl(wchar_t unit) {
    if (unit == L'\t' || unit == L'\r' || unit == L'\n') return false;
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

bool IsLatin1Letter(std::uint8_t octet) { return octet >= 0xC0 && octet != 0xD7 && octet != 0xF7; }

/// Names and messages in western languages: nearly all ASCII, the rest letters. Hardware addresses and bit
/// strings may happen to look so, too, and six octets are rather the former.
bool LooksLikeLatin1(std::string_view octets) {
    constexpr size_t hardwareAddress = 6;
    size_t above = 0;
    for (const char each : octets) {
        const auto octet = static_cast<std::uint8_t>(each);
        if (octet >= 0x80 && !IsLatin1Letter(octet)) return false;
        above += octet >= 0x80;
    }
    return above * 4 <= octets.size() && octets.size() != hardwareAddress;
}

/// One or two octets before the zeros are more likely bits than text.
std::string_view WithoutPadding(std::string_view octets) {
    constexpr size_t shortestPaddedText = 3;
    const size_t last = octets.find_last_not_of('\0');
    if (last == std::string_view::npos || last + 1 < shortestPaddedText) return octets;
    return octets.substr(0, last + 1);
}

// A multi-dimensional array has no order of its octets that an agent would know.
HRESULT BytesOf(const VARIANT& value, std::string* octets) {
    SAFEARRAY* array = value.parray;
    if (!array || SafeArrayGetDim(array) != 1) return E_INVALIDARG;
    octets->assign(static_cast<const char*>(array->pvData), array->rgsabound[0].cElements);
    return S_OK;
}

}  // namespace

std::optional<std::wstring> TextOfOctets(std::string_view octets) {
    if (octets.empty()) return std::wstring();
    const std::string_view padded = WithoutPadding(octets);
    if (!KyUtils::IsUtf8(padded) && !LooksLikeLatin1(padded)) return std::nullopt;
    std::wstring text = KyUtils::ToWideOrLatin1(padded);
    if (std::any_of(text.begin(), text.end(), IsControl)) return std::nullopt;
    return text;
}

HRESULT ToVariant(const Snmp::Value& value, Variant& variant) {
    for (const TagRule& rule : tagRules) {
        if (rule.tag == value.tag) return rule.set(value.content, variant);
    }
    return invalidData;
}

HRESULT FromVariant(const VARIANT& variant, Snmp::Value* value) {
    switch (variant.vt) {
        case VT_INT:
        case VT_I4:
            *value = {Snmp::Ber::Integer, Snmp::Ber::IntegerContent(variant.lVal)};
            return S_OK;
        case VT_BSTR:
            *value = {Snmp::Ber::OctetString,
                      KyUtils::ToUtf8({variant.bstrVal, SysStringLen(variant.bstrVal)})};
            return S_OK;
        case VT_ARRAY | VT_UI1:
            value->tag = Snmp::Ber::OctetString;
            return BytesOf(variant, &value->content);
        default:
            return E_INVALIDARG;
    }
}

}  // namespace CorvixTransport
