// Our requests as libcups reads them, what we read as libcups reads it, and what numbers are called.
#include <gmock/gmock.h>

#include <array>
#include <cstdlib>

#include "support/ippbytes.h"
#include "support/libcups.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/names.h"
#include "wire/ipp/requestbuilder.h"
#include "wire/ipp/requestwriter.h"
#include "wireipp/show.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;
using namespace Corvix::Testing;

std::string Form(int operation, const RequestFields& fields) {
    std::array<unsigned char, attributePartCapacity> buffer{};
    int length = 0;
    EXPECT_EQ(FormRequest(buffer.data(), length, operation, fields), FormResult::Formed);
    return {buffer.begin(), buffer.begin() + length};
}

/// A value of libcups as Show() writes ours.
std::string ShowCups(ipp_attribute_t* attribute, int index);

std::string ShowCups(ipp_attribute_t* attribute) {
    std::string text = ippGetName(attribute);
    const bool isOutOfBand = ippGetValueTag(attribute) < IPP_TAG_INTEGER;
    for (int i = 0; i < (isOutOfBand ? 1 : ippGetCount(attribute)); ++i)
        text += " " + ShowCups(attribute, i);
    return text;
}

std::string ShowCups(ipp_t* members) {
    std::string text;
    for (ipp_attribute_t* m = ippFirstAttribute(members); m; m = ippNextAttribute(members))
        text += (text.empty() ? "" : "; ") + ShowCups(m);
    return "{" + text + "}";
}

std::string ShowCupsText(ipp_attribute_t* attribute, int index) {
    constexpr std::string_view letters = "tn kusclm";
    const ipp_tag_t tag = ippGetValueTag(attribute);
    const char* language = nullptr;
    const std::string text = std::string("'") + ippGetString(attribute, index, &language) + "'";
    if (tag == IPP_TAG_TEXTLANG) return std::string(language) + "w" + text;
    if (tag == IPP_TAG_NAMELANG) return std::string(language) + "a" + text;
    return letters.at(static_cast<unsigned>(tag - IPP_TAG_TEXT)) + text;
}

std::string ShowCupsDate(const ipp_uchar_t* date) {
    std::string text = std::to_string(date[0] * 256 + date[1]);
    for (int i = 2; i < 8; ++i)
        text += "/" + std::to_string(date[i]);
    return text + "/" + (date[8] == '-' ? "-" : "") + std::to_string(date[9] * 60 + date[10]);
}

std::string ShowCups(ipp_attribute_t* attribute, int index) {
    int second = 0;
    ipp_res_t units = IPP_RES_PER_INCH;
    switch (const ipp_tag_t tag = ippGetValueTag(attribute)) {
        case IPP_TAG_INTEGER:
            return "i" + std::to_string(ippGetInteger(attribute, index));
        case IPP_TAG_ENUM:
            return "e" + std::to_string(ippGetInteger(attribute, index));
        case IPP_TAG_BOOLEAN:
            return "b" + std::to_string(ippGetBoolean(attribute, index));
        case IPP_TAG_RANGE:
            return std::to_string(ippGetRange(attribute, index, &second)) + ".." + std::to_string(second);
        case IPP_TAG_RESOLUTION:
            return std::to_string(ippGetResolution(attribute, index, &second, &units)) + "/" +
                   std::to_string(second) + "/" + std::to_string(units);
        case IPP_TAG_STRING: {
            const void* octets = ippGetOctetString(attribute, index, &second);
            return "o'" + std::string(static_cast<const char*>(octets), static_cast<size_t>(second)) + "'";
        }
        case IPP_TAG_DATE:
            return ShowCupsDate(ippGetDate(attribute, index));
        case IPP_TAG_BEGIN_COLLECTION:
            return ShowCups(ippGetCollection(attribute, index));
        default:
            return tag < IPP_TAG_INTEGER ? std::string("<") + ippTagString(tag) + ">"
                                         : ShowCupsText(attribute, index);
    }
}

std::string ShowCups(const CupsMessage& message) {
    std::string text;
    ipp_tag_t group = IPP_TAG_ZERO;
    for (ipp_attribute_t* a = ippFirstAttribute(message.get()); a; a = ippNextAttribute(message.get())) {
        const ipp_tag_t tag = ippGetName(a) ? ippGetGroupTag(a) : IPP_TAG_ZERO;  // none between groups alike
        if (tag == group)
            text += ", ";
        else if (tag != IPP_TAG_ZERO)
            text += (text.empty() ? "" : " | ") + std::to_string(tag) + ": ";
        group = tag;
        if (tag != IPP_TAG_ZERO) text += ShowCups(a);
    }
    return text;
}

