#include "transport/snmp/snmpvalue.h"

#include <gmock/gmock.h>

#include <cwchar>

#include "wiresnmp/hex.h"

namespace CorvixTransport {
namespace {

namespace Ber = Snmp::Ber;
using KyUtils::Variant;

const HRESULT notFound = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
const HRESULT invalid = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);

// A VARIANT as a test wants to read it: "I4 5", "BSTR text", "UI1 00 01", "EMPTY".
std::wstring Describe(const VARIANT& value) {
    if (value.vt == VT_EMPTY) return L"EMPTY";
    if (value.vt == VT_I4) return L"I4 " + std::to_wstring(value.lVal);
    if (value.vt == VT_BSTR) return L"BSTR " + std::wstring(value.bstrVal, SysStringLen(value.bstrVal));
    if (value.vt != (VT_ARRAY | VT_UI1)) return L"vt " + std::to_wstring(value.vt);
    std::wstring text = L"UI1";
    const auto* bytes = static_cast<const unsigned char*>(value.parray->pvData);
    for (ULONG i = 0; i < value.parray->rgsabound[0].cElements; ++i) {
        wchar_t octet[4];
        std::swprintf(octet, 4, L" %02X", bytes[i]);
        text += octet;
    }
    return text;
}

struct ReadCase {
    Ber::Tag tag;
    const char* content;
    const wchar_t* value;
    HRESULT result = S_OK;
};

const ReadCase readCases[] = {
    {Ber::Integer, "05", L"I4 5"},
    {Ber::Integer, "FE", L"I4 -2"},
    {Ber::Integer, "00 00 00 00 2A", L"I4 42"},
    {Ber::Integer, "00 FF FF FF FF", L"I4 -1"},
    {Snmp::Tag::Counter32, "00 FF FF FF FE", L"I4 -2"},
    {Snmp::Tag::Counter32, "7F FF FF FF", L"I4 2147483647"},
    {Snmp::Tag::Gauge32, "80 00 00 00", L"I4 -2147483648"},
    {Snmp::Tag::TimeTicks, "01 00", L"I4 256"},
    {Snmp::Tag::Counter64, "01 00 00 00 00", L"BSTR 4294967296"},
    {Snmp::Tag::IpAddress, "C0 00 02 07", L"BSTR 192.0.2.7"},
    {Snmp::Tag::IpAddress, "C0 00 02", L"UI1 C0 00 02"},
    {Snmp::Tag::Opaque, "41 42", L"UI1 41 42"},
    {Ber::ObjectIdentifier, "2B 06 01 02 01 19", L"BSTR 1.3.6.1.2.1.25"},
    {Ber::ObjectIdentifier, "", L"BSTR 0.0"},
    // Octets that are text.
    {Ber::OctetString, "", L"BSTR "},
    {Ber::OctetString, "48 65 6C 6C 6F", L"BSTR Hello"},
    {Ber::OctetString, "41 09 42 0D 0A", L"BSTR A\tB\r\n"},
    {Ber::OctetString, "50 72 C3 AA 74", L"BSTR Pr\u00EAt"},
    {Ber::OctetString, "E5 8D B0 E5 88 B7", L"BSTR \u5370\u5237"},
    {Ber::OctetString, "50 72 EA 74", L"BSTR Pr\u00EAt"},
    {Ber::OctetString, "53 4E 31 32 00 00 00", L"BSTR SN12"},
    // Bits and addresses stay octets.
    {Ber::OctetString, "00", L"UI1 00"},
    {Ber::OctetString, "00 00 00 00", L"UI1 00 00 00 00"},
    {Ber::OctetString, "40 00", L"UI1 40 00"},
    {Ber::OctetString, "80", L"UI1 80"},
    {Ber::OctetString, "6A B8 71 21 47 21", L"UI1 6A B8 71 21 47 21"},
    {Ber::OctetString, "6A C8 71 21 47 21", L"UI1 6A C8 71 21 47 21"},
    {Ber::OctetString, "6A B8 71 21", L"UI1 6A B8 71 21"},
    {Ber::OctetString, "A4 5E 60 C1 B2 D3", L"UI1 A4 5E 60 C1 B2 D3"},
    {Ber::OctetString, "07 E8 01 02 03 04 05 00", L"UI1 07 E8 01 02 03 04 05 00"},
    {Ber::OctetString, "41 42 43 00 44", L"UI1 41 42 43 00 44"},
    {Ber::OctetString, "41 42 43 44 1B", L"UI1 41 42 43 44 1B"},
    {Ber::OctetString, "41 42 43 44 90", L"UI1 41 42 43 44 90"},
    {Ber::OctetString, "41 42 43 7F", L"UI1 41 42 43 7F"},
    // What is no value leaves the VARIANT as it is.
    {Ber::Null, "", L"EMPTY", notFound},
    {Snmp::Tag::NoSuchObject, "", L"EMPTY", notFound},
    {Snmp::Tag::NoSuchInstance, "", L"EMPTY", notFound},
    {Snmp::Tag::EndOfMibView, "", L"EMPTY", notFound},
    {Ber::Integer, "", L"EMPTY", invalid},
    {Ber::Integer, "01 00 00 00 00 00 00 00 00", L"EMPTY", invalid},
    {Snmp::Tag::Counter32, "", L"EMPTY", invalid},
    {Snmp::Tag::Counter64, "", L"EMPTY", invalid},
    {Ber::ObjectIdentifier, "2B 86", L"EMPTY", invalid},
    {Ber::Sequence, "02 01 05", L"EMPTY", invalid},
    {0x47, "05", L"EMPTY", invalid},
};

TEST(SnmpValue, BecomesAVariantOfItsType) {
    for (const ReadCase& each : readCases) {
        Variant value;
        EXPECT_EQ(ToVariant({each.tag, FromHex(each.content)}, value), each.result) << each.value;
        EXPECT_EQ(Describe(value.Get()), each.value) << int{each.tag} << " " << each.content;
    }
}

TEST(SnmpValue, IsWrittenFromAVariant) {
    Variant bytes;
    ASSERT_EQ(ToVariant({Snmp::Tag::Opaque, FromHex("00 FF")}, bytes), S_OK);
    VARIANT integer = Variant::FromI4(1).Release();
    integer.vt = VT_INT;
    const struct {
        Variant value;
        Ber::Tag tag;
        const char* content;
    } cases[] = {{Variant::Adopt(integer), Ber::Integer, "01"},
                 {Variant::FromI4(-129), Ber::Integer, "FF 7F"},
                 {Variant::FromText(L"Pr\u00EAt"), Ber::OctetString, "50 72 C3 AA 74"},
                 {std::move(bytes), Ber::OctetString, "00 FF"}};
    for (const auto& each : cases) {
        Snmp::Value written;
        EXPECT_EQ(FromVariant(each.value.Get(), &written), S_OK) << each.content;
        EXPECT_EQ(written.tag, each.tag) << each.content;
        EXPECT_EQ(written.content, FromHex(each.content));
    }
    for (const int type : {VT_EMPTY, VT_NULL, VT_R8, VT_BOOL, VT_I2}) {
        VARIANT value{};
        value.vt = static_cast<VARTYPE>(type);
        Snmp::Value written;
        EXPECT_EQ(FromVariant(value, &written), E_INVALIDARG) << type;
    }
}

}  // namespace
}  // namespace CorvixTransport
