// Selecting nodes means the same whatever DOM the system has.
#include <gmock/gmock.h>

#include "datamodel/maps/dom.h"
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

}  // namespace
}  // namespace Corvix