Message ExpectReadsAlike(const std::string& body) {
    Message message = ReadResponseData(body);
    const CupsMessage judged = CupsParse(body);
    EXPECT_FALSE(message.GetFault()) << message.GetFault()->offset << ": " << message.GetFault()->reason;
    EXPECT_EQ(message.Code(), static_cast<unsigned>(ippGetStatusCode(judged.get())));
    EXPECT_EQ(message.Header().requestId, static_cast<unsigned>(ippGetRequestId(judged.get())));
    EXPECT_EQ(Show(message), ShowCups(judged));
    return message;
}

TEST(Requests, AreWhatLibcupsWrites) {
    RequestFields fields;
    fields.printerUri = "ipp://p/ipp/print";
    fields.requestedAttributes = "printer-state,media";
    fields.jobUri = "ipp://p/ipp/print/7";
    fields.userName = "ada";
    fields.jobName = "B\xC3\xBCro";
    fields.documentUri = "http://a/report.pdf";
    fields.jobId = 7;
    fields.copies = 2;
    fields.crossFeedResolution = fields.feedResolution = 600;
    fields.resolutionUnits = DotsPerInch;
    fields.fidelity = true;
    for (const int operation : {2, 3, 5, 6, 7, 8, 9, 10, 11, 50}) {
        const std::string request = Form(operation, fields);
        std::string again;
        CupsEncode(CupsParse(request).get(), again);
        EXPECT_EQ(again, request) << operation;
        ExpectReadsAlike(request);
    }
}

TEST(Answers, ReadAlike) {
    ExpectReadsAlike(Header() + WrittenRequest().substr(8));
    const std::string groups = Byte(2) + Integer("id", 1) + Byte(2) + Integer("id", 2) + Begin("c") +
                               Member("m") + Begin() + MemberInteger("n", 1) + End() + Member("p") +
                               Keyword("", "x") + End() + Begin() + MemberInteger("n", 2) + End() +
                               Value(0x30, "o", "a=1;") + Value(0x35, "t", Short(2) + "de" + Short(1) + "x");
    ExpectReadsAlike(Header(0x0406) + groups + endTag);
}

/// \return how many of the numbers have a name: libcups calls each of them the same.
template <class Name, class CupsName>
int CountNames(int end, Name name, CupsName cupsName) {
    int count = 0;
    for (int number = 0; number < end; ++number) {
        if (!name(number)) continue;
        EXPECT_STREQ(name(number), cupsName(number)) << number;
        ++count;
    }
    return count;
}

TEST(Names, AreThoseOfLibcups) {
    EXPECT_EQ(CountNames(0x4000, OperationName, [](int n) { return ippOpString(static_cast<ipp_op_t>(n)); }),
              55);
    EXPECT_EQ(CountNames(
                  0x0600, [](int n) { return StatusName(static_cast<unsigned>(n)); },
                  [](int n) { return ippErrorString(static_cast<ipp_status_t>(n)); }),
              32);
    EXPECT_EQ(CountNames(
                  0x100, [](int n) { return TagName(static_cast<unsigned char>(n)); },
                  [](int n) { return ippTagString(static_cast<ipp_tag_t>(n)); }),
              37);
    const std::pair<const char*, int> attributes[] = {{"job-state", 7},
                                                      {"printer-state", 3},

                                                      {"orientation-requested", 5},
                                                      {"print-quality-default", 3},
                                                      {"finishings-supported", 70},
                                                      {"operations-supported", 55},
                                                      {"copies", 0},
                                                      {"-default", 0}};
    for (const auto& [attribute, count] : attributes) {
        const char* const name = attribute;
        EXPECT_EQ(CountNames(
                      0x100, [name](int n) { return EnumName(name, n); },
                      [name](int n) { return ippEnumString(name, n); }),
                  count)
            << name;
    }
}

/// Of a printer that runs on this machine; its port comes from with_ippeveprinter.sh.
TEST(LivePrinter, TellsItsAttributes) {
    const char* port = std::getenv("CORVIX_IPP_PORT");
    if (!port) GTEST_SKIP() << "no printer runs";
    const std::string uri = std::string("ipp://localhost:") + port + "/ipp/print";
    RequestFields fields;
    fields.printerUri = uri;
    fields.requestedAttributes = "all,media-col-database";
    const std::string request = Form(Operation::GetPrinterAttributes, fields);
    const Message answer = ExpectReadsAlike(CupsExchange(std::atoi(port), request));
    EXPECT_EQ(answer.Code(), 0u);
    EXPECT_EQ(answer.ValueText("printer-name"), "B\xC3\xBCro 1");
}

}  // namespace
}  // namespace Corvix::Ipp
