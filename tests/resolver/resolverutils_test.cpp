#include "resolver/resolverutils.h"

#include <gmock/gmock.h>

namespace Corvix {
namespace {

const HRESULT tooSmall = static_cast<HRESULT>(0x8007007A);

std::wstring SystemTextOf(HRESULT error) {
    wchar_t text[512];
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                       static_cast<DWORD>(error), 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    return {text, length};
}

TEST(ResolverUtils, CountsUpToItsLimit) {
    EXPECT_EQ(GetStringLength(L""), 0);
    EXPECT_EQ(GetStringLength(L"abc"), 3);
    EXPECT_EQ(GetStringLength(std::wstring(2047, L'x').c_str()), 2047);
    for (const std::size_t length : {2048u, 2049u, 100000u}) {
        EXPECT_EQ(GetStringLength(std::wstring(length, L'x').c_str()), -1) << length;
    }
    const wchar_t unterminated[2048] = {};
    EXPECT_EQ(GetStringLength(unterminated), 0);
    EXPECT_EQ(GetStringLength(nullptr), -1);
}

TEST(ResolverUtils, CopiesIntoItsFixedCapacity) {
    struct {
        std::size_t sourceLength, count;
        HRESULT result;
        std::size_t copied;
    } const cases[] = {{0, 10, S_OK, 0},
                       {5, 10, S_OK, 5},
                       {5, 3, S_OK, 3},
                       {5, 0, S_OK, 0},
                       {1024, 5000, S_OK, 1024},
                       {1025, 5000, tooSmall, 1024},
                       {2000, 2000, tooSmall, 1024},
                       {2000, 1024, S_OK, 1024},
                       {2000, 1025, tooSmall, 1024},
                       {5, 0x7FFFFFFE, S_OK, 5},
                       {5, 0x7FFFFFFF, E_INVALIDARG, 0},
                       {5, static_cast<std::size_t>(-1), E_INVALIDARG, 0}};
    for (const auto& test : cases) {
        std::wstring destination(1100, L'#');
        const std::wstring source(test.sourceLength, L'x');
        EXPECT_EQ(StrWcsNCpy(destination.data(), 7, source.c_str(), test.count), test.result);
        EXPECT_EQ(std::wstring(destination.c_str()), std::wstring(test.copied, L'x'));
        EXPECT_EQ(destination.substr(1025), std::wstring(75, L'#'));
    }
    wchar_t untouched[] = L"before";
    EXPECT_EQ(StrWcsNCpy(nullptr, 10, L"x", 1), E_INVALIDARG);
    EXPECT_EQ(StrWcsNCpy(untouched, 10, nullptr, 1), E_INVALIDARG);
    EXPECT_STREQ(untouched, L"before");
}

TEST(ResolverUtils, TellsTheSystemsTextOfAnError) {
    for (const HRESULT error : {E_INVALIDARG, E_OUTOFMEMORY, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)}) {
        const std::wstring text = SystemTextOf(error);
        ASSERT_GT(text.size(), 1u);
        EXPECT_EQ(ErrorMessage(error), text.substr(0, text.size() - 1).substr(0, 99));
    }
    EXPECT_STREQ(ErrorMessage(static_cast<HRESULT>(0x8FFF1234)), L"Format message failed");
    EXPECT_EQ(ErrorMessage(E_INVALIDARG), ErrorMessage(E_FAIL)) << "there is one buffer";
}

TEST(ResolverUtils, KeepsAMessageOfAHundredCharacters) {
    const wchar_t* buffer = ErrorMessage(E_FAIL);
    const std::wstring fits(99, L'f');
    EXPECT_EQ(StrWcsCpy(fits.c_str()), S_OK);
    EXPECT_EQ(buffer, fits);
    const std::wstring cut(100, L'c');
    EXPECT_EQ(StrWcsCpy(cut.c_str()), tooSmall);
    EXPECT_EQ(buffer, cut.substr(1));
    EXPECT_EQ(StrWcsCpy(nullptr), E_INVALIDARG);
    EXPECT_EQ(buffer, cut.substr(1));
    EXPECT_EQ(StrWcsCpy(L""), S_OK);
    EXPECT_STREQ(buffer, L"");
}

TEST(ResolverUtils, CapturesAPartOfAText) {
    const wchar_t* const address =
        LR"((\b(?:(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)\.){3}(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)\b))";
    const wchar_t* const port = LR"((?:(?:\b(?:\d{1,3}\.){3}(?:\d{1,3})\b)(?:(?::)([0-9]+))?))";
    struct {
        const wchar_t *text, *pattern;
        int group;
        const wchar_t* result;
    } const cases[] = {{L"10.0.0.5:631", port, 1, L"631"},
                       {L"10.0.0.5", port, 1, L""},
                       {L"no address", port, 1, L""},
                       {L"ipp://10.0.0.5:8631/ipp/print", port, 1, L"8631"},
                       {L"ipp://192.168.1.255/ipp", address, 0, L"192.168.1.255"},
                       {L"ipp://192.168.1.256/ipp", address, 0, L""},
                       {L"first 1.2.3.4 then 5.6.7.8", address, 1, L"1.2.3.4"},
                       {L"10.0.0.5:631", port, 2, L""},
                       {L"", L"", 0, L""}};
    for (const auto& test : cases) {
        std::wstring result = L"before";
        EXPECT_EQ(CaptureSubString(test.text, &result, test.pattern, test.group), *test.result != 0)
            << test.group;
        EXPECT_EQ(result, test.result);
    }
}

TEST(ResolverUtils, CapturesNothingWithoutItsArguments) {
    std::wstring result = L"before";
    EXPECT_FALSE(CaptureSubString(nullptr, &result, L"a", 0));
    EXPECT_FALSE(CaptureSubString(L"a", nullptr, L"a", 0));
    EXPECT_FALSE(CaptureSubString(L"a", &result, nullptr, 0));
    EXPECT_FALSE(CaptureSubString(L"a", &result, L"a", -1));
    EXPECT_FALSE(CaptureSubString(L"a", &result, L"(", 0));
    EXPECT_FALSE(CaptureSubString(std::wstring(1000000, L'1').c_str(), &result, L"([0-9]+)", 0));
    EXPECT_EQ(result, L"before");
}

}  // namespace
}  // namespace Corvix
