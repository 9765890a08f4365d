#include "transport/snmpvalue.h"

#include <gmock/gmock.h>

#include <cwchar>

#include "wiresnmp/hex.h"

namespace CorvixTransport {
namespace {

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
    Snmp::Ber::Tag tag;
    const char* content;
    const wchar_t* value;
};

TEST(SnmpValue, BecomesAVariantOfItsType) {
    const ReadCase cases[] = {
        {Snmp::Ber::Integer, "05", L"I4 5"},
        {Snmp::Ber::Integer, "FE", L"I4 -2"},
        {Snmp::Ber::Integer, "00 00 00 00 2A", L"I4 42"},
        {Snmp::Ber::Integer, "00 FF FF FF FF", L"I4 -1"},
        {Snmp::Tag::Counter32, "00 FF FF FF FE", L"I4 -2"},
        {Snmp::Tag::Counter32, "7F FF FF FF", L"I4 2147483647"},
        {Snmp::Tag::Gauge32, "80 00 00 00", L"I4 -2147483648"},
        {Snmp::Tag::TimeTicks, "01 00", L"I4 256"},
        {Snmp::Tag::Counter64, "01 00 00 00 00", L"BSTR 4294967296"},
        {Snmp::Tag::IpAddress, "C0 00 02 07", L"BSTR 192.0.2.7"},
        {Snmp::Tag::IpAddress, "C0 00 02", L"UI1 C0 00 02"},
        {Snmp::Tag::Opaque, "41 42", L"UI1 41 42"},
        {Snmp::Ber::ObjectIdentifier, "2B 06 01 02 01 19", L"BSTR 1.3.6.1.2.1.25"},
        {Snmp::Ber::ObjectIdentifier, "", L"BSTR 0.0"},
    };
    for (const ReadCase& each : cases) {
        VARIANT value;
        VariantInit(&value);
        EXPECT_EQ(ToVariant({each.tag, FromHex(each.content)}, &value), S_OK) << each.content;
        EXPECT_EQ(Describe(value), each.value) << each.content;
        VariantClear(&value);
    }
}

TEST(SnmpValue, IsTextWhereTheOctetsAre) {
    const ReadCase cases[] = {
        {Snmp::Ber::OctetString, "", L"BSTR "},
        {Snmp::Ber::OctetString, "48 65 6C 6C 6F", L"BSTR Hello"},
        {Snmp::Ber::OctetString, "41 09 42 0D 0A", L"BSTR A\tB\r\n"},
        {Snmp::Ber::OctetString, "50 72 C3 AA 74", L"BSTR Pr\u00EAt"},
        {Snmp::Ber::OctetString, "E5 8D B0 E5 88 B7", L"BSTR \u5370\u5237"},
        {Snmp::Ber::OctetString, "50 72 EA 74", L"BSTR Pr\u00EAt"},
        {Snmp::Ber::OctetString, "53 4E 31 32 00 00 00", L"BSTR SN12"},
        // Bits and addresses stay octets.
        {Snmp::Ber::OctetString, "00", L"UI1 00"},
        {Snmp::Ber::OctetString, "00 00 00 00", L"UI1 00 00 00 00"},
        {Snmp::Ber::OctetString, "40 00", L"UI1 40 00"},
        {Snmp::Ber::OctetString, "80", L"UI1 80"},
        {Snmp::Ber::OctetString, "6A B8 71 21 47 21", L"UI1 6A B8 71 21 47 21"},
        {Snmp::Ber::OctetString, "6A C8 71 21 47 21", L"UI1 6A C8 71 21 47 21"},
        {Snmp::Ber::OctetString, "6A B8 71 21", L"UI1 6A B8 71 21"},
        {Snmp::Ber::OctetString, "A4 5E 60 C1 B2 D3", L"UI1 A4 5E 60 C1 B2 D3"},
        {Snmp::Ber::OctetString, "07 E8 01 02 03 04 05 00", L"UI1 07 E8 01 02 03 04 05 00"},
        {Snmp::Ber::OctetString, "41 42 43 00 44", L"UI1 41 42 43 00 44"},
        {Snmp::Ber::OctetString, "41 42 43 44 1B", L"UI1 41 42 43 44 1B"},
        {Snmp::Ber::OctetString, "41 42 43 44 90", L"UI1 41 42 43 44 90"},
        {Snmp::Ber::OctetString, "41 42 43 7F", L"UI1 41 42 43 7F"},
    };
    for (const ReadCase& each : cases) {
        VARIANT value;
        VariantInit(&value);
        EXPECT_EQ(ToVariant({each.tag, FromHex(each.content)}, &value), S_OK) << each.content;
        EXPECT_EQ(Describe(value), each.value) << each.content;
        VariantClear(&value);
    }
}

struct RefusedCase {
    Snmp::Ber::Tag tag;
    const char* content;
    HRESULT result;
};

TEST(SnmpValue, ThatIsNoneIsRefusedAndTheVariantStays) {
    const HRESULT notFound = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    const HRESULT invalid = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
    const RefusedCase cases[] = {
        {Snmp::Ber::Null, "", notFound},
        {Snmp::Tag::NoSuchObject, "", notFound},
        {Snmp::Tag::NoSuchInstance, "", notFound},
        {Snmp::Tag::EndOfMibView, "", notFound},
        {Snmp::Ber::Integer, "", invalid},
        {Snmp::Ber::Integer, "01 00 00 00 00 00 00 00 00", invalid},
        {Snmp::Tag::Counter32, "", invalid},
        {Snmp::Tag::Counter64, "", invalid},
        {Snmp::Ber::ObjectIdentifier, "2B 86", invalid},
        {Snmp::Ber::Sequence, "02 01 05", invalid},
        {0x47, "05", invalid},
    };
    for (const RefusedCase& each : cases) {
        VARIANT value;
        VariantInit(&value);
        EXPECT_EQ(ToVariant({each.tag, FromHex(each.content)}, &value), each.result) << int{each.tag};
        EXPECT_EQ(Describe(value), L"EMPTY") << int{each.tag};
    }
}

TEST(SnmpValue, IsWrittenFromAVariant) {
    Snmp::Value variable;
    VARIANT value;
    value.vt = VT_INT;
    value.intVal = 1;
    ASSERT_EQ(FromVariant(value, &variable), S_OK);
    EXPECT_EQ(variable.tag, Snmp::Ber::Integer);
    EXPECT_EQ(variable.content, FromHex("01"));

    value.vt = VT_I4;
    value.lVal = -129;
    ASSERT_EQ(FromVariant(value, &variable), S_OK);
    EXPECT_EQ(variable.content, FromHex("FF 7F"));

    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(L"Pr\u00EAt");
    ASSERT_EQ(FromVariant(value, &variable), S_OK);
    EXPECT_EQ(variable.tag, Snmp::Ber::OctetString);
    EXPECT_EQ(variable.content, FromHex("50 72 C3 AA 74"));
    VariantClear(&value);

    ASSERT_EQ(ToVariant({Snmp::Tag::Opaque, FromHex("00 FF")}, &value), S_OK);
    ASSERT_EQ(FromVariant(value, &variable), S_OK);
    EXPECT_EQ(variable.content, FromHex("00 FF"));
    VariantClear(&value);

    for (const VARTYPE type : {VT_EMPTY, VT_NULL, VT_R8, VT_BOOL, VT_I2}) {
        value.vt = static_cast<VARTYPE>(type);
        EXPECT_EQ(FromVariant(value, &variable), E_INVALIDARG) << type;
    }
}

}  // namespace
}  // namespace CorvixTransport
