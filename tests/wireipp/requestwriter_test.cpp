#include "wire/ipp/requestwriter.h"

#include <gmock/gmock.h>

#include <functional>
#include <set>

#include "support/ippbytes.h"
#include "wire/ipp/attributetable.h"
#include "wire/ipp/tags.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;

/// A request buffer that notices writing outside what the length tells.
class Area {
public:
    explicit Area(int length = 0) : bytes_(attributePartCapacity, '\xEE'), length_(length) {}
    unsigned char* Buffer() { return reinterpret_cast<unsigned char*>(bytes_.data()); }
    int& Length() { return length_; }
    std::string Written(int from = 0) const {
        return bytes_.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(length_ - from));
    }
    bool Untouched(int from) const {
        return bytes_.find_first_not_of('\xEE', static_cast<std::size_t>(from)) == std::string::npos;
    }

private:
    std::string bytes_;
    int length_;
};

using Write = std::function<int(Area&)>;

struct WriterCase {
    const char* what;
    Write write;
    std::string bytes;
};

Write Text(unsigned char tag, std::string_view name, std::string_view value) {
    return [=](Area& area) { return AddStringToIPPRequest(area.Buffer(), area.Length(), tag, name, value); };
}
Write List(std::string_view list) {
    return [=](Area& area) {
        return AddStringsToIPPRequest(area.Buffer(), area.Length(), Tag::Keyword, "which-jobs", list);
    };
}
Write Number(std::string_view name, std::int32_t value) {
    return [=](Area& area) {
        return AddIntegerToIPPRequest(area.Buffer(), area.Length(), Tag::Integer, name, value);
    };
}
Write Flag(std::string_view name) {
    return [=](Area& area) { return AddBooleanToIPPRequest(area.Buffer(), area.Length(), name, 1); };
}
Write Range(std::string_view name) {
    return [=](Area& area) { return AddRangeToIPPRequest(area.Buffer(), area.Length(), name, 1, -2); };
}
Write Dots(std::string_view name) {
    return [=](Area& area) {
        return AddResolutionToIPPRequest(area.Buffer(), area.Length(), name, DotsPerInch, 600, 600);
    };
}
Write Typed(std::string_view name) {
    return [=](Area& area) { return AddAttributeBasedOnType(area.Buffer(), area.Length(), name); };
}

const std::vector<WriterCase> writerCases = {
    {"text", Text(Tag::Uri, "job-uri", "ipp://a/1"), Value(0x45, "job-uri", "ipp://a/1")},
    {"null value", Text(Tag::Keyword, "media", {}), Value(0x44, "media", "")},
    {"null name: a further value", Text(Tag::Keyword, {}, "a4"), Value(0x44, "", "a4")},
    {"list of one", List("a"), Keyword("which-jobs", "a")},
    {"list of two", List("a,b"), Byte(0x44) + Short(0x0A) + "which-jobs" + Short(1) + "a" + Keyword("", "b")},
    {"list that ends with a comma", List("a,"), Keyword("which-jobs", "a") + Keyword("", "")},
    {"list of empty elements", List(",,"), Keyword("which-jobs", "") + Keyword("", "") + Keyword("", "")},
    {"empty list", List(""), Keyword("which-jobs", "")},
    {"integer", Number("copies", -2), Value(0x21, "copies", "\xFF\xFF\xFF\xFE")},
    {"boolean", Flag("my-jobs"), Value(0x22, "my-jobs", "\x01")},
    {"range", Range("page-ranges"), Value(0x33, "page-ranges", Int(1) + "\xFF\xFF\xFF\xFE")},
    {"resolution", Dots("printer-resolution"),
     Value(0x32, "printer-resolution", Int(0x258) + Int(0x258) + "\x03")},
    {"requested enum", Typed("printer-state"), Value(0x23, "requested-attributes", "printer-state")},
    {"requested unknown", Typed("x-own"), Value(0x44, "requested-attributes", "x-own")},
};

TEST(RequestWriter, WritesTheseBytes) {
    for (const WriterCase& test : writerCases) {
        Area area;
        EXPECT_EQ(test.write(area), Written) << test.what;
        EXPECT_EQ(area.Written(), test.bytes) << test.what;
        EXPECT_TRUE(area.Untouched(area.Length())) << test.what;
    }
}

// Lists are checked with two bytes for each element, so each element after the first may pass the limit by
// two.
int SlackOf(const WriterCase& test) {
    const auto commas = std::count(test.bytes.begin(), test.bytes.end(), '\x44');
    return std::string_view(test.what).substr(0, 4) == "list" ? 2 * static_cast<int>(commas - 1) : 0;
}

TEST(RequestWriter, FillsTheLimitAndRefusesOneByteMore) {
    for (const WriterCase& test : writerCases) {
        const int fitting = attributePartLimit - static_cast<int>(test.bytes.size()) + SlackOf(test);
        Area fits(fitting);
        EXPECT_EQ(test.write(fits), Written) << test.what;
        EXPECT_EQ(fits.Written(fitting), test.bytes) << test.what;

        for (const int full : {fitting + 1, attributePartLimit, attributePartLimit + 100}) {
            Area refuses(full);
            EXPECT_EQ(test.write(refuses), NoRoom) << test.what;
            EXPECT_EQ(refuses.Length(), full) << test.what;
            EXPECT_TRUE(refuses.Untouched(0)) << test.what;
        }
    }
}

