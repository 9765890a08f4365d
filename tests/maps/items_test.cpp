// Items as the elements of a document and the factories make them.
#include <gmock/gmock.h>

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
    } const numbers[] = {{L"12abc", 12}, {L"abc", 0}, {L"", 0}, {L"007", 7}, {L"4294967295", 4294967295u}};
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
    const Document document(
        L"<m><StaticDataItem Name='a'>x<b>y</b>z</StaticDataItem><StaticDataItem Name='b'/></m>");
    ComPtr<IXMLDOMNode> node;
    document.Root()->get_firstChild(&node);
    const std::unique_ptr<StaticDataItemSpec> nested(
        StaticDataItemSpec::CreateStaticDataItemSpec(node.Get()));
    EXPECT_STREQ(nested->GetStaticDataItemValue(), L"xyz");
    ComPtr<IXMLDOMNode> second;
    node->get_nextSibling(&second);
    const std::unique_ptr<StaticDataItemSpec> empty(
        StaticDataItemSpec::CreateStaticDataItemSpec(second.Get()));
    EXPECT_STREQ(empty->GetStaticDataItemValue(), L"");
}

TEST(Items, InitializeEmptiesAndCopiesAreTheirOwn) {
    auto item = XmlItem(L"Name='n' URI='/u' LifeSpan='3' Transient='true'");
    const XMLDataItemSpec copy(*item);
    item->Initialize();
    EXPECT_EQ(item->GetUri(), nullptr);
    EXPECT_STREQ(copy.GetUri(), L"/u");
    EXPECT_STREQ(copy.GetName(), L"n");
    CvxDataItem& base = *item;
    base.Initialize();
    EXPECT_EQ(item->GetUri(), nullptr);
}

}  // namespace
}  // namespace Corvix
