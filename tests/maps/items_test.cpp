// Items as the elements of a document and the factories make them.
#include <gmock/gmock.h>

#include <climits>
#include <memory>

#include "corvixdm/dataitemspec.h"
#include "support/dom.h"

namespace Corvix {
namespace {

using CorvixTest::Document;
using ItemPtr = std::unique_ptr<CvxDataItem>;

std::wstring Show(const wchar_t* text) { return text ? L" '" + std::wstring(text) + L"'" : L" -"; }

template <class Sequence>
std::wstring ExtentOf(const Sequence& item) {
    return L" x" + std::to_wstring(item.Count()) + (item.IsUntilEnd() ? L" until end" : L"");
}

/// Every field of an item in the order of its classes, "-" for a text that is not there.
std::wstring FieldsOf(const CvxDataItem& item) {
    std::wstring fields = Show(item.GetName()) + Show(item.GetAttributeID()) + Show(item.GetPrefix());
    if (const auto* fetched = dynamic_cast<const DataItemSpec*>(&item)) {
        fields += L" |" + Show(fetched->GetType()) + (fetched->IsTransient() ? L" transient" : L"");
        fields += L" " + std::to_wstring(fetched->GetLifespan());
    }
    if (const auto* xml = dynamic_cast<const XMLDataItemSpec*>(&item))
        fields += L" |" + Show(xml->GetUri()) + Show(xml->GetXPath());
    if (const auto* oid = dynamic_cast<const OIDDataItemSpec*>(&item))
        fields += L" |" + Show(oid->GetOid()) + Show(oid->GetGroup());
    if (const auto* walk = dynamic_cast<const NextOIDDataItemSpec*>(&item)) fields += ExtentOf(*walk);
    if (const auto* table = dynamic_cast<const OIDGetDataItemsSpec*>(&item))
        fields += ExtentOf(*table) + Show(table->GetN());
    if (const auto* ipp = dynamic_cast<const IPPDataItemSpec*>(&item)) {
        fields += L" |" + Show(ipp->GetCommand()) + Show(ipp->GetJobUri()) + Show(ipp->GetResourceUri()) +
                  Show(ipp->GetCharSet()) + Show(ipp->GetLang());
    }
    if (const auto* constant = dynamic_cast<const StaticDataItemSpec*>(&item))
        fields += L" |" + Show(constant->GetStaticDataItemValue());
    return fields.substr(1);
}

CvxDataItem* Xml(IXMLDOMNode* node) { return XMLDataItemSpec::CreateXMLDataItem(node); }
CvxDataItem* Oid(IXMLDOMNode* node) { return OIDDataItemSpec::CreateOIDDataItemSpec(node); }
CvxDataItem* Walk(IXMLDOMNode* node) { return NextOIDDataItemSpec::CreateNextOidDataItemSpec(node); }
CvxDataItem* Table(IXMLDOMNode* node) { return OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(node); }
CvxDataItem* Ipp(IXMLDOMNode* node) { return IPPDataItemSpec::CreateIPPDataItemSpec(node); }
CvxDataItem* Constant(IXMLDOMNode* node) { return StaticDataItemSpec::CreateStaticDataItemSpec(node); }

std::wstring FieldsFrom(CvxDataItem* (*create)(IXMLDOMNode*), const std::wstring& xml) {
    const Document document(xml);
    return FieldsOf(*ItemPtr(create(document.Root().Get())));
}

TEST(Items, ReadTheAttributesOfTheirElement) {
    struct Case {
        CvxDataItem* (*create)(IXMLDOMNode*);
        const wchar_t* attributes;
        const wchar_t* fields;
    };
    const Case cases[] = {
        {Xml,
         L"Name='n' AttributeID='a' Prefix='p' Type='t' Transient='true' LifeSpan='12' URI='/u' XPath='//x'",
         L"'n' 'a' 'p' | 't' transient 12 | '/u' '//x'"},
        {Xml, L"AttributeID='a' URI=''", L"'a' 'a' - | - 0 | '' -"},
        {Xml, L"", L"- - - | - 0 | - -"},
        {Oid, L"Name='a' OID='1.2' GroupID='g'", L"'a' - - | - 0 | '1.2' 'g'"},
        {Walk, L"Name='b' OID='1.3' UntilEnd='true'", L"'b' - - | - 0 | '1.3' - x0 until end"},
        {Table, L"Name='c' OID='1.4.N' Count='-3x' N='1'", L"'c' - - | - 0 | '1.4.N' - x-3 '1'"},
        {Ipp, L"Command='c' JobURI='j' ResourceURI='/r' Charset='utf-8' Lang='de'",
         L"- - - | - 0 | 'c' 'j' '/r' 'utf-8' 'de'"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(FieldsFrom(c.create, std::wstring(L"<e ") + c.attributes + L"/>"), c.fields);
    EXPECT_EQ(FieldsOf(*ItemPtr(Table(nullptr))), L"- - - | - 0 | - - x0 ''") << "no node, no fields";
}

TEST(Items, ReadBooleansAndNumbersLeniently) {
    const auto expect = [](auto create, const wchar_t* attribute, const std::wstring& text,
                           const std::wstring& field) {
        EXPECT_EQ(FieldsFrom(create, std::wstring(L"<e ") + attribute + L"='" + text + L"'/>"), field)
            << text;
    };
    for (const wchar_t* text : {L"true", L"TRUE", L"True"})
        expect(Xml, L"Transient", text, L"- - - | - transient 0 | - -");
    for (const wchar_t* text : {L"1", L"yes", L""})
        expect(Xml, L"Transient", text, L"- - - | - 0 | - -");
    const std::pair<const wchar_t*, unsigned> lifespans[] = {{L"12abc", 12},
                                                             {L"abc", 0},
                                                             {L"", 0},
                                                             {L"007", 7},
                                                             {L"-5", 0},
                                                             {L"4294967295", UINT_MAX},
                                                             {L"4294967296", UINT_MAX},
                                                             {L"99999999999999999999999", UINT_MAX}};
    for (const auto& [text, number] : lifespans)
        expect(Xml, L"LifeSpan", text, L"- - - | - " + std::to_wstring(number) + L" | - -");
    const std::pair<const wchar_t*, int> counts[] = {{L"7", 7},
                                                     {L"+7", 7},
                                                     {L"-7", -7},
                                                     {L"--7", 0},
                                                     {L"-", 0},
                                                     {L"12abc", 12},
                                                     {L"2147483648", INT_MAX},
                                                     {L"-2147483648", INT_MIN},
                                                     {L"-99999999999", INT_MIN}};
    for (const auto& [text, number] : counts)
        expect(Walk, L"Count", text, L"- - - | - 0 | - - x" + std::to_wstring(number));
}

TEST(Items, TakeTheWholeTextOfAConstant) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {{L"", L""},
                                                               {L"plain", L"plain"},
                                                               {L"x<b>y<c>z</c></b>w", L"xyzw"},
                                                               {L"a<![CDATA[<&>]]>b", L"a<&>b"},
                                                               {L"a<!-- not this -->b", L"ab"},
                                                               {L"&lt;&#x20AC;&amp;", L"<\x20AC&"}};
    for (const auto& [content, value] : cases)
        EXPECT_EQ(FieldsFrom(Constant, std::wstring(L"<e Name='n'>") + content + L"</e>"),
                  L"'n' - - |" + Show(value));
}

/// One item of each kind with every field given, and what it is like then and when each class is emptied.
struct Kind {
    ItemPtr item;
    const wchar_t* made;
    const wchar_t* initialized;
};
std::vector<Kind> Kinds() {
    std::vector<Kind> kinds;
    const auto add = [&](CvxDataItem* item, const wchar_t* made, const wchar_t* initialized) {
        kinds.push_back({ItemPtr(item), made, initialized});
    };
    add(XMLDataItemSpec::CreateXMLDataItem(L"n", L"u", L"x", L"p", true, 0x1'0000'0007, L"t"),
        L"'n' 'n' 'p' | 't' transient 7 | 'u' 'x'", L"'n' 'n' 'p' | 't' transient 7 | - -");
    add(OIDDataItemSpec::CreateOIDDataItemSpec(L"n", L"1.2", L"g", true, L"p", 7, L"t"),
        L"'n' 'n' 'p' | 't' transient 7 | '1.2' 'g'", L"'n' 'n' 'p' | 't' transient 7 | - -");
    add(NextOIDDataItemSpec::CreateNextOidDataItemSpec(L"n", L"1.2", L"g", true, L"p", 7, L"t", true, 3),
        L"'n' 'n' 'p' | 't' transient 7 | '1.2' 'g' x3 until end",
        L"'n' 'n' 'p' | 't' transient 7 | '1.2' 'g' x0");
    add(OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(L"n", L"1.N", L"g", true, L"p", 7, L"t", true, 3,
                                                       L"4"),
        L"'n' 'n' 'p' | 't' transient 7 | '1.N' 'g' x3 until end '4'",
        L"'n' 'n' 'p' | 't' transient 7 | '1.N' 'g' x0 ''");
    add(IPPDataItemSpec::CreateIPPDataItemSpec(L"n", L"c", true, L"p", L"j", 7, L"t"),
        L"'n' 'n' 'p' | 't' transient 7 | 'c' 'j' - - -", L"'n' 'n' 'p' | 't' transient 7 | - - - - -");
    add(IPPDataItemSpec::CreateIPPDataItemSpec(L"n", nullptr, false, nullptr, L"j", 5, nullptr),
        L"'n' 'n' - | - 5 | - - - - -", L"'n' 'n' - | - 5 | - - - - -");
    add(StaticDataItemSpec::CreateStaticDataItemSpec(L"n", L"v", L"p"), L"'n' 'n' 'p' | 'v'",
        L"'n' 'n' 'p' | -");
    add(StaticDataItemSpec::CreateStaticDataItemSpec(L"n", nullptr, nullptr), L"'n' 'n' - | -",
        L"'n' 'n' - | -");
    add(XMLDataItemSpec::CreateXMLDataItem(nullptr, nullptr, L"", nullptr, false, 0, nullptr),
        L"- - - | - 0 | - ''", L"- - - | - 0 | - -");
    return kinds;
}

TEST(Items, AreMadeWithWhatTheirFactoriesAreGivenAndEmptyTheFieldsOfTheirOwnClass) {
    for (const Kind& kind : Kinds()) {
        EXPECT_EQ(FieldsOf(*kind.item), kind.made);
        kind.item->Initialize();
        EXPECT_EQ(FieldsOf(*kind.item), kind.initialized);
        if (auto* fetched = dynamic_cast<DataItemSpec*>(kind.item.get())) fetched->DataItemSpec::Initialize();
        kind.item->CvxDataItem::Initialize();
        EXPECT_EQ(FieldsOf(*kind.item).rfind(L"- - - | -", 0), 0u);
    }
}

TEST(Items, CopiesAreTheirOwn) {
    auto kinds = Kinds();
    const XMLDataItemSpec copy(dynamic_cast<XMLDataItemSpec&>(*kinds[0].item));
    StaticDataItemSpec assigned(dynamic_cast<StaticDataItemSpec&>(*kinds[6].item));
    assigned = dynamic_cast<StaticDataItemSpec&>(*kinds[7].item);
    kinds.clear();
    EXPECT_EQ(FieldsOf(copy), L"'n' 'n' 'p' | 't' transient 7 | 'u' 'x'");
    EXPECT_EQ(FieldsOf(assigned), L"'n' 'n' - | -");
}

TEST(OidItem, AnswersWhatItIs) {
    const ItemPtr items[] = {ItemPtr(Oid(nullptr)), ItemPtr(Walk(nullptr)), ItemPtr(Table(nullptr))};
    for (const ItemPtr& each : items) {
        auto& item = dynamic_cast<OIDDataItemSpec&>(*each);
        EXPECT_EQ(item.GetNextOIDDataItemSpec(), dynamic_cast<NextOIDDataItemSpec*>(each.get()));
        EXPECT_EQ(item.GetOIDGetDataItemsSpec(), dynamic_cast<OIDGetDataItemsSpec*>(each.get()));
    }
}

std::unique_ptr<OIDGetDataItemsSpec> TableFrom(const wchar_t* attributes) {
    const Document document(std::wstring(L"<e ") + attributes + L"/>");
    return std::unique_ptr<OIDGetDataItemsSpec>(
        OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(document.Root().Get()));
}

TEST(TableItem, CountsThroughItsTemplate) {
    const auto table = TableFrom(L"OID='1.N.7' N='9'");
    EXPECT_EQ(table->GetNextOid(), L"1.9.7");
    OIDGetDataItemsSpec copy(*table);
    EXPECT_EQ(table->GetOid(), L"1.10.7");
    EXPECT_EQ(copy.GetOid(), L"1.10.7") << "a copy goes on from the same index";
    EXPECT_STREQ(table->GetN(), L"9");
    const std::unique_ptr<OIDGetDataItemsSpec> made(OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(
        L"t", L"1.N", nullptr, false, nullptr, 0, nullptr, true, 0, L"5"));
    EXPECT_EQ(made->GetOid(), L"1.0") << "made in code, the index starts at 0 whatever the text says";
    EXPECT_EQ(TableFrom(L"OID='1.N'")->GetNextOid(), L"1.0");
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"OID='1.N'", L""}, {L"OID='1.N.N' N='1'", L"1.1.N"}, {L"OID='1.2' N='1'", L"1.2"},
        {L"N='1'", L""},     {L"OID='1.N' N='x'", L"1.0"},     {L"OID='1.N' N=''", L""}};
    for (const auto& [attributes, oid] : cases)
        EXPECT_EQ(TableFrom(attributes)->GetOid(), oid) << attributes;
    const auto last = TableFrom(L"OID='1.N' N='2147483647'");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(last->GetOid(), L"1.2147483647") << "there is no next index";
}

}  // namespace
}  // namespace Corvix
