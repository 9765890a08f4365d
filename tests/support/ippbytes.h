// Spells IPP messages for the tests, apart from the code under test.
#pragma once

#include <string>
#include <string_view>

namespace Corvix::Ipp::Testing {

inline std::string Short(std::size_t value) {
    return {static_cast<char>(value >> 8 & 0xFF), static_cast<char>(value & 0xFF)};
}

inline std::string Int(unsigned value) { return Short(value >> 16) + Short(value & 0xFFFF); }

inline std::string Byte(unsigned value) { return std::string(1, static_cast<char>(value)); }

/// One value of an attribute; an empty name makes it a further one.
inline std::string Value(unsigned tag, std::string_view name, std::string_view value) {
    return Byte(tag) + Short(name.size()) + std::string(name) + Short(value.size()) + std::string(value);
}

inline std::string Integer(std::string_view name, unsigned value) { return Value(0x21, name, Int(value)); }
inline std::string Keyword(std::string_view name, std::string_view value) { return Value(0x44, name, value); }

inline std::string Begin(std::string_view name = {}) { return Value(0x34, name, {}); }
inline std::string End() { return Value(0x37, {}, {}); }
inline std::string Member(std::string_view name) { return Value(0x4A, {}, name); }
inline std::string MemberInteger(std::string_view name, unsigned value) {
    return Member(name) + Integer({}, value);
}

inline const std::string endTag = Byte(3);

inline std::string Header(unsigned status = 0) { return Byte(2) + Byte(0) + Short(status) + Int(100); }

/// A response with one group of printer attributes.
inline std::string Body(const std::string& attributes) { return Header() + Byte(4) + attributes + endTag; }

}  // namespace Corvix::Ipp::Testing
