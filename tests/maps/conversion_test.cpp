// Raw values through an item's rules.
#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <vector>

#include "corvixdm/dataitemspec.h"
#include "support/bytesvalue.h"
#include "support/dom.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

using CorvixTest::BytesValue;
using KyUtils::ToWide;
using KyUtils::Variant;

std::unique_ptr<XMLDataItemSpec> ItemFrom(const std::wstring& xml) {
    const CorvixTest::Document document(xml);
    return std::unique_ptr<XMLDataItemSpec>(XMLDataItemSpec::CreateXMLDataItem(document.Root().Get()));
}

std::unique_ptr<XMLDataItemSpec> ItemWith(const std::wstring& conversions) {
    return ItemFrom(L"<DataItem Name='n'>" + conversions + L"</DataItem>");
}

Variant Convert(const CvxDataItem& item, const VARIANT& raw) {
    return Variant::Adopt(item.ConvertValue(raw));
}

TEST(Conversion, OfTexts) {
    struct {
        const wchar_t* rules;
        const wchar_t* raw;
        const wchar_t* expected;
    } const rows[] = {
        {L"", L"Ready", L"Ready"},
        {L"<Conversion Equals='Ready' Value='OK'/>", L"READY", L"OK"},
        {L"<Conversion Equals='Ready' Value='OK'/>", L"ready ", L"ready "},
        {L"<Conversion Equals='a' Value='1'/><Conversion Equals='A' Value='2'/>", L"a", L"2"},
        {L"<Conversion Contains='jam' Value='JAM'/>", L"paper jam detected", L"paper jam detected"},
        {L"<Conversion Contains='jam' Value='JAM'/>", L"toner,Jam", L"JAM"},
        {L"<Conversion Contains='jam' Value='JAM'/>", L"toner, jam", L"toner, jam"},
        {L"<Conversion Contains='err,jam' Value='BAD'/>", L"paper jam detected", L"BAD"},
        {L"<Conversion Contains='x,,y' Value='ALL'/>", L"nothing", L"ALL"},
        {L"<Conversion Contains='x,y' Value='LIST'/>", L"nothing", L"nothing"},
        {L"<Conversion Equals='a' Contains='b' Value='V'/>", L"c,b", L"V"},
        {L"<Conversion Contains='a' Value='C'/><Conversion Equals='a' Value='E'/>", L"a", L"E"},
        {L"<Conversion Equals='default' Value='D'/>", L"whatever", L"D"},
        {L"<Conversion Contains='default' Value='D'/>", L"whatever", L"D"},
        {L"<Conversion Contains='default' Value='C'/><Conversion Equals='Default' Value='E'/>", L"x", L"E"},
        {L"<Conversion Equals='a'/><Conversion Value='v'/>", L"a", L"a"},
        {L"<Other Equals='a' Value='v'/>", L"a", L"a"},
        {L"<Conversion Equals='' Value='EMPTY'/>", L"", L"EMPTY"},
        {L"<Conversion Equals='a' Value=''/>", L"A", L""},
        {L"<Conversion Equals='\xC4RGER \x416' Value='V'/>", L"\xE4rger \x436", L"V"},
        {L"<Conversion Contains='b,c' Value='list'/><Conversion Contains='b' Value='single'/>", L"b",
         L"single"},
        {L"<Conversion Contains='b' Value='single'/><Conversion Contains='a,b' Value='list'/>", L"b",
         L"list"},
        {L"<Conversion Contains='x,jam' Value='JAM'/>", L"toner,paper jam", L"JAM"},
        {L"<Conversion Contains='jam' Value='JAM'/>", L"toner,paper jam", L"toner,paper jam"},
        {L"<Conversion Equals='toner,jam' Value='both'/>", L"Toner,Jam", L"both"},
        {L"<Conversion Contains='x,default' Value='V'/>", L"other", L"other"},
    };
    for (const auto& row : rows) {
        const Variant result = Convert(*ItemWith(row.rules), Variant::FromText(row.raw).Get());
        EXPECT_EQ(result->vt, VT_BSTR);
        EXPECT_EQ(result.Text(), row.expected)
            << KyUtils::ToUtf8(row.rules) << " of " << KyUtils::ToUtf8(row.raw);
    }
}

TEST(Conversion, OfNumbersAndOtherTypes) {
    const auto item =
        ItemWith(L"<Conversion Equals='3' Value='three'/><Conversion Equals='-2' Value='unknown'/>");
    EXPECT_EQ(Convert(*item, Variant::FromI4(3).Get()).Text(), L"three");
    EXPECT_EQ(Convert(*item, Variant::FromI4(-2).Get()).Text(), L"unknown");
    const Variant kept = Convert(*item, Variant::FromI4(4).Get());
    EXPECT_EQ(kept->vt, VT_I4) << "what no rule matches keeps its type";
    EXPECT_EQ(kept->lVal, 4);

    VARIANT small;
    VariantInit(&small);
    small.vt = VT_I2;
    small.iVal = 3;
    EXPECT_EQ(Convert(*item, small)->vt, VT_I2);
    EXPECT_EQ(Convert(*ItemWith(L"<Conversion Equals='default' Value='D'/>"), small).Text(), L"D");
}

