// Why a document does not load.
#include <gtest/gtest.h>

#include <string>

#include "corvixdm/corvixdm.h"

namespace Corvix {
namespace {

HRESULT Find(const std::string& document, DocumentFault& fault) {
    return FindDocumentFault(document.data(), static_cast<unsigned long>(document.size()), &fault);
}

TEST(DocumentFaults, AreFoundWhereTheyAre) {
    struct Case {
        const char* document;
        unsigned line;  // 0 and null: as the system's reader sees it
        const wchar_t* reason;
    };
    const Case cases[] = {
        {"<a>\n<b>\n</a>", 3, L"an end tag that fits no start tag"},
        {"\r\n\n<a>\n<b>\n</a>", 5, L"an end tag that fits no start tag"},
        {"<a>\n  <b></b>\n", 0, L"the document ends too early"},
        {"<a/>\n< />", 2, nullptr},
        {" \n<?xml version='1.0'?><a/>", 2, L"an XML declaration that is not at the document's start"},
        {"  ", 0, nullptr},
    };
    for (const Case& c : cases) {
        DocumentFault fault{};
        EXPECT_EQ(Find(c.document, fault), S_OK) << c.document;
        EXPECT_EQ(fault.line, c.line ? c.line : fault.line) << c.document;
        EXPECT_STREQ(fault.reason, c.reason ? c.reason : fault.reason) << c.document;
        EXPECT_STREQ(DescribeDocumentFault(fault.result), fault.reason) << c.document;
    }
    DocumentFault fault{};
    EXPECT_EQ(Find("<a>\n   <b></c></a>", fault), S_OK);
    EXPECT_GT(fault.column, 3u);
}

TEST(DocumentFaults, AreNotSeenInGoodDocuments) {
    std::string deep;
    for (int i = 0; i < 300; ++i)
        deep += "<a>";
    for (int i = 0; i < 300; ++i)
        deep += "</a>";
    for (const std::string& document :
         {std::string("<a/>"), std::string("<?xml version='1.0' encoding='utf-8'?>\n<a>\xC3\xA9</a>"),
          std::string("<!DOCTYPE a><a/>"), deep}) {
        DocumentFault fault{S_OK, 7, 7, nullptr};
        EXPECT_EQ(Find(document, fault), S_FALSE) << document;
        EXPECT_EQ(fault.line, 7u) << "left as it was";
    }
}

TEST(DocumentFaults, AreToldFromOtherFailures) {
    EXPECT_STREQ(DescribeDocumentFault(static_cast<HRESULT>(0xC00CEFFF)), L"not well-formed");
    for (const HRESULT other : {S_OK, E_FAIL, E_OUTOFMEMORY, static_cast<HRESULT>(0xC00CF000)})
        EXPECT_EQ(DescribeDocumentFault(other), nullptr);
}

}  // namespace
}  // namespace Corvix
