#include "wire/ipp/value.h"

#include <algorithm>
#include <charconv>

#include "wire/ipp/names.h"
#include "wire/ipp/tagrules.h"

namespace Corvix::Ipp {
namespace {

std::int32_t LoadSigned(const char* bytes) { return static_cast<std::int32_t>(LoadInt(bytes)); }

IPPDateTime ToDateTime(std::string_view bytes) {
    const auto at = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    IPPDateTime date;
    date.year = static_cast<unsigned short>(LoadShort(bytes.data()));
    date.month = at(2);
    date.day = at(3);
    date.hour = at(4);
    date.minute = at(5);
    date.second = at(6);
    date.decisecond = at(7);
    const int minutes = at(9) * 60 + at(10);
    date.minutesFromUtc = static_cast<short>(bytes[8] == '-' ? -minutes : minutes);
    return date;
}

/// The language comes first. A value that the two do not fill is of no known form.
void SplitFromLanguage(IPPValue& decoded) {
    std::string_view rest = decoded.bytes;
    if (!TakeSized(rest, decoded.language) || !TakeSized(rest, decoded.text) || !rest.empty()) {
        decoded.language = decoded.text = {};
        decoded.kind = IPPValueKind::Other;
    }
}

void DecodeText(IPPValue& decoded) {
    if (decoded.tag == Tag::TextWithLanguage || decoded.tag == Tag::NameWithLanguage)
        return SplitFromLanguage(decoded);
    decoded.text = decoded.bytes;
}

/// Numbers and pairs of them; bytes of any other kind stand for themselves.
void DecodeNumber(IPPValue& decoded) {
    const char* bytes = decoded.bytes.data();
    switch (decoded.kind) {
        case IPPValueKind::Integer:
        case IPPValueKind::Enum:
            decoded.number = LoadSigned(bytes);
            break;
        case IPPValueKind::Boolean:
            decoded.number = static_cast<unsigned char>(*bytes);
            break;
        case IPPValueKind::Range:
            decoded.range = {LoadSigned(bytes), LoadSigned(bytes + 4)};
            break;
        case IPPValueKind::Resolution:
            decoded.resolution = {LoadSigned(bytes), LoadSigned(bytes + 4),
                                  static_cast<unsigned char>(bytes[8])};
            break;
        default:
            break;
    }
}

template <class Number>
void AppendNumber(std::string& text, Number number) {
    char digits[16];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void AppendRange(std::string& text, const IPPRange& range) {
    AppendNumber(text, range.lower);
    text += '-';
    AppendNumber(text, range.upper);
}

void AppendResolution(std::string& text, const IPPResolution& resolution) {
    AppendNumber(text, resolution.crossFeed);
    if (resolution.feed != resolution.crossFeed) {
        text += 'x';
        AppendNumber(text, resolution.feed);
    }
    const auto units = resolution.units;
    text += units == DotsPerInch ? "dpi" : units == DotsPerCentimeter ? "dpcm" : "";
}

// Devices put lists of pairs into octet strings; they read back as a plain list.
void AppendOctets(std::string& text, std::string_view octets) {
    const auto begin = static_cast<std::ptrdiff_t>(text.size());
    text += octets;
    std::replace_if(
        text.begin() + begin, text.end(), [](char character) { return character == '=' || character == ';'; },
        ',');
}

}  // namespace

bool TakeSized(std::string_view& bytes, std::string_view& text) {
    if (bytes.size() < 2) return false;
    const std::size_t size = LoadShort(bytes.data());
    if (bytes.size() - 2 < size) return false;
    text = bytes.substr(2, size);
    bytes.remove_prefix(2 + size);
    return true;
}

IPPValue Decode(const RawValue& value) {
    IPPValue decoded;
    decoded.tag = value.tag;
    decoded.bytes = value.bytes;
    decoded.kind = RuleOf(value.tag).kind;
    switch (decoded.kind) {
        case IPPValueKind::OutOfBand:
            if (const char* name = TagName(value.tag)) decoded.text = name;
            break;
        case IPPValueKind::DateTime:
            decoded.date = ToDateTime(value.bytes);
            break;
        case IPPValueKind::Text:
            DecodeText(decoded);
            break;
        case IPPValueKind::Collection:
            decoded.members = value.end;
            break;
        default:
            DecodeNumber(decoded);
    }
    return decoded;
}

void AppendText(std::string& text, const RawValue& value) {
    const IPPValue decoded = Decode(value);
    switch (decoded.kind) {
        case IPPValueKind::Integer:
        case IPPValueKind::Enum:
        case IPPValueKind::Boolean:
            return AppendNumber(text, decoded.number);
        case IPPValueKind::Range:
            return AppendRange(text, decoded.range);
        case IPPValueKind::Resolution:
            return AppendResolution(text, decoded.resolution);
        case IPPValueKind::Octets:
            return AppendOctets(text, value.bytes);
        default:
            text += value.bytes;
    }
}

}  // namespace Corvix::Ipp
