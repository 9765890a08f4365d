// Selecting nodes means the same whatever DOM the system has.
#include <gmock/gmock.h>

#include <map>
#include <vector>

#include "datamodel/dom/dom.h"
#include "support/dom.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

/// The text of the node that an XPath selects, or "none".
std::wstring Selected(const CorvixTest::Document& document, const wchar_t* xpath) {
    ComPtr<IXMLDOMNode> node;
    KyUtils::Bstr text;
    if (SelectNode(document.Node(), xpath, node) != S_OK) return L"none";
    node->get_text(text.Receive());
    return std::wstring(text.View());
}

TEST(SelectNode, TakesPredicatesOnTheNodeItself) {
    const CorvixTest::Document document(
        L"<t "
        L"xmlns:dd='d'><s><dd:Type>a</dd:Type><dd:Uri>/a</dd:Uri></s><s><dd:Type>/.[</dd:Type><dd:Uri>/b</"
        L"dd:Uri></s>"
        L"<s><dd:Type>c</dd:Type></s><dd:Uri>/stray</dd:Uri></t>");
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"//.[dd:Type=\"a\"]/dd:Uri", L"/a"},   {L"//.[dd:Type=\"/.[\"]/dd:Uri", L"/b"},
        {L"//.[dd:Type='/.[']/dd:Uri", L"/b"},   {L"//*[dd:Type='/.[']/dd:Uri", L"/b"},
        {L"//.[dd:Type=\"c\"]/dd:Uri", L"none"}, {L"//.[dd:Type=\"d\"]", L"none"},
        {L"/t/s/.[dd:Uri='/b']/dd:Type", L"/.["}};
    for (const auto& [xpath, text] : cases)
        EXPECT_EQ(Selected(document, xpath), text) << xpath;
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
    const std::map<std::wstring, std::vector<const wchar_t*>> cases = {
        {L"xy4.5or", {L"t"}},
        {L"x", {L" / t / s ", L"//s[not(u)]", L"//s/text()"}},
        {L"1", {L"/t/@a", L"//s/@*", L"//*[child::s[u]]/@a"}},
        {L"y", {L"//p:s"}},
        {L"4.5",
         {L"//s[@n='3']/u",
          L"//s[@n=\"3\"]",
          L"//s[@n = 3]",
          L"//s[u > 4 and u<=4.5]",
          L"//s[u>=4.5][u != '5']",
          L"//s[u or @n='9']",
          L"//s[@n='9'] | //u",
          L"//u/..",
          L"//u/.",
          L"(//s)/u",
          L"(//s | //end)[u]",
          L"//s[(@n='3') and (u)]",
          L"//descendant::u",
          L"//s[u]",
          L"//s[*]",
          L"//s[v | *]",
          L"//s[u/text()]",
          L"//s[.//u/@a or .//u]",
          L"//s[.//u]",
          L"//s[(u)]/u[../u[.]]",
          L"//.[u]/u",
          L"//s[1]"}},
        {L"or", {L"/t/child::end", L"//end[. = 'or']", L"//*[contains(local-name(), 'nd')]"}}};
    for (const auto& [text, xpaths] : cases) {
        for (const wchar_t* xpath : xpaths)
            EXPECT_EQ(Selected(document, xpath), text) << xpath;
    }
}

}  // namespace
}  // namespace Corvix
