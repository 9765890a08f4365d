// The conversion examples of docs/data-maps.md do what the page says.
#include <gmock/gmock.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "corvixdm/dataitemspec.h"
#include "support/dom.h"
#include "utilslib/com.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

using KyUtils::ToWide;

struct Example {
    std::string item;
    std::vector<std::pair<std::string, std::string>> rows;
};

/// The cells of a row such as "| `ready` | `idle` |"; empty for any other line.
std::vector<std::string> CellsOf(const std::string& line) {
    std::vector<std::string> cells;
    if (line.empty() || line[0] != '|') return cells;
    for (size_t open = 0; (open = line.find('`', open)) != std::string::npos;) {
        const size_t close = line.find('`', open + 1);
        cells.push_back(line.substr(open + 1, close - open - 1));
        open = close + 1;
    }
    return cells;
}

/// Each fenced item of the page's section on conversion, with the table that follows it.
std::vector<Example> ReadExamples() {
    std::ifstream page(CORVIX_SOURCE_DIR "/docs/data-maps.md");
    std::vector<Example> examples;
    bool inSection = false;
    bool inFence = false;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("## ", 0) == 0) inSection = line == "## Conversion";
        if (!inSection) continue;
        if (line == "```xml") {
            inFence = true;
            examples.emplace_back();
        } else if (line == "```") {
            inFence = false;
        } else if (inFence) {
            examples.back().item += line;
        } else if (const auto cells = CellsOf(line); cells.size() == 2 && !examples.empty()) {
            examples.back().rows.emplace_back(cells[0], cells[1]);
        }
    }
    return examples;
}

TEST(DataMapsPage, ItsConversionExamplesHold) {
    const auto examples = ReadExamples();
    ASSERT_GE(examples.size(), 4u);
    for (const Example& example : examples) {
        const CorvixTest::Document document(ToWide(example.item));
        const std::unique_ptr<XMLDataItemSpec> item(
            XMLDataItemSpec::CreateXMLDataItem(document.Root().Get()));
        ASSERT_FALSE(example.rows.empty()) << example.item;
        for (const auto& [raw, expected] : example.rows) {
            const auto value =
                KyUtils::Variant::Adopt(item->ConvertValue(KyUtils::Variant::FromText(ToWide(raw)).Get()));
            EXPECT_EQ(KyUtils::ToUtf8(value.Text()), expected) << example.item << " of " << raw;
        }
    }
}

}  // namespace
}  // namespace Corvix
