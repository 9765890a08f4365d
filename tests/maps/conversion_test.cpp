// Raw values through an item's rules.
#include <gmock/gmock.h>

#include <memory>
#include <vector>

#include "corvixdm/dataitemspec.h"
#include "support/dom.h"
#include "utilslib/com.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

using KyUtils::Variant;

std::unique_ptr<XMLDataItemSpec> ItemWith(const std::wstring& conversions) {
    const CorvixTest::Document document(L"<DataItem Name='n'>" + conversions + L"</DataItem>");
    return std::unique_ptr<XMLDataItemSpec>(XMLDataItemSpec::CreateXMLDataItem(document.Root().Get()));
}

Variant Convert(const CvxDataItem& item, const VARIANT& raw) {
    return Variant::Adopt(item.ConvertValue(raw));
}

Variant Bytes(const std::vector<unsigned char>& bytes) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_ARRAY | VT_UI1;
    value.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    for (LONG i = 0; i < static_cast<LONG>(bytes.size()); ++i) {
        SafeArrayPutElement(value.parray, &i, const_cast<unsigned char*>(&bytes[static_cast<size_t>(i)]));
    }
    return Variant::Adopt(value);
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
    EXPECT_EQ(Convert(*item, Bytes({0, 0, 0, 1, 0, 0, 0, 5}).Get()).Text(), L"range");
    EXPECT_EQ(Convert(*item, Bytes({255, 255, 255, 255, 0, 0, 0, 0, 3}).Get()).Text(), L"minus");
    EXPECT_EQ(Convert(*item, Bytes({0, 0, 0, 1, 0, 0, 0}).Get()).Text(), L"none")
        << "too short to hold two numbers";
    EXPECT_EQ(Convert(*item, Bytes({}).Get()).Text(), L"none");
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
        const Variant raw = Bytes({1, 2, 3});
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

}  // namespace
}  // namespace Corvix
