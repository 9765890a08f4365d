#include "snmp/table.h"

#include <stdexcept>

#include "base/text.h"

namespace CorvixSim {
namespace {

namespace Ber = Snmp::Ber;

std::string EncodeNumberText(std::string_view text) {
    return Ber::IntegerContent(ParseInteger(text).value_or(0));
}

template <uint64_t max>
std::string EncodeUnsignedText(std::string_view text) {
    return Ber::UnsignedContent(ParseNumber(text, max).value_or(0));
}

std::string EncodePlainText(std::string_view text) { return std::string(text); }

std::string EncodeHexText(std::string_view text) { return ParseHex(text).value_or(""); }

std::string EncodeOidText(std::string_view text) {
    return Ber::OidContent(Snmp::ParseOid(text).value_or(Snmp::Oid{}));
}

std::string EncodeIpText(std::string_view text) {
    std::string bytes;
    for (const std::string_view part : Split(text, '.')) {
        bytes += static_cast<char>(ParseNumber(part, 255).value_or(0));
    }
    bytes.resize(4);
    return bytes;
}

using Decoded = std::optional<std::string>;

template <typename Number>
Decoded TextOf(const std::optional<Number>& number) {
    return number ? Decoded(std::to_string(*number)) : std::nullopt;
}

Decoded DecodeNumberText(const std::string& content) { return TextOf(Ber::DecodeInteger(content)); }
Decoded DecodeUnsignedText(const std::string& content) { return TextOf(Ber::DecodeUnsigned(content)); }

Decoded DecodePlainText(const std::string& content) { return content; }

Decoded DecodeOidValueText(const std::string& content) {
    const auto oid = Ber::DecodeOid(content);
    return oid ? Decoded(Snmp::FormatOid(*oid)) : std::nullopt;
}

Decoded DecodeHexText(const std::string& content) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : content) {
        text += digits[static_cast<uint8_t>(c) >> 4];
        text += digits[c & 0xf];
    }
    return text;
}

Decoded DecodeIpText(const std::string& content) {
    std::string text;
    for (const char c : content)
        text += (text.empty() ? "" : ".") + std::to_string(static_cast<uint8_t>(c));
    return text;
}

Snmp::Oid Joined(Snmp::Oid oid, const Snmp::Oid& more) {
    oid.insert(oid.end(), more.begin(), more.end());
    return oid;
}

Snmp::Oid ParsedArcs(std::string_view text) {
    const std::optional<Snmp::Oid> oid = Snmp::ParseArcs(text);
    if (!oid) throw std::invalid_argument("not an OID: " + std::string(text));
    return *oid;
}

/// The name in a text that is nothing but {{name}}.
std::optional<std::string> SoleValueName(const std::string& text) {
    const bool sole = text.size() > 4 && text.find("{{") == 0 && text.find("}}") == text.size() - 2;
    if (!sole) return std::nullopt;
    return text.substr(2, text.size() - 4);
}

}  // namespace

struct SnmpTable::Type {
    std::string_view name;
    uint8_t tag;
    // The object's text, with the values of the device in it, to its content on the wire.
    std::string (*encode)(std::string_view text);
    // And back, for a value that is set; nothing for a content that is none of this type.
    Decoded (*decode)(const std::string& content);
};

const SnmpTable::Type SnmpTable::kTypes[] = {
    {"int", Ber::Integer, EncodeNumberText, DecodeNumberText},
    {"str", Ber::OctetString, EncodePlainText, DecodePlainText},
    {"hex", Ber::OctetString, EncodeHexText, DecodeHexText},
    {"oid", Ber::ObjectIdentifier, EncodeOidText, DecodeOidValueText},
    {"ip", Snmp::Tag::IpAddress, EncodeIpText, DecodeIpText},
    {"counter", Snmp::Tag::Counter32, EncodeUnsignedText<UINT32_MAX>, DecodeUnsignedText},
    {"gauge", Snmp::Tag::Gauge32, EncodeUnsignedText<UINT32_MAX>, DecodeUnsignedText},
    {"ticks", Snmp::Tag::TimeTicks, EncodeUnsignedText<UINT32_MAX>, DecodeUnsignedText},
    {"counter64", Snmp::Tag::Counter64, EncodeUnsignedText<UINT64_MAX>, DecodeUnsignedText},
};

