#include "wire/ipp/requestwriter.h"

#include <gmock/gmock.h>

#include <functional>

#include "support/ippbytes.h"
#include "wire/ipp/attributetable.h"
#include "wire/ipp/tags.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;

/// Writes into a buffer behind so many bytes, and sees to it that nothing else of the buffer changes.
struct Outcome {
    int result;
    std::string bytes;
};
using Write = std::function<int(unsigned char*, int&)>;

Outcome After(const Write& write, int before) {
    std::string bytes(attributePartCapacity, '\xEE');
    int length = before;
    const int result = write(reinterpret_cast<unsigned char*>(bytes.data()), length);
    EXPECT_EQ(bytes.find_first_not_of('\xEE', static_cast<std::size_t>(length)), std::string::npos);
    EXPECT_EQ(bytes.find_first_not_of('\xEE'), length == before ? std::string::npos : std::size_t(before));
    return {result,
            bytes.substr(static_cast<std::size_t>(before), static_cast<std::size_t>(length - before))};
}

struct WriterCase {
    const char* what;
    Write write;
    std::string bytes;
    int slack = 0;  ///< by which the check of the limit falls short
};

Write Text(unsigned char tag, std::string_view name, std::string_view value) {
    return [=](auto* b, int& l) { return AddStringToIPPRequest(b, l, tag, name, value); };
}
Write List(std::string_view name, std::string_view list) {
    return [=](auto* b, int& l) { return AddStringsToIPPRequest(b, l, Tag::Keyword, name, list); };
}
Write Number(std::string_view name) {
    return [=](auto* b, int& l) { return AddIntegerToIPPRequest(b, l, Tag::Integer, name, -2); };
}
Write Flag(std::string_view name, unsigned char value) {
    return [=](auto* b, int& l) { return AddBooleanToIPPRequest(b, l, name, value); };
}
Write Range(std::string_view name) {
    return [=](auto* b, int& l) { return AddRangeToIPPRequest(b, l, name, 1, -2); };
}
Write Dots(std::string_view name) {
    return [=](auto* b, int& l) { return AddResolutionToIPPRequest(b, l, name, DotsPerInch, 600, 300); };
}
Write Typed(std::string_view name) {
    return [=](auto* b, int& l) { return AddAttributeBasedOnType(b, l, name); };
}
Write Encoded(std::string_view bytes) {
    return [=](auto* b, int& l) { return AddIPPAttributesToIPPHeader(b, l, bytes); };
}
Write Delimiter(unsigned char tag) {
    return [=](auto* b, int& l) { return AddDelimiter(b, l, tag); };
}

const std::vector<WriterCase> writerCases = {
    {"text", Text(Tag::Uri, "job-uri", "ipp://a/1"), Value(0x45, "job-uri", "ipp://a/1")},
    {"null value", Text(Tag::Keyword, "media", {}), Value(0x44, "media", "")},
    {"null name: a further value", Text(Tag::Keyword, {}, "a4"), Value(0x44, "", "a4")},
    {"list of one", List("n", "a"), Keyword("n", "a")},
    {"list of two", List("n", "a,b"), Keyword("n", "a") + Keyword("", "b"), 2},
    {"list that ends with a comma", List("n", "a,"), Keyword("n", "a") + Keyword("", ""), 2},
    {"list of empty elements", List("n", ",,"), Keyword("n", "") + Keyword("", "") + Keyword("", ""), 4},
    {"empty list", List("n", ""), Keyword("n", "")},
    {"integer", Number("copies"), Integer("copies", 0xFFFFFFFE)},
    {"boolean", Flag("my-jobs", 1), Value(0x22, "my-jobs", "\x01")},
    {"boolean of another byte", Flag("my-jobs", 7), Value(0x22, "my-jobs", "\x07")},
    {"range", Range("r"), Value(0x33, "r", Int(1) + Int(0xFFFFFFFE))},
    {"resolution", Dots("r"), Value(0x32, "r", Int(600) + Int(300) + "\x03")},
    {"requested enum", Typed("printer-state"), Value(0x23, "requested-attributes", "printer-state")},
    {"encoded", Encoded("abc"), "abc"},
    {"delimiter", Delimiter(2), Byte(2)},
};