TEST(Conversion, OfByteArrays) {
    const auto item = ItemWith(
        L"<Conversion Equals='1-5' Value='range'/><Conversion Equals='-1-0' Value='minus'/>"
        L"<Conversion Equals='' Value='none'/>");
    EXPECT_EQ(Convert(*item, BytesValue({0, 0, 0, 1, 0, 0, 0, 5}).Get()).Text(), L"range");
    EXPECT_EQ(Convert(*item, BytesValue({255, 255, 255, 255, 0, 0, 0, 0, 3}).Get()).Text(), L"minus");
    EXPECT_EQ(Convert(*item, BytesValue({0, 0, 0, 1, 0, 0, 0}).Get()).Text(), L"none")
        << "too short to hold two numbers";
    EXPECT_EQ(Convert(*item, BytesValue({}).Get()).Text(), L"none");
}

TEST(Conversion, OfWhatHasNoText) {
    const auto item = ItemWith(L"<Conversion Equals='' Value='none'/>");
    VARIANT value;
    VariantInit(&value);
    EXPECT_EQ(Convert(*item, value).Text(), L"none");
    value.vt = VT_BSTR;
    EXPECT_EQ(Convert(*item, value).Text(), L"none") << "a text that is null";
    value.vt = VT_BOOL;
    EXPECT_EQ(Convert(*item, value).Text(), L"none");

    const SAFEARRAYBOUND bounds[] = {{4, 0}, {4, 0}};
    value.vt = VT_ARRAY | VT_UI1;
    value.parray = SafeArrayCreate(VT_UI1, 2, const_cast<SAFEARRAYBOUND*>(bounds));
    const Variant square = Variant::Adopt(value);
    EXPECT_EQ(Convert(*item, square.Get()).Text(), L"none") << "a row of bytes has one dimension";
}

TEST(Conversion, GivesAValueOfItsOwn) {
    const auto withoutRules = ItemWith(L"");
    const auto withRules = ItemWith(L"<Conversion Equals='x' Value='y'/>");
    for (const auto* item : {withoutRules.get(), withRules.get()}) {
        const Variant raw = BytesValue({1, 2, 3});
        const Variant copy = Convert(*item, raw.Get());
        EXPECT_EQ(copy->vt, VT_ARRAY | VT_UI1);
        EXPECT_NE(copy->parray, raw->parray);
        EXPECT_EQ(copy->parray->rgsabound[0].cElements, 3u);
    }
}

TEST(Conversion, ReportsAValueThatCannotBeCopied) {
    VARIANT odd;
    VariantInit(&odd);
    odd.vt = VT_BYREF;
    try {
        (void)ItemWith(L"")->ConvertValue(odd);
        FAIL() << "a copy of nothing";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), DISP_E_BADVARTYPE);
    }
}

// ---- docs/data-maps.md shows examples

Variant FromText(const std::string& text) { return Variant::FromText(ToWide(text)); }

Variant FromNumber(const std::string& text) { return Variant::FromI4(std::stol(text)); }

/// Bytes in hexadecimal with blanks between them.
Variant FromBytes(const std::string& text) {
    std::istringstream stream(text);
    std::vector<unsigned char> bytes;
    for (unsigned byte; stream >> std::hex >> byte;)
        bytes.push_back(static_cast<unsigned char>(byte));
    return BytesValue(bytes);
}

using RawReader = Variant (*)(const std::string&);

struct Example {
    std::string item;
    RawReader read = nullptr;
    std::vector<std::pair<std::string, std::string>> rows;
};

/// The page's section on conversion: each fenced item, with the table that follows it. The head of a table says how
/// the device's values are written.
std::vector<Example> ReadExamples() {
    const std::map<std::string, RawReader> heads = {
        {"", FromText}, {" (number)", FromNumber}, {" (bytes)", FromBytes}};
    const std::regex head(R"(\| device says( \(\w+\))? \| value \|)");
    const std::regex row(R"(\|.*?`([^`]*)`.*?`([^`]*)`.*)");
    std::ifstream page(CORVIX_SOURCE_DIR "/docs/data-maps.md");
    std::vector<Example> examples;
    bool inSection = false;
    bool inFence = false;
    std::smatch found;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("## ", 0) == 0) inSection = line == "## Conversion";
        if (!inSection) continue;
        if (line == "```xml") examples.emplace_back();
        if (line.rfind("```", 0) == 0) {
            inFence = line != "```";
        } else if (inFence) {
            examples.back().item += line;
        } else if (std::regex_match(line, found, head)) {
            examples.back().read = heads.at(found.str(1));
        } else if (std::regex_match(line, found, row)) {
            examples.back().rows.emplace_back(found.str(1), found.str(2));
        }
    }
    return examples;
}

/// The value as a table shows it, whatever its type.
std::string Shown(const Variant& value) {
    return value->vt == VT_I4 ? std::to_string(value->lVal) : KyUtils::ToUtf8(value.Text());
}

TEST(DataMapsPage, ItsConversionExamplesHold) {
    const auto examples = ReadExamples();
    ASSERT_GE(examples.size(), 7u);
    for (const Example& example : examples) {
        const auto item = ItemFrom(ToWide(example.item));
        ASSERT_TRUE(example.read && !example.rows.empty()) << example.item;
        for (const auto& [raw, expected] : example.rows) {
            EXPECT_EQ(Shown(Convert(*item, example.read(raw).Get())), expected)
                << example.item << " of " << raw;
        }
    }
}

}  // namespace
}  // namespace Corvix
