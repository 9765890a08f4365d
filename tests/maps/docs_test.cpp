// The conversion examples of docs/data-maps.md do what the page says.
#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <memory>
#include <regex>
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

using KyUtils::Variant;

Variant FromText(const std::string& text) { return Variant::FromText(ToWide(text)); }

Variant FromNumber(const std::string& text) { return Variant::FromI4(std::stol(text)); }

/// Bytes in hexadecimal with blanks between them.
Variant FromBytes(const std::string& text) {
    std::istringstream stream(text);
    std::vector<unsigned char> bytes;
    for (unsigned byte; stream >> std::hex >> byte;)
        bytes.push_back(static_cast<unsigned char>(byte));
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_ARRAY | VT_UI1;
    value.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(value.parray->pvData));
    return Variant::Adopt(value);
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
        const CorvixTest::Document document(ToWide(example.item));
        const std::unique_ptr<XMLDataItemSpec> item(
            XMLDataItemSpec::CreateXMLDataItem(document.Root().Get()));
        ASSERT_TRUE(example.read && !example.rows.empty()) << example.item;
        for (const auto& [raw, expected] : example.rows) {
            const auto value = Variant::Adopt(item->ConvertValue(example.read(raw).Get()));
            EXPECT_EQ(Shown(value), expected) << example.item << " of " << raw;
        }
    }
}

}  // namespace
}  // namespace Corvix