TEST(RequestWriter, FillsTheLimitAndRefusesOneByteMore) {
    for (const WriterCase& test : writerCases) {
        const int fitting = attributePartLimit - static_cast<int>(test.bytes.size()) + test.slack;
        for (const int before : {0, fitting}) {
            const Outcome fits = After(test.write, before);
            EXPECT_EQ(fits.result, Written) << test.what;
            EXPECT_EQ(fits.bytes, test.bytes) << test.what;
        }
        for (const int full : {fitting + 1, attributePartLimit, attributePartLimit + 100}) {
            const Outcome refused = After(test.write, full);
            EXPECT_EQ(refused.result, NoRoom) << test.what;
            EXPECT_EQ(refused.bytes, "") << test.what;
        }
    }
}

TEST(RequestWriter, RefusesAnEmptyName) {
    for (const Write& write :
         {Text(Tag::Keyword, "", "a"), List({}, "a,b"), Number(""), Flag("", 1), Range(""), Dots("")}) {
        const Outcome refused = After(write, 0);
        EXPECT_EQ(refused.result, EmptyName);
        EXPECT_EQ(refused.bytes, "");
    }
}

TEST(RequestWriter, KeepsTheLongestListInsideItsBuffer) {
    const std::string commas(620, ',');
    const Outcome outcome = After(List("n", commas), 100);
    EXPECT_EQ(outcome.result, Written);
    EXPECT_GT(outcome.bytes.size(), std::size_t{attributePartLimit});
}

TEST(RequestWriter, BeginsARequest) {
    const std::string longText(2000, 'x');
    const auto begin = [](std::string_view language, std::string_view uri) {
        return After([=](auto* b, int& l) { return AddHeader(b, l, 50, language, uri); }, 0);
    };
    EXPECT_EQ(begin("de-ch", "u").bytes,
              Byte(2) + Byte(0) + Short(2) + Int(100) + Byte(1) + Value(0x47, "attributes-charset", "utf-8") +
                  Value(0x48, "attributes-natural-language", "de-ch") + Value(0x45, "printer-uri", "u"));
    EXPECT_EQ(begin("en", longText).result, NoRoom);
    EXPECT_EQ(begin(longText, "u").result, NoRoom);
}

TEST(AttributeTable, TypesByTheExactName) {
    const std::pair<std::string_view, int> cases[] = {{"reserved", 0},
                                                      {"printer-uri", 0x45},
                                                      {"document-uri", 0x45},
                                                      {"sides", 0x21},
                                                      {"job-sheets", 0x21},
                                                      {"page-ranges-supported", 0x22},
                                                      {"limit", 0x21},
                                                      {"job-media-sheet", 0x21},
                                                      {"copies-supported", 0x33},
                                                      {"job-state", 0x23},
                                                      {"printer-name", 0x42},
                                                      {"printer-current-time", 0x31},
                                                      {"charset-supported", 0x47},
                                                      {"printer-resolution", 0x32},
                                                      {"job-media-sheets", 0x44},
                                                      {"Job-State", 0x44},
                                                      {"", 0x44},
                                                      {"job", 0x44},
                                                      {"document-format", 0x49},
                                                      {"message", 0x41},
                                                      {"natural-language-configured", 0x48},
                                                      {"which-jobs", 0x44},
                                                      {"reference-uri-schemes-supported", 0x46}};
    for (const auto& [name, tag] : cases)
        EXPECT_EQ(GetTypeOfAttribute(name), tag) << name;
}

}  // namespace
}  // namespace Corvix::Ipp
