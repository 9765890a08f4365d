// The flat device-information functions, asked of a real printer. They look for it at "/ipp/printer", and
// this one knows itself as "/ipp/print" alone, so the relay in front of it changes the name.
#include <algorithm>
#include <iterator>

#include "corvixdm/deviceinfo.h"
#include "realprinter.h"

namespace CorvixTest {
namespace {

class RealDeviceInfoTest : public RealPrinterTest {
protected:
    void SetUp() override {
        RealPrinterTest::SetUp();
        if (!front_) GTEST_SKIP() << "port 631 cannot be taken";
    }
    void TearDown() override {
        EXPECT_EQ(front->GetRefCount(), 1);
        RealPrinterTest::TearDown();
    }
    std::wstring DeviceIdItem(const wchar_t* key) {
        wchar_t* text = nullptr;
        if (GetDeviceIDStringItem(front.Get(), key, &text) != S_OK) return text ? L"(touched)" : L"(failed)";
        std::wstring value = text;
        DisposeDeviceIDStringItem(text);
        return value;
    }

    const DisposablePtr<KyNetAddress> front = MakeAddress(L"127.0.0.82");

private:
    const Relay front_{"127.0.0.82", {631}, Port(), TakeForIppPrint};
};

TEST_F(RealDeviceInfoTest, FindsTheItemsOfTheDeviceId) {
    const struct {
        const wchar_t* key;
        const wchar_t* value;
    } cases[] = {
        {L"MFG", L"Corvid"}, {L"MDL", L"Color 7"},    {L"SN", L"CV0007"},   {L"CMD", L"PDF,PWGRaster,URF"},
        {L"", L"stray"},     {L"EMPTY", L"(failed)"}, {L"mfg", L"(failed)"}};
    for (const auto& [key, value] : cases)
        EXPECT_EQ(DeviceIdItem(key), value) << testing::PrintToString(std::wstring(key));
}

TEST_F(RealDeviceInfoTest, ListsTheMediaTypes) {
    wchar_t* text = nullptr;
    ASSERT_EQ(GetMediaTypesString(front.Get(), &text), S_OK);
    EXPECT_EQ(text, Reported("").at("media-type-supported"));
    DisposeMediaTypesString(text);
    CorvixMediaTypesList* types = CreateMediaTypesList();
    ASSERT_EQ(GetMediaTypesList(front.Get(), types), S_OK);
    EXPECT_THAT(*types, testing::ElementsAre(L"stationery", L"labels", L"envelope", L"photographic-glossy"));
    DisposeMediaTypesList(types);
}

TEST_F(RealDeviceInfoTest, FetchesTheStrings) {
    wchar_t* uri = nullptr;
    ASSERT_EQ(GetPrinterStringsUri(front.Get(), L"en", &uri), S_OK);
    EXPECT_EQ(uri, Reported("127.0.0.82:631").at("printer-strings-uri"));
    DisposePrinterStringsUri(uri);

    wchar_t* wide = nullptr;
    char* content = nullptr;
    ASSERT_EQ(GetDeviceLocaleStrings(front.Get(), L"en", &wide, &content), S_OK);
    std::ifstream file(Environment("CORVIX_IPP_STRINGS"), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_GT(bytes.size(), 5'000'000u);
    EXPECT_TRUE(content == bytes);
    EXPECT_TRUE(wide == ToWide(bytes));
    DisposeStringBuffer(wide, content);

    CorvixStringsMap* strings = CreateStringCollection();
    ASSERT_EQ(GetDeviceLocaleStringsCollection(front.Get(), L"en", strings, &content), S_OK);
    EXPECT_EQ(GetStringCount(strings), static_cast<unsigned>(std::count(bytes.begin(), bytes.end(), '\n')));
    EXPECT_STREQ(FindString(strings, L"media-type.labels"), L"Labels; many = more");
    EXPECT_STREQ(FindString(strings, L"media.iso_a4_210x297mm"), L"A4 f\u00FCr alle");
    EXPECT_STREQ(FindString(strings, L"filling.95000"), L"Much ado about item number 95000");
    DisposeStringCollection(strings, content);
}

TEST_F(RealDeviceInfoTest, ThePrinterKnowsNoOtherPath) {
    wchar_t* text = nullptr;
    EXPECT_EQ(GetMediaTypesString(Address(), &text), E_FAIL);
    EXPECT_FALSE(text);
}

}  // namespace
}  // namespace CorvixTest
