// The flat device-information functions.
#include "corvixdm/deviceinfo.h"

#include <functional>

#include "datamodel/deviceinfo/stringsmap.h"
#include "support/fakeprinter.h"

namespace Corvix {
namespace {

using namespace Testing;
using CorvixTest::HttpAnswer;
using CorvixTest::HttpExchange;

constexpr HRESULT fetchFailed = static_cast<HRESULT>(0x80190001);

/// An output that a failing function must not touch.
template <class Character>
struct Output {
    Character before = 'x';
    Character* text = &before;
    bool IsUntouched() const { return text == &before; }
};

class DeviceInfoTest : public PrinterTest {
protected:
    /// The printer also serves a file.
    void Serve(const std::string& stringsUri, const HttpAnswer& file) {
        if (!stringsUri.empty())
            Printer().attributes["printer-strings-uri"] =
                Bytes::Value(0x45, "printer-strings-uri", stringsUri);
        Printer().device->answer = [file, ipp = Printer().device->answer](const HttpExchange& exchange) {
            return exchange.method == L"GET" ? file : ipp(exchange);
        };
    }
    void SetDeviceId(const std::string& id) {
        Printer().attributes["printer-device-id"] = Text("printer-device-id", id);
    }
    std::wstring DeviceIdItem(const wchar_t* key) {
        Output<wchar_t> value;
        const HRESULT result = GetDeviceIDStringItem(Printer().address.Get(), key, &value.text);
        if (result != S_OK) {
            EXPECT_EQ(result, E_FAIL);
            EXPECT_TRUE(value.IsUntouched());
            return L"(failed)";
        }
        std::wstring text = value.text;
        DisposeDeviceIDStringItem(value.text);
        return text;
    }
    /// \return the wide text; the bytes go to `received`.
    std::wstring LocaleStrings(HRESULT expected = S_OK) {
        Output<wchar_t> wide;
        Output<char> content;
        EXPECT_EQ(GetDeviceLocaleStrings(Printer().address.Get(), L"de", &wide.text, &content.text),
                  expected);
        if (expected != S_OK) {
            EXPECT_TRUE(wide.IsUntouched() && content.IsUntouched());
            return {};
        }
        std::wstring text = wide.text;
        received = content.text;
        DisposeStringBuffer(wide.text, content.text);
        return text;
    }
    std::string received;
};

TEST_F(DeviceInfoTest, DeviceIdItemsAreFoundByTheirExactKeys) {
    const struct {
        const char* id;
        const wchar_t* key;
        const wchar_t* value;
    } cases[] = {{"MFG:X;MDL:Y;", L"MDL", L"Y"},         {"MFG:X;MDL:Y;", L"mdl", L"(failed)"},
                 {"MFG:X;MDL:Y;", L"MD", L"(failed)"},   {"MFG:X;MDL:Y;", L"", L"(failed)"},
                 {"MFG:X;MDL:Y", L"MDL", L"Y"},          {"MFG:X;MDL:;", L"MDL", L"(failed)"},
                 {"MFG:X;:Y;SN:7;", L"SN", L"7"},        {"MFG:X;:Y;", L"", L"Y"},
                 {"MFG:X;MFG:Z;", L"MFG", L"Z"},         {"CMD:PDF,URF:2;", L"CMD", L"PDF,URF:2"},
                 {"nonsense", L"nonsense", L"(failed)"}, {"", L"MFG", L"(failed)"}};
    for (const auto& [id, key, value] : cases) {
        SetDeviceId(id);
        EXPECT_EQ(DeviceIdItem(key), value) << id;
    }
}

TEST_F(DeviceInfoTest, MediaTypesComeAsOneTextAndInTheirOrder) {
    Output<wchar_t> text;
    MediaTypesList* types = CreateMediaTypesList();
    EXPECT_EQ(GetMediaTypesString(Printer().address.Get(), &text.text), E_FAIL);
    EXPECT_TRUE(text.IsUntouched());
    EXPECT_EQ(GetMediaTypesList(Printer().address.Get(), types), E_FAIL);
    EXPECT_EQ(GetMediaTypeCount(types), 0u);
    Printer().attributes["media-type-supported"] =
        Bytes::Keyword("media-type-supported", "stationery") + Bytes::Keyword("", "labels");
    ASSERT_EQ(GetMediaTypesString(Printer().address.Get(), &text.text), S_OK);
    EXPECT_STREQ(text.text, L"stationery,labels");
    DisposeMediaTypesString(text.text);
    ASSERT_EQ(GetMediaTypesList(Printer().address.Get(), types), S_OK);
    EXPECT_EQ(*types, (MediaTypesList{L"stationery", L"labels"}));
    EXPECT_STREQ(GetMediaType(types, 1), L"labels");
    EXPECT_EQ(GetMediaType(types, 2), nullptr);
    DisposeMediaTypesList(types);
}

TEST_F(DeviceInfoTest, TheStringsUriIsAskedForInTheLanguage) {
    Output<wchar_t> uri;
    EXPECT_EQ(GetPrinterStringsUri(Printer().address.Get(), L"de", &uri.text), E_FAIL);
    EXPECT_TRUE(uri.IsUntouched());
    Serve("http://h/de.strings", {});
    ASSERT_EQ(GetPrinterStringsUri(Printer().address.Get(), L"de", &uri.text), S_OK);
    EXPECT_STREQ(uri.text, L"http://h/de.strings");
    DisposePrinterStringsUri(uri.text);
    EXPECT_EQ(Printer().LastRequest()["attributes-natural-language"], "de");
    EXPECT_EQ(Printer().device->exchanges.back().uri, L"/ipp/printer");
}

TEST_F(DeviceInfoTest, FetchesTheFileWhereTheUriSays) {
    const struct {
        const char* uri;
        unsigned long port;
        const wchar_t* path;
    } cases[] = {{"http://10.0.0.5/s/de.strings", 80, L"/s/de.strings"},
                 {"http://10.0.0.5:631/s/de.strings", 631, L"/s/de.strings"},
                 {"https://10.0.0.5:8080/s/de.strings", 80, L"/s/de.strings"},
                 {"http://localhost:631/de", 631, L"/de"},
                 {"http://printer.example/de", 80, L"/de"},
                 {"http://[fe80::1]:631/de", 631, L"/de"},
                 {"/de", 80, L"/de"}};
    for (const auto& [uri, port, path] : cases) {
        Renew();
        Serve(uri, HttpAnswer{200, "\"a\" = \"b\";\n", S_OK, true});
        EXPECT_EQ(LocaleStrings(), L"\"a\" = \"b\";\n") << uri;
        const HttpExchange& fetched = Printer().device->exchanges.back();
        EXPECT_EQ(fetched.port, port) << uri;
        EXPECT_EQ(fetched.uri, path) << uri;
        EXPECT_EQ(fetched.method, L"GET") << uri;
    }
}

TEST_F(DeviceInfoTest, SaysWhyThereIsNoFile) {
    LocaleStrings(E_FAIL);
    const struct {
        std::string uri;
        HttpAnswer answer;
        HRESULT result;
    } cases[] = {{"http://10.0.0.5:80", HttpAnswer{200, "x", S_OK, true}, E_FAIL},
                 {"http://10.0.0.5:" + std::string(900, '1'), HttpAnswer{200, "x", S_OK, true}, E_FAIL},
                 {"/de", HttpAnswer{404, "x", S_OK, true}, fetchFailed},
                 {"/de", HttpAnswer{200, {}, S_OK, true}, fetchFailed},
                 {"/de", HttpAnswer{200, "x", E_ABORT, true}, fetchFailed},
                 {"/de", HttpAnswer{200, "x", S_OK, false}, fetchFailed}};
    for (const auto& [uri, answer, result] : cases) {
        SCOPED_TRACE(&uri - &cases[0].uri);
        Renew();
        Serve(uri, answer);
        SetLastError(0);
        LocaleStrings(result);
        const DWORD error = GetLastError();
        EXPECT_TRUE(result != fetchFailed || error == ERROR_READ_FAULT) << error;
    }
}

TEST_F(DeviceInfoTest, DecodesTheFile) {
    const struct {
        std::string bytes;
        const wchar_t* text;
    } cases[] = {{"gr\xC3\xBCn", L"gr\u00FCn"},
                 {"\xEF\xBB\xBFgr\xC3\xBCn", L"gr\u00FCn"},
                 {std::string("\xFF\xFE\xFC\0n\0", 6), L"\u00FCn"},
                 {std::string("\xFE\xFF\0\xFC\0n", 6), L"\u00FCn"},
                 {std::string("\xFE\xFF\0\xFC\0", 5), L"\u00FC"}};
    for (const auto& [bytes, text] : cases) {
        Renew();
        Serve("/de", HttpAnswer{200, bytes, S_OK, true});
        EXPECT_EQ(LocaleStrings(), text);
        EXPECT_EQ(received, bytes.c_str()) << "as received, up to its first zero";
    }
}

TEST_F(DeviceInfoTest, TakesAFileOfFiveMegabytesApart) {
    std::string file;
    unsigned count = 0;
    while (file.size() < 5u * 1024 * 1024)
        file += "\"key." + std::to_string(count++) + "\" = \"text\";\n";
    Serve("/de", HttpAnswer{200, file, S_OK, true});
    StringsMap* strings = CreateStringCollection();
    strings->emplace(L"key.1", L"old");
    strings->emplace(L"own", L"kept");
    char* content = nullptr;
    ASSERT_EQ(GetDeviceLocaleStringsCollection(Printer().address.Get(), L"de", strings, &content), S_OK);
    EXPECT_EQ(content, file);
    EXPECT_EQ(GetStringCount(strings), count + 1);
    EXPECT_STREQ(FindString(strings, L"key.1"), L"text");
    EXPECT_STREQ(FindString(strings, L"own"), L"kept");
    EXPECT_EQ(FindString(strings, L"key"), nullptr);
    DisposeStringCollection(strings, content);
}

// Each function, asked of a printer that does not help.
TEST_F(DeviceInfoTest, AFailureLeavesItsReasonAndNothingElse) {
    Output<wchar_t> wide;
    Output<char> content;
    StringsMap strings;
    MediaTypesList types;
    const auto address = [this] { return Printer().address.Get(); };
    const std::function<HRESULT()> calls[] = {
        [&] { return GetDeviceLocaleStrings(address(), L"de", &wide.text, &content.text); },
        [&] { return GetDeviceLocaleStringsCollection(address(), L"de", &strings, &content.text); },
        [&] { return GetMediaTypesList(address(), &types); },
        [&] { return GetMediaTypesString(address(), &wide.text); },
        [&] { return GetPrinterStringsUri(address(), L"de", &wide.text); },
        [&] { return GetDeviceIDStringItem(address(), L"MFG", &wide.text); },
    };
    constexpr DWORD anyError = 0;
    constexpr DWORD unreadable = 1280;
    const struct {
        HttpAnswer answer;
        DWORD error;
    } cases[] = {{{401, "no"}, 401},
                 {{404, "no"}, 404},
                 {{200, {}, E_ABORT}, ERROR_NETNAME_DELETED},
                 {{200, {}, S_OK, false}, ERROR_NETNAME_DELETED},
                 {{200, {}}, anyError},
                 {{200, "garbage"}, unreadable},
                 {{200, Bytes::Byte(1) + Bytes::Byte(1) + Bytes::Body("").substr(2)}, unreadable},
                 {{200, Bytes::Body("")}, anyError}};
    for (const auto& [answer, error] : cases) {
        SCOPED_TRACE(&answer - &cases[0].answer);
        Printer().AnswerAlways(answer);
        for (const auto& call : calls) {
            SetLastError(0);
            EXPECT_EQ(call(), E_FAIL) << &call - calls;
            const DWORD left = GetLastError();
            EXPECT_TRUE(error == anyError || left == error) << left << " by " << &call - calls;
        }
        EXPECT_EQ(Printer().address->GetRefCount(), 1);
    }
    EXPECT_TRUE(wide.IsUntouched() && content.IsUntouched() && strings.empty() && types.empty());
}

TEST_F(DeviceInfoTest, FailsWithTheTransportAtEveryCall) {
    const auto serve = [this] {
        for (const char* known : {"generated-natural-language-supported", "natural-language-configured"})
            Printer().attributes[known] = Bytes::Keyword(known, "de");
        Serve("/de", HttpAnswer{200, "\"a\" = \"b\";\n", S_OK, true});
    };
    serve();
    LocaleStrings();
    const int callsNeeded = Printer().device->calls;
    EXPECT_GE(callsNeeded, 8);
    for (int call = 1; call <= callsNeeded; ++call) {
        SCOPED_TRACE(call);
        Renew();
        serve();
        Printer().device->failingCall = call;
        Output<wchar_t> wide;
        Output<char> content;
        EXPECT_LT(GetDeviceLocaleStrings(Printer().address.Get(), L"de", &wide.text, &content.text), 0);
        EXPECT_TRUE(wide.IsUntouched() && content.IsUntouched());
    }
}

TEST(StringsParser, TakesPairsApart) {
    const struct {
        const wchar_t* text;
        int trim;
        StringsMap pairs;
    } cases[] = {{L"\"a\" = \"1\";\n\"b\" = \"2\";\n", 1, {{L"a", L"1"}, {L"b", L"2"}}},
                 {L"\"a\" = \"1\";\n\"b\" = \"2\"", 1, {{L"a", L"1"}, {L"b", L"2"}}},
                 {L"\"a\"=\"1\";\n", 1, {}},
                 {L"a = 1;\n", 0, {{L"a", L"1"}}},
                 {L"\" = \";\n", 1, {{L"", L""}}},
                 {L"\"a\" = \"x = y\";\n", 1, {{L"a", L"x = y"}}},
                 {L"\"a\" = \"1\";\n\"a\" = \"2\";\n", 1, {{L"a", L"2"}}},
                 {L"no pair at all", 1, {}}};
    for (const auto& [text, trim, pairs] : cases) {
        StringsMap strings;
        EXPECT_EQ(ParseStringsToMap(text, L" = ", L";\n", &strings, trim, trim), S_OK);
        EXPECT_EQ(strings, pairs) << testing::PrintToString(std::wstring(text));
    }
}

}  // namespace
}  // namespace Corvix