const SnmpTable::Type& SnmpTable::FindType(std::string_view name) {
    for (const Type& type : kTypes) {
        if (type.name == name) return type;
    }
    throw std::invalid_argument("not a type: " + std::string(name));
}

SnmpTable::SnmpTable(std::string_view text, Values& values) : values_(values) {
    Rows rows;
    ForEachLine(text, "managed objects", [&](std::string_view line) { ParseLine(line, rows); });
}

void SnmpTable::ParseLine(std::string_view line, Rows& rows) {
    std::string_view rest = line;
    const std::string_view first = TakeWord(rest);
    if (first == "table") {
        ParseTable(rest, rows);
    } else if (first.front() == '.') {
        AddColumn(first, rest, rows);
    } else {
        AddObject(ParsedArcs(first), rest);
    }
}

void SnmpTable::ParseTable(std::string_view line, Rows& rows) const {
    rows = {ParsedArcs(TakeWord(line)), {}};
    if (TakeWord(line) != "rows" || line.empty()) throw std::invalid_argument("a table needs rows");
    while (!line.empty())
        rows.indices.push_back(ParsedArcs(TakeWord(line)));
}

void SnmpTable::AddColumn(std::string_view column, std::string_view rest, const Rows& rows) {
    std::string_view values = rest;
    std::string type(TakeWord(values));
    if (type == "rw") type += " " + std::string(TakeWord(values));
    const std::vector<std::string_view> cells = Split(values, '|');
    if (cells.size() != rows.indices.size()) {
        throw std::invalid_argument(std::to_string(cells.size()) + " values for " +
                                    std::to_string(rows.indices.size()) + " rows");
    }
    const Snmp::Oid columnOid = Joined(rows.entry, ParsedArcs(column));
    for (size_t i = 0; i < cells.size(); ++i) {
        // Tables have holes: a row without this column.
        if (cells[i] != "~")
            AddObject(Joined(columnOid, rows.indices[i]), type + " " + std::string(cells[i]));
    }
}

void SnmpTable::AddObject(const Snmp::Oid& oid, std::string_view typeAndText) {
    std::string_view word = TakeWord(typeAndText);
    const bool writable = word == "rw";
    if (writable) word = TakeWord(typeAndText);
    objects_[oid] = {&FindType(word), writable, std::string(typeAndText)};
}

Snmp::Value SnmpTable::ValueOf(const Object& object) const {
    return {object.type->tag, object.type->encode(values_.Expand(object.text))};
}

std::optional<Snmp::Value> SnmpTable::Get(const Snmp::Oid& oid) const {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.find(oid);
    if (found == objects_.end()) return std::nullopt;
    return ValueOf(found->second);
}

std::optional<Snmp::VarBind> SnmpTable::Next(const Snmp::Oid& oid) const {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.upper_bound(oid);
    if (found == objects_.end()) return std::nullopt;
    return Snmp::VarBind{found->first, ValueOf(found->second)};
}

bool SnmpTable::HasBelow(const Snmp::Oid& oid) const {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.upper_bound(oid);
    return found != objects_.end() && found->first.size() > oid.size() &&
           std::equal(oid.begin(), oid.end(), found->first.begin());
}

int32_t SnmpTable::CheckSet(const Snmp::VarBind& binding) const {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.find(binding.oid);
    if (found == objects_.end()) return Snmp::ErrorStatus::NoSuchName;
    const Object& object = found->second;
    if (!object.writable) return Snmp::ErrorStatus::NotWritable;
    if (object.type->tag != binding.value.tag) return Snmp::ErrorStatus::WrongType;
    const bool fits = object.type->decode(binding.value.content).has_value();
    return fits ? Snmp::ErrorStatus::NoError : Snmp::ErrorStatus::WrongValue;
}

void SnmpTable::Set(const Snmp::VarBind& binding) {
    const std::lock_guard lock(mutex_);
    Object& object = objects_.at(binding.oid);
    const std::string text = object.type->decode(binding.value.content).value_or("");
    // What shows a value of the device changes that value, and so what every other service shows.
    if (const std::optional<std::string> name = SoleValueName(object.text)) {
        values_.Set(*name, text);
    } else {
        object.text = text;
    }
}

}  // namespace CorvixSim
