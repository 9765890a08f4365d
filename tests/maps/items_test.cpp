// Items as the elements of a document and the factories make them.
#include <gmock/gmock.h>

#include <climits>
#include <initializer_list>
#include <memory>

#include "corvixdm/dataitemspec.h"
#include "support/dom.h"

namespace Corvix {
namespace {

using CorvixTest::Document;

std::unique_ptr<XMLDataItemSpec> XmlItem(const std::wstring& attributes) {
    const Document document(L"<DataItem " + attributes + L"/>");
    return std::unique_ptr<XMLDataItemSpec>(XMLDataItemSpec::CreateXMLDataItem(document.Root().Get()));
}

TEST(DataItem, ReadsWhatEveryItemHas) {
    const auto item = XmlItem(
        L"Name='n' AttributeID='a' Prefix='p' Type='t' Transient='true' LifeSpan='12' "
        L"URI='/u' XPath='//x'");
    EXPECT_STREQ(item->GetName(), L"n");
    EXPECT_STREQ(item->GetAttributeID(), L"a");
    EXPECT_STREQ(item->GetPrefix(), L"p");
    EXPECT_STREQ(item->GetType(), L"t");
    EXPECT_TRUE(item->IsTransient());
    EXPECT_EQ(item->GetLifespan(), 12u);
    EXPECT_STREQ(item->GetUri(), L"/u");
    EXPECT_STREQ(item->GetXPath(), L"//x");
}

TEST(DataItem, TellsAbsentFromEmpty) {
    const auto item = XmlItem(L"AttributeID='a' URI=''");
    EXPECT_STREQ(item->GetName(), L"a") << "the attribute ID stands in for a missing name";
    EXPECT_STREQ(item->GetUri(), L"");
    EXPECT_EQ(item->GetXPath(), nullptr);
    EXPECT_EQ(item->GetPrefix(), nullptr);
    EXPECT_FALSE(item->IsTransient());
    EXPECT_EQ(XmlItem(L"")->GetName(), nullptr);
}

TEST(DataItem, ReadsBooleansAndNumbersLeniently) {
    struct {
        const wchar_t* transient;
        bool expected;
    } const booleans[] = {{L"true", true}, {L"TRUE", true}, {L"True", true},
                          {L"1", false},   {L"yes", false}, {L"", false}};
    for (const auto& row : booleans) {
        EXPECT_EQ(XmlItem(std::wstring(L"Transient='") + row.transient + L"'")->IsTransient(), row.expected)
            << row.transient;
    }
    struct {
        const wchar_t* lifespan;
        unsigned expected;
    } const numbers[] = {{L"12abc", 12},
                         {L"abc", 0},
                         {L"", 0},
                         {L"007", 7},
                         {L"-5", 0},
                         {L"4294967295", 4294967295u},
                         {L"4294967296", 4294967295u},
                         {L"99999999999999999999999", 4294967295u}};
    for (const auto& row : numbers) {
        EXPECT_EQ(XmlItem(std::wstring(L"LifeSpan='") + row.lifespan + L"'")->GetLifespan(), row.expected)
            << row.lifespan;
    }
}

TEST(OidItem, AnswersWhatItIs) {
    const Document document(
        L"<m><DataItem Name='a' OID='1.2'/><NextDataItem Name='b' OID='1.3' UntilEnd='true'/>"
        L"<GetDataItems Name='c' OID='1.4.N' Count='-3x' N='1'/></m>");
    ComPtr<IXMLDOMNode> node;
    document.Root()->get_firstChild(&node);
    const std::unique_ptr<OIDDataItemSpec> plain(OIDDataItemSpec::CreateOIDDataItemSpec(node.Get()));
    ComPtr<IXMLDOMNode> second;
    node->get_nextSibling(&second);
    const std::unique_ptr<NextOIDDataItemSpec> walk(
        NextOIDDataItemSpec::CreateNextOidDataItemSpec(second.Get()));
    ComPtr<IXMLDOMNode> third;
    second->get_nextSibling(&third);
    const std::unique_ptr<OIDGetDataItemsSpec> table(
        OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(third.Get()));

    EXPECT_EQ(plain->GetNextOIDDataItemSpec(), nullptr);
    EXPECT_EQ(plain->GetOIDGetDataItemsSpec(), nullptr);
    EXPECT_EQ(plain->GetGroup(), nullptr);
    EXPECT_EQ(walk->GetNextOIDDataItemSpec(), walk.get());
    EXPECT_EQ(walk->GetOIDGetDataItemsSpec(), nullptr);
    EXPECT_TRUE(walk->IsUntilEnd());
    EXPECT_EQ(walk->Count(), 0);
    EXPECT_EQ(table->GetNextOIDDataItemSpec(), nullptr);
    EXPECT_EQ(table->GetOIDGetDataItemsSpec(), table.get());
    EXPECT_EQ(table->Count(), -3);
}

std::unique_ptr<OIDGetDataItemsSpec> Table(const wchar_t* attributes) {
    const Document document(std::wstring(L"<GetDataItems ") + attributes + L"/>");
    return std::unique_ptr<OIDGetDataItemsSpec>(
        OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(document.Root().Get()));
}

TEST(TableItem, CountsThroughItsTemplate) {
    const auto table = Table(L"OID='1.N.7' N='9'");
    EXPECT_EQ(table->GetNextOid(), L"1.9.7");
    OIDGetDataItemsSpec copy(*table);
    EXPECT_EQ(table->GetOid(), L"1.10.7");
    EXPECT_EQ(copy.GetOid(), L"1.10.7") << "a copy goes on from the same index";
    EXPECT_STREQ(table->GetN(), L"9");

    const auto withoutN = Table(L"OID='1.N'");
    EXPECT_EQ(withoutN->GetOid(), L"");
    EXPECT_STREQ(withoutN->GetN(), L"");
    EXPECT_EQ(withoutN->GetNextOid(), L"1.0");

    const std::unique_ptr<OIDGetDataItemsSpec> made(OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(
        L"t", L"1.N", nullptr, false, nullptr, 0, nullptr, true, 0, L"5"));
    EXPECT_STREQ(made->GetN(), L"5");
    EXPECT_EQ(made->GetOid(), L"1.0") << "made in code, the index starts at 0 whatever the text says";
}

TEST(TableItem, ReadsNumbersWithASign) {
    struct {
        const wchar_t* text;
        int expected;
    } const rows[] = {{L"7", 7},
                      {L"+7", 7},
                      {L"-7", -7},
                      {L"--7", 0},
                      {L"-", 0},
                      {L"12abc", 12},
                      {L"2147483648", 2147483647},
                      {L"-2147483648", INT_MIN},
                      {L"-99999999999", INT_MIN}};
    for (const auto& row : rows) {
        EXPECT_EQ(Table((std::wstring(L"Count='") + row.text + L"'").c_str())->Count(), row.expected)
            << row.text;
    }
}

TEST(TableItem, StaysInBoundsWithOddTemplates) {
    const auto last = Table(L"OID='1.N' N='2147483647'");
    EXPECT_EQ(last->GetOid(), L"1.2147483647");
    EXPECT_EQ(last->GetOid(), L"1.2147483647") << "there is no next index";
    EXPECT_EQ(Table(L"OID='1.N.N' N='1'")->GetOid(), L"1.1.N") << "only the first N is the index";
    EXPECT_EQ(Table(L"OID='1.2' N='1'")->GetOid(), L"1.2");
    EXPECT_EQ(Table(L"N='1'")->GetOid(), L"");
    EXPECT_EQ(Table(L"OID='1.N' N='x'")->GetOid(), L"1.0");
    EXPECT_EQ(Table(L"OID='1.N' N=''")->GetOid(), L"") << "an empty text is no N text";
}

TEST(IppItem, KeepsAJobUriOnlyWithACommand) {
    const std::unique_ptr<IPPDataItemSpec> without(
        IPPDataItemSpec::CreateIPPDataItemSpec(L"n", nullptr, true, nullptr, L"ipp://h/1", 5, L"text"));
    EXPECT_EQ(without->GetJobUri(), nullptr);
    EXPECT_STREQ(without->GetAttributeID(), L"n");
    const std::unique_ptr<IPPDataItemSpec> with(IPPDataItemSpec::CreateIPPDataItemSpec(
        L"n", L"Get-Job-Attributes", true, nullptr, L"ipp://h/1", 5, L"text"));
    EXPECT_STREQ(with->GetJobUri(), L"ipp://h/1");
    EXPECT_EQ(with->GetResourceUri(), nullptr);

    const Document document(
        L"<IPPParams Command='c' JobURI='j' ResourceURI='/r' Charset='utf-8' Lang='de'/>");
    const std::unique_ptr<IPPDataItemSpec> read(
        IPPDataItemSpec::CreateIPPDataItemSpec(document.Root().Get()));
    EXPECT_STREQ(read->GetResourceUri(), L"/r");
    EXPECT_STREQ(read->GetCharSet(), L"utf-8");
    EXPECT_STREQ(read->GetLang(), L"de");
}

TEST(StaticItem, TakesTheWholeTextOfItsElement) {
    struct {
        const wchar_t* content;
        const wchar_t* value;
    } const rows[] = {
        {L"", L""},
        {L"plain", L"plain"},
        {L"x<b>y<c>z</c></b>w", L"xyzw"},
        {L"a<![CDATA[<&>]]>b", L"a<&>b"},
        {L"a<!-- not this -->b", L"ab"},
        {L"&lt;&#x20AC;&amp;", L"<\x20AC&"},
    };
    for (const auto& row : rows) {
        const Document document(std::wstring(L"<StaticDataItem Name='n'>") + row.content +
                                L"</StaticDataItem>");
        const std::unique_ptr<StaticDataItemSpec> item(
            StaticDataItemSpec::CreateStaticDataItemSpec(document.Root().Get()));
        EXPECT_STREQ(item->GetStaticDataItemValue(), row.value) << row.content;
        EXPECT_STREQ(item->GetName(), L"n");
    }
}

/// One item of each kind with every field given.
struct Kinds {
    std::unique_ptr<XMLDataItemSpec> xml{
        XMLDataItemSpec::CreateXMLDataItem(L"n", L"u", L"x", L"p", true, 0x1'0000'0007, L"t")};
    std::unique_ptr<OIDDataItemSpec> oid{
        OIDDataItemSpec::CreateOIDDataItemSpec(L"n", L"1.2", L"g", true, L"p", 7, L"t")};
    std::unique_ptr<NextOIDDataItemSpec> walk{
        NextOIDDataItemSpec::CreateNextOidDataItemSpec(L"n", L"1.2", L"g", true, L"p", 7, L"t", true, 3)};
    std::unique_ptr<OIDGetDataItemsSpec> table{OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(
        L"n", L"1.N", L"g", true, L"p", 7, L"t", true, 3, L"4")};
    std::unique_ptr<IPPDataItemSpec> ipp{
        IPPDataItemSpec::CreateIPPDataItemSpec(L"n", L"c", true, L"p", L"j", 7, L"t")};
    std::unique_ptr<StaticDataItemSpec> constant{
        StaticDataItemSpec::CreateStaticDataItemSpec(L"n", L"v", L"p")};
};

TEST(Items, AreMadeWithWhatTheirFactoriesAreGiven) {
    const Kinds kinds;
    for (const CvxDataItem* item : std::initializer_list<const CvxDataItem*>{
             kinds.xml.get(), kinds.oid.get(), kinds.walk.get(), kinds.table.get(), kinds.ipp.get(),
             kinds.constant.get()}) {
        EXPECT_STREQ(item->GetName(), L"n");
        EXPECT_STREQ(item->GetAttributeID(), L"n") << "a name given in code is the attribute ID, too";
        EXPECT_STREQ(item->GetPrefix(), L"p");
        const auto* fetched = dynamic_cast<const DataItemSpec*>(item);
        if (!fetched) continue;
        EXPECT_TRUE(fetched->IsTransient());
        EXPECT_EQ(fetched->GetLifespan(), 7u);
        EXPECT_STREQ(fetched->GetType(), L"t");
    }
    EXPECT_STREQ(kinds.xml->GetUri(), L"u");
    EXPECT_STREQ(kinds.xml->GetXPath(), L"x");
    for (const OIDDataItemSpec* item : {kinds.oid.get(), static_cast<OIDDataItemSpec*>(kinds.walk.get())}) {
        EXPECT_STREQ(item->GetOid(), L"1.2");
        EXPECT_STREQ(item->GetGroup(), L"g");
    }
    EXPECT_TRUE(kinds.walk->IsUntilEnd());
    EXPECT_EQ(kinds.walk->Count(), 3);
    EXPECT_TRUE(kinds.table->IsUntilEnd());
    EXPECT_EQ(kinds.table->Count(), 3);
    EXPECT_STREQ(kinds.ipp->GetCommand(), L"c");
    EXPECT_STREQ(kinds.constant->GetStaticDataItemValue(), L"v");
}

TEST(Items, KeepTextsThatWereNotGivenNull) {
    const std::unique_ptr<XMLDataItemSpec> xml(
        XMLDataItemSpec::CreateXMLDataItem(nullptr, nullptr, L"", nullptr, false, 0, nullptr));
    EXPECT_EQ(xml->GetName(), nullptr);
    EXPECT_EQ(xml->GetAttributeID(), nullptr);
    EXPECT_EQ(xml->GetUri(), nullptr);
    EXPECT_STREQ(xml->GetXPath(), L"");
    EXPECT_EQ(xml->GetType(), nullptr);
    const std::unique_ptr<StaticDataItemSpec> constant(
        StaticDataItemSpec::CreateStaticDataItemSpec(L"n", nullptr, nullptr));
    EXPECT_EQ(constant->GetStaticDataItemValue(), nullptr);
    const std::unique_ptr<OIDGetDataItemsSpec> table(OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(nullptr));
    EXPECT_EQ(table->GetName(), nullptr) << "no node, no fields";
    EXPECT_STREQ(table->GetN(), L"");
    EXPECT_EQ(static_cast<OIDDataItemSpec&>(*table).GetOid(), nullptr);
}

TEST(Items, InitializeEmptiesTheFieldsOfItsOwnClass) {
    const Kinds kinds;
    kinds.xml->Initialize();
    EXPECT_EQ(kinds.xml->GetUri(), nullptr);
    EXPECT_EQ(kinds.xml->GetXPath(), nullptr);
    EXPECT_STREQ(kinds.xml->GetName(), L"n");
    kinds.oid->Initialize();
    EXPECT_EQ(kinds.oid->GetOid(), nullptr);
    EXPECT_EQ(kinds.oid->GetGroup(), nullptr);
    kinds.walk->Initialize();
    EXPECT_EQ(kinds.walk->Count(), 0);
    EXPECT_FALSE(kinds.walk->IsUntilEnd());
    EXPECT_STREQ(kinds.walk->OIDDataItemSpec::GetOid(), L"1.2");
    kinds.table->Initialize();
    EXPECT_STREQ(kinds.table->GetN(), L"");
    EXPECT_EQ(kinds.table->Count(), 0);
    kinds.ipp->Initialize();
    EXPECT_EQ(kinds.ipp->GetCommand(), nullptr);
    EXPECT_EQ(kinds.ipp->GetJobUri(), nullptr);
    kinds.constant->Initialize();
    EXPECT_EQ(kinds.constant->GetStaticDataItemValue(), nullptr);
    kinds.xml->DataItemSpec::Initialize();
    EXPECT_EQ(kinds.xml->GetLifespan(), 0u);
    EXPECT_FALSE(kinds.xml->IsTransient());
    EXPECT_EQ(kinds.xml->GetType(), nullptr);
    kinds.xml->CvxDataItem::Initialize();
    EXPECT_EQ(kinds.xml->GetName(), nullptr);
}

TEST(Items, CopiesAreTheirOwn) {
    auto kinds = std::make_unique<Kinds>();
    const XMLDataItemSpec copy(*kinds->xml);
    StaticDataItemSpec assigned(*kinds->constant);
    assigned = *std::unique_ptr<StaticDataItemSpec>(
        StaticDataItemSpec::CreateStaticDataItemSpec(L"other", L"w", nullptr));
    kinds.reset();
    EXPECT_STREQ(copy.GetUri(), L"u");
    EXPECT_STREQ(copy.GetName(), L"n");
    EXPECT_EQ(copy.GetLifespan(), 7u);
    EXPECT_STREQ(assigned.GetStaticDataItemValue(), L"w");
    EXPECT_EQ(assigned.GetPrefix(), nullptr);
}

}  // namespace
}  // namespace Corvix
