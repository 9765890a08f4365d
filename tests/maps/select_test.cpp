// Selecting nodes means the same whatever DOM the system has.
#include <gmock/gmock.h>

#include "datamodel/dom/dom.h"
#include "support/dom.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

TEST(SelectNode, TakesPredicatesOnTheNodeItself) {
    const CorvixTest::Document document(
        L"<t "
        L"xmlns:dd='d'><s><dd:Type>a</dd:Type><dd:Uri>/a</dd:Uri></s><s><dd:Type>/.[</dd:Type><dd:Uri>/b</"
        L"dd:Uri></s>"
        L"<s><dd:Type>c</dd:Type></s><dd:Uri>/stray</dd:Uri></t>");
    struct Case {
        const wchar_t* xpath;
        const wchar_t* text;
    };
    const Case cases[] = {{L"//.[dd:Type=\"a\"]/dd:Uri", L"/a"},   {L"//.[dd:Type=\"/.[\"]/dd:Uri", L"/b"},
                          {L"//.[dd:Type='/.[']/dd:Uri", L"/b"},   {L"//*[dd:Type='/.[']/dd:Uri", L"/b"},
                          {L"//.[dd:Type=\"c\"]/dd:Uri", L"none"}, {L"//.[dd:Type=\"d\"]", L"none"},
                          {L"/t/s/.[dd:Uri='/b']/dd:Type", L"/.["}};
    for (const Case& c : cases) {
        ComPtr<IXMLDOMNode> node;
        KyUtils::Bstr text;
        if (SelectNode(document.Node(), c.xpath, node) == S_OK) node->get_text(text.Receive());
        EXPECT_EQ(node ? std::wstring(text.View()) : L"none", c.text) << c.xpath;
    }
}

TEST(SelectNode, FailsOnWhatIsNoPattern) {
    const CorvixTest::Document document(L"<t a='1'><s>x</s></t>");
    const wchar_t* const broken[] = {
        L"",        L" ",          L"/ /",        L"//",         L"//[",       L"//s[",
        L"//s]",    L"s t",        L"//s[]",      L"//s['x]",    L"//s[\"x']", L"'x",
        L"(//s",    L"//s)",       L"//$",        L"$x",         L"//s[1+1]",  L"//s[s=]",
        L"//s[=s]", L"//s[s and]", L"//s[and s]", L"//and",      L"child::or", L"//s/",
        L"///s",    L"//s[not(]",  L"//s[not(s]", L"//s[f(s,)]", L"//@",       L"//@@a",
        L"a::",     L"::a",        L"a::b::c",    L"a:",         L":a",        L"//s[position()=last()-1]",
        L"s || t",  L"//s[!]",     L"...",        L"..[s]",      L"//s|",      L"|//s",
        L"//s[1.]", L"//s\\t",
    };
    for (const wchar_t* xpath : broken) {
        ComPtr<IXMLDOMNode> node;
        EXPECT_TRUE(FAILED(SelectNode(document.Node(), xpath, node))) << xpath;
        EXPECT_FALSE(node) << xpath;
    }
    const std::wstring deep(100000, L'(');
    ComPtr<IXMLDOMNode> node;
    EXPECT_TRUE(FAILED(SelectNode(document.Node(), (L"//s[" + deep).c_str(), node)));
}

TEST(SelectNode, TakesWhateverIsAPattern) {
    const CorvixTest::Document document(
        L"<t xmlns:p='q' a='1'><s n='1'>x</s><p:s n='2'>y</p:s><s n='3'><u>4.5</u></s>"
        L"<end>or</end></t>");
    struct Case {
        const wchar_t* xpath;
        const wchar_t* text;
    };
    const Case cases[] = {
        {L"t", L"xy4.5or"},
        {L" / t / s ", L"x"},
        {L"/t/@a", L"1"},
        {L"//s/@*", L"1"},
        {L"//p:s", L"y"},
        {L"//s[@n='3']/u", L"4.5"},
        {L"//s[@n=\"3\"]", L"4.5"},
        {L"//s[@n = 3]", L"4.5"},
        {L"//s[u > 4 and u<=4.5]", L"4.5"},
        {L"//s[u>=4.5][u != '5']", L"4.5"},
        {L"//s[not(u)]", L"x"},
        {L"//s[u or @n='9']", L"4.5"},
        {L"//s[@n='9'] | //u", L"4.5"},
        {L"//u/..", L"4.5"},
        {L"//u/.", L"4.5"},
        {L"//s/text()", L"x"},
        {L"/t/child::end", L"or"},
        {L"//end[. = 'or']", L"or"},
        {L"(//s)/u", L"4.5"},
        {L"(//s | //end)[u]", L"4.5"},
        {L"//s[(@n='3') and (u)]", L"4.5"},
        {L"//*[contains(local-name(), 'nd')]", L"or"},
        {L"//descendant::u", L"4.5"},
        {L"//s[u]", L"4.5"},
        {L"//s[*]", L"4.5"},
        {L"//s[v | *]", L"4.5"},
        {L"//s[u/text()]", L"4.5"},
        {L"//s[.//u/@a or .//u]", L"4.5"},
        {L"//s[.//u]", L"4.5"},
        {L"//s[(u)]/u[../u[.]]", L"4.5"},
        {L"//.[u]/u", L"4.5"},
        {L"//*[child::s[u]]/@a", L"1"},
        {L"//s[1]", L"4.5"},
    };
    for (const Case& c : cases) {
        ComPtr<IXMLDOMNode> node;
        KyUtils::Bstr text;
        EXPECT_EQ(SelectNode(document.Node(), c.xpath, node), S_OK) << c.xpath;
        if (node) node->get_text(text.Receive());
        EXPECT_EQ(text.View(), c.text) << c.xpath;
    }
}

}  // namespace
}  // namespace Corvix