TEST(RequestWriter, RefusesAnEmptyName) {
    const Write emptyNames[] = {Text(Tag::Keyword, "", "a"), Number("", 1), Flag(""), Range(""), Dots("")};
    for (const Write& write : emptyNames) {
        Area area;
        EXPECT_EQ(write(area), EmptyName);
        EXPECT_EQ(area.Length(), 0);
        EXPECT_TRUE(area.Untouched(0));
    }
    Area area;
    EXPECT_EQ(AddStringsToIPPRequest(area.Buffer(), area.Length(), Tag::Keyword, {}, "a,b"), EmptyName);
}

TEST(RequestWriter, KeepsTheLongestListInsideItsBuffer) {
    const std::string commas(620, ',');
    Area area(100);
    EXPECT_EQ(AddStringsToIPPRequest(area.Buffer(), area.Length(), Tag::Keyword, "n", commas), Written);
    EXPECT_GT(area.Length(), attributePartLimit);
    EXPECT_LT(area.Length(), attributePartCapacity);
    EXPECT_EQ(AddDelimiter(area.Buffer(), area.Length(), Tag::EndOfAttributes), NoRoom);
}

struct HeaderCase {
    int operation;
    std::string_view language;
    std::string bytes;
};

TEST(RequestWriter, BeginsARequest) {
    const std::string english =
        Value(0x47, "attributes-charset", "utf-8") + Value(0x48, "attributes-natural-language", "en");
    const std::string german =
        Value(0x47, "attributes-charset", "utf-8") + Value(0x48, "attributes-natural-language", "de-ch");
    const std::string target = Value(0x45, "printer-uri", "ipp://p/ipp/print");
    const HeaderCase cases[] = {
        {Operation::GetPrinterAttributes, "", Byte(0x0B) + Int(100) + Byte(1) + english + target},
        {Operation::PrintJob, "de-ch", Byte(2) + Int(100) + Byte(1) + german + target},
        {Operation::StreamedPrintJob, "", Byte(2) + Int(100) + Byte(1) + english + target},
        {Operation::CancelJob, "", Byte(8) + Int(100) + Byte(1) + english},
        {Operation::GetJobAttributes, "", Byte(9) + Int(100) + Byte(1) + english},
    };
    for (const HeaderCase& test : cases) {
        Area area;
        EXPECT_EQ(AddHeader(area.Buffer(), area.Length(), test.operation, test.language, "ipp://p/ipp/print"),
                  Written);
        EXPECT_EQ(area.Written(), Byte(2) + Byte(0) + Byte(0) + test.bytes) << test.operation;
    }
}

TEST(RequestWriter, RefusesAHeaderThatIsTooLong) {
    const std::string longText(2000, 'x');
    Area area;
    EXPECT_EQ(AddHeader(area.Buffer(), area.Length(), Operation::GetJobs, "en", longText), NoRoom);
    EXPECT_EQ(AddHeader(area.Buffer(), area.Length(), Operation::GetJobs, longText, "u"), NoRoom);
}

TEST(AttributeTable, TypesEveryNameOnce) {
    std::set<std::string_view> names;
    for (const AttributeRow& row : attributeTable) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_EQ(FindAttribute(row.name), &row);
        EXPECT_EQ(GetTypeOfAttribute(row.name), row.tag);
    }
}

struct TypeCase {
    std::string_view name;
    unsigned char tag;
    ValueKind kind;
};

TEST(AttributeTable, KeepsItsOddRows) {
    const TypeCase cases[] = {
        {"reserved", 0, ValueKind::Text},
        {"sides", Tag::Integer, ValueKind::Integer},
        {"job-sheets", Tag::Integer, ValueKind::Integer},
        {"page-ranges-supported", Tag::Boolean, ValueKind::Boolean},
        {"copies-supported", Tag::RangeOfInteger, ValueKind::Range},
        {"job-media-sheet", Tag::Integer, ValueKind::Integer},
        {"printer-current-time", Tag::DateTime, ValueKind::DateTime},
        {"printer-resolution", Tag::Resolution, ValueKind::Resolution},
        {"job-state", Tag::Enum, ValueKind::Integer},
    };
    for (const TypeCase& test : cases) {
        const AttributeRow* row = FindAttribute(test.name);
        ASSERT_TRUE(row) << test.name;
        EXPECT_EQ(row->tag, test.tag) << test.name;
        EXPECT_EQ(row->kind, test.kind) << test.name;
    }
    EXPECT_EQ(FindAttribute("job-media-sheets"), nullptr);
    EXPECT_EQ(FindAttribute("Sides"), nullptr) << "names are told apart by case";
}

}  // namespace
}  // namespace Corvix::Ipp
