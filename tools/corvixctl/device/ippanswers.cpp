#include "device/ippanswers.h"

#include "base/text.h"
#include "corvixdm/ippnames.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {
namespace {

using Corvix::IPPValueKind;
using KyUtils::ToWideOrLatin1;

std::wstring EnumText(const char* attribute, int number) {
    const char* name = GetIPPEnumName(attribute, number);
    return name ? ToWideOrLatin1(name) : std::to_wstring(number);
}

std::wstring ToText(const char* attribute, const Corvix::IPPValue& value) {
    switch (value.kind) {
        case IPPValueKind::Text:
            return ToWideOrLatin1(value.text);
        case IPPValueKind::Octets:
            return ToWideOrLatin1(value.bytes);
        case IPPValueKind::Integer:
            return std::to_wstring(value.number);
        case IPPValueKind::Boolean:
            return value.number ? L"yes" : L"no";
        case IPPValueKind::Enum:
            return EnumText(attribute, value.number);
        default:
            return {};
    }
}

}  // namespace

std::wstring IppStatusText(unsigned status) {
    const std::wstring number = Formatted(L"0x%04X", status);
    const char* name = GetIPPStatusName(status);
    return name ? ToWideOrLatin1(name) + L" (" + number + L")" : number;
}

std::vector<std::wstring> TextsOf(const Corvix::IPPAttributes& answer, const char* name) {
    std::vector<std::wstring> texts;
    Corvix::IPPAttribute attribute;
    if (answer.FindAttribute(nullptr, name, &attribute) != S_OK) return texts;
    Corvix::IPPValue value;
    while (answer.NextValue(&attribute, &value) == S_OK)
        texts.push_back(ToText(name, value));
    return texts;
}

}  // namespace CorvixCtl
