#include "datamodel/snmp/oididentity.h"

#include <string_view>

#include "utilslib/com.h"

namespace Corvix {
namespace {

std::wstring_view Trim(std::wstring_view text) {
    constexpr std::wstring_view blanks = L" \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::wstring_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace

std::wstring ReadSerialNumber(OIDProvider& provider) {
    for (const wchar_t* oid : {serialNumberOid, standardSerialNumberOid}) {
        KyUtils::Variant value;
        if (FAILED(provider.GetValue(oid, value.Receive()))) continue;
        // Octets that are not text do not identify a device; try the next object.
        const std::wstring text(value->vt == VT_I4 ? std::to_wstring(value->lVal) : value.Text());
        if (const std::wstring_view trimmed = Trim(text); !trimmed.empty()) return std::wstring(trimmed);
    }
    return {};
}

}  // namespace Corvix
