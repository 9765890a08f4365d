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

/// How the head of a table says that the device's values are written.
struct TableHead {
    const char* line;
    RawReader read;
};
constexpr TableHead tableHeads[] = {{"| device says | value |", FromText},
                                    {"| device says (number) | value |", FromNumber},
                                    {"| device says (bytes) | value |", FromBytes}};

struct Example {
    std::string item;
    RawReader read = nullptr;
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

/// Reads the page's section on conversion line by line: each fenced item, with the table that follows it.
class ExampleReader {
public:
    void Read(const std::string& line) {
        if (line.rfind("## ", 0) == 0) inSection_ = line == "## Conversion";
        if (!inSection_) return;
        if (line == "```xml") {
            inFence_ = true;
            examples_.emplace_back();
        } else if (line == "```") {
            inFence_ = false;
        } else if (inFence_) {
            examples_.back().item += line;
        } else if (!examples_.empty()) {
            ReadTable(line, examples_.back());
        }
    }
    const std::vector<Example>& Examples() const { return examples_; }

private:
    static void ReadTable(const std::string& line, Example& example) {
        for (const TableHead& head : tableHeads) {
            if (line == head.line) example.read = head.read;
        }
        const auto cells = CellsOf(line);
        if (cells.size() == 2) example.rows.emplace_back(cells[0], cells[1]);
    }

    std::vector<Example> examples_;
    bool inSection_ = false;
    bool inFence_ = false;
};

std::vector<Example> ReadExamples() {
    std::ifstream page(CORVIX_SOURCE_DIR "/docs/data-maps.md");
    ExampleReader reader;
    for (std::string line; std::getline(page, line);)
        reader.Read(line);
    return reader.Examples();
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
