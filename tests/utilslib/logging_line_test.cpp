#include "utilslib/logline.h"

#include <gmock/gmock.h>

#include "utilslib/logflags.h"
#include "utilslib/logtext.h"

namespace KyUtils {
namespace {

LineOrigin SomeOrigin() {
    LineOrigin origin{};
    origin.localTime = {2024, 5, 0, 3, 7, 8, 9, 0};
    origin.clockCount = 70'000'000'042;
    origin.elapsedMilliseconds = 1234;
    origin.module = L"CorvixDM";
    origin.threadId = 0x2A;
    return origin;
}

struct PrefixCase {
    const char* what;
    std::uint32_t options;
    std::optional<unsigned> sequence;
    const wchar_t* prefix;
};

constexpr std::uint32_t everyOption = 0x3F000000;

const PrefixCase prefixCases[] = {
    {"nothing", 0, 7, L""},
    {"bits without a meaning", 0xC07FFFFF, 7, L""},
    {"separation alone", LogOption::Separated, 7, L""},
    {"compact date", LogOption::Date, 7, L"20240503 "},
    {"separated date", LogOption::Date | LogOption::Separated, 7, L"2024/05/03 "},
    {"compact time", LogOption::Time, 7, L"070809 "},
    {"separated time", LogOption::Time | LogOption::Separated, 7, L"07:08:09 "},
    {"module", LogOption::Module, 7, L"CorvixDM "},
    {"thread", LogOption::ThreadId, 7, L"{tid: 0x002A} "},
    {"elapsed", LogOption::Elapsed, 7, L"(001234 ms) "},
    {"clock and sequence", LogOption::ClockAndSequence, 7, L"0000000042 0007: "},
    {"clock without sequence", LogOption::ClockAndSequence, std::nullopt, L"0000000042       "},
    {"sequence of five digits", LogOption::ClockAndSequence, 12345, L"0000000042 12345: "},
    {"everything, in order", everyOption, 7,
     L"20240503 070809 0000000042 (001234 ms) CorvixDM {tid: 0x002A} 0007: "},
};

TEST(LinePrefix, FollowsTheOptions) {
    for (const PrefixCase& test : prefixCases) {
        EXPECT_EQ(LinePrefix(test.options, SomeOrigin(), test.sequence), test.prefix) << test.what;
    }
}

const std::pair<std::uint32_t, const wchar_t*> markerCases[] = {
    {0, L""},
    {0x20, L"(EX) "},
    {0x80, L"(##) "},
    {0x40, L"(WN) "},
    {0x40000000, L"(++) "},
    {0x10, L"(I0) "},
    {0x1F, L"(I15) "},
    {0x0F, L""},
    {0x100, L"(ST) "},
    {0x200, L"(DB) "},
    {0x400, L"(->) "},
    {0x800, L"(<-) "},
    {0x20000000, L"(**) "},
    {0x02000000, L"(LK) "},
    {0x04000000, L"(IP) "},
    {0x1000, L"(M1) "},
    {0xF000, L"(M15) "},
    {0x400000, L""},
    {0x412, L"(I2) (->) "},
    {0xFFFFFFFF, L"(EX) (##) (WN) (++) (I15) (ST) (DB) (->) (<-) (**) (LK) (IP) (M15) "},
};

TEST(KindMarkers, FollowTheFlagsInOrder) {
    for (const auto& [flags, markers] : markerCases)
        EXPECT_EQ(KindMarkers(flags), markers) << std::hex << flags;
}

const std::pair<const wchar_t*, const wchar_t*> textCases[] = {
    {L"one", L"0000000042 0007: (##) one\r\n"},
    {L"", L"0000000042 0007: (##) \r\n"},
    {L"ends \r\n", L"0000000042 0007: (##) ends \r\n"},
    {L"\n\n", L"0000000042 0007: (##) \r\n"},
    {L"one\r\ntwo\n\nfour",
     L"0000000042 0007: (##) one\r\n0000000042       (##) two\r\n0000000042       (##) \r\n"
     L"0000000042       (##) four\r\n"},
    {L"bell\x07 tab\t back\rspace", L"0000000042 0007: (##) bell  tab\t back space\r\n"},
};

TEST(FormatLines, NumbersOneTextOnceHoweverManyLinesItHas) {
    for (const auto& [text, lines] : textCases)
        EXPECT_EQ(FormatLines(LogOption::ClockAndSequence, SomeOrigin(), 7, LineFlag::Error, text), lines);
}

TEST(FormatText, TakesTextsOfAnyLength) {
    for (const size_t length : {0u, 255u, 256u, 5000u, 65535u}) {
        const std::wstring text(length, L'x');
        EXPECT_EQ(FormatText(L"%ls", text.c_str()), text);
    }
    EXPECT_EQ(FormatText(L"%ls!", std::wstring(100'000, L'x').c_str()), std::wstring(65'535, L'x'));
    EXPECT_EQ(FormatText(L"%d %ls %hs %08X", 1, L"\x20AC", "narrow", 0xABCu), L"1 \x20AC narrow 00000ABC");
}

TEST(ErrorNotes, NameTheNumberAndTheSystemsMessage) {
    EXPECT_EQ(ResultNote(E_FAIL), L" [Err: 0x80004005]");
    EXPECT_THAT(LastErrorNote(ERROR_FILE_NOT_FOUND),
                testing::AllOf(testing::StartsWith(L", [GLE: 0x00000002] "), testing::HasSubstr(L"ile")));
    EXPECT_EQ(LastErrorNote(0x20000001), L", [GLE: 0x20000001] ")
        << "the library's own codes have no message";
}

struct GateCase {
    std::uint32_t categories;
    std::uint32_t level;
    std::uint32_t flags;
    bool passes;
};

const GateCase gateCases[] = {
    {0x0F, 0, LineFlag::Exception, true},
    {0x0F, 0, LineFlag::Warning, true},
    {0x0F, 0, LineFlag::Error, true},
    {0x0F, 0, LineFlag::Info, true},
    {0x0F, 0, LineFlag::Info | 1, false},
    {0x0F, 3, LineFlag::Info | 3, true},
    {0x0F, 3, LineFlag::Info | 4, false},
    {0x0F, 99, LineFlag::Info | 15, true},
    {0x0F, 0, LineFlag::State, false},
    {0x1F, 0, LineFlag::State, true},
    {0x0F, 0, LineFlag::Debug, false},
    {0x2F, 0, LineFlag::Debug, true},
    {0x0F, 0, LineFlag::Entry | LineFlag::Duration, false},
    {0x4F, 0, LineFlag::Entry, true},
    {0x4F, 0, LineFlag::Exit, false},
    {0x8F, 0, LineFlag::Exit, true},
    {0x0F, 0, LineFlag::Debug | LineFlag::Error, true},
    {0x0F, 0, LineFlag::Entry | LineFlag::Info | 2, false},
    {0x0F, 0, LineFlag::Remark | LineFlag::Part(3), true},
    {0xFFFFFFFF, 0, LineFlag::Info | 1, false},
};

TEST(LineGate, LetsLinesPassByKindAndLevel) {
    for (const GateCase& test : gateCases) {
        EXPECT_EQ(LineGate::Passes(LineGate::Of(test.categories, test.level), test.flags), test.passes)
            << std::hex << "categories " << test.categories << " level " << test.level << " flags "
            << test.flags;
        EXPECT_FALSE(LineGate::Passes(LineGate::closed, test.flags));
    }
}

}  // namespace
}  // namespace KyUtils
