// What net-snmp's tools printed, as numbers, hexadecimal octets and names in digits (-On -Oe -Ot -OU -Ox).
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include <oaidl.h>

namespace SnmpPeer {

struct ExpectedValue {
    std::string type;  // "INTEGER", "Hex-STRING", ...; empty for time ticks and empty strings
    std::string text;
};

// The objects of an agent, in its order.
class ExpectedObjects {
public:
    // Throws std::runtime_error for a file that holds no objects.
    static ExpectedObjects Load(const std::wstring& path);

    const ExpectedValue* Find(const std::wstring& oid) const;
    // The values below an object identifier, in order.
    std::vector<const ExpectedValue*> Below(const std::wstring& oid) const;

private:
    std::map<std::vector<unsigned long>, ExpectedValue> objects_;
};

// The value as the library's users are promised it: VT_I4, VT_BSTR or VT_ARRAY|VT_UI1. The caller clears it.
VARIANT ToVariant(const ExpectedValue& value);

}  // namespace SnmpPeer
