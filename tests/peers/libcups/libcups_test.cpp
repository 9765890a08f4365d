// Our requests as libcups reads them, and responses of libcups and of a running printer as we read them.
#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "cupstext.h"
#include "support/libcups.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/names.h"
#include "wire/ipp/requestbuilder.h"
#include "wire/ipp/requestwriter.h"
#include "wire/ipp/tags.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;

std::string Form(int operation, const RequestFields& fields) {
    std::array<unsigned char, attributePartCapacity> buffer{};
    int length = 0;
    EXPECT_EQ(FormRequest(buffer.data(), length, operation, fields), FormResult::Formed);
    return {buffer.begin(), buffer.begin() + length};
}

RequestFields FullFields() {
    RequestFields fields;
    fields.language = "de";
    fields.printerUri = "ipp://p/ipp/print";
    fields.requestedAttributes = "printer-state,media";
    fields.jobUri = "ipp://p/ipp/print/7";
    fields.userName = "ada";
    fields.jobName = "B\xC3\xBCro";
    fields.documentName = "report.pdf";
    fields.documentUri = "http://a/report.pdf";
    fields.jobId = 7;
    fields.copies = 2;
    fields.sides = 2;
    fields.orientation = 4;
    fields.quality = 5;
    fields.multipleDocumentHandling = 3;
    fields.contentOptimize = 3;
    fields.crossFeedResolution = 600;
    fields.feedResolution = 300;
    fields.resolutionUnits = DotsPerInch;
    fields.fidelity = true;
    fields.monochrome = true;
    fields.lastDocument = true;
    return fields;
}

/// A request as libcups understands it: one line for each attribute.
std::vector<std::string> ReadByCups(const std::string& request) {
    const CupsMessage message = CupsParse(request);
    std::vector<std::string> lines;
    for (ipp_attribute_t* a = ippFirstAttribute(message.get()); a; a = ippNextAttribute(message.get())) {
        std::string text(ippAttributeString(a, nullptr, 0), '\0');
        ippAttributeString(a, text.data(), text.size() + 1);
        lines.push_back(std::string(ippTagString(ippGetGroupTag(a))) + " " + ippGetName(a) + " " +
                        ippTagString(ippGetValueTag(a)) + " " + text);
    }
    return lines;
}

struct Meaning {
    int operation;
    std::vector<std::string> lines;
};

std::vector<Meaning> Meanings() {
    const std::string o = "operation-attributes-tag ";
    const std::string j = "job-attributes-tag ";
    const std::string target = o + "printer-uri uri ipp://p/ipp/print";
    const std::string user = o + "requesting-user-name nameWithoutLanguage ada";
    const std::string name = o + "job-name nameWithoutLanguage B\xC3\xBCro";
    const std::string fidelity = o + "ipp-attribute-fidelity boolean true";
    const std::string document = o + "document-name nameWithoutLanguage report.pdf";
    const std::string documentUri = o + "document-uri uri http://a/report.pdf";
    const std::string jobUri = o + "job-uri uri ipp://p/ipp/print/7";
    const std::string jobId = o + "job-id integer 7";
    const std::string lastDocument = o + "last-document boolean true";
    const std::string copies = j + "copies integer 2";
    const std::string sides = j + "sides keyword two-sided-short-edge";
    const std::string orientation = j + "orientation-requested integer 4";
    const std::string quality = j + "print-quality integer 5";
    const std::string color = j + "print-color-mode keyword monochrome";
    const std::string handling = j + "multiple-document-handling keyword single_document_new_sheet";
    const std::string resolution = j + "printer-resolution resolution 600x300dpi";
    const std::string optimize = j + "print-content-optimize keyword photo";
    return {
        {2,
         {target, user, name, fidelity, document, copies, sides, orientation, quality, color, resolution,
          optimize}},
        {50,
         {target, user, name, fidelity, document, copies, sides, orientation, quality, color, resolution,
          optimize}},
        {3,
         {target, user, name, fidelity, document, documentUri, copies, sides, orientation, quality, color,
          resolution, optimize}},
        {5,
         {target, user, name, fidelity, copies, sides, handling, orientation, quality, resolution, optimize}},
        {6, {target, jobId, user, document, lastDocument, fidelity}},
        {7,
         {target, jobId, user, name, fidelity, document, documentUri, lastDocument, copies, sides, handling,
          orientation, quality, resolution, optimize}},
        {8, {jobUri, user}},
        {9, {jobUri, o + "requested-attributes keyword printer-state,media"}},
        {10,
         {target, user, o + "my-jobs boolean true", o + "which-jobs keyword not-completed",
          o + "requested-attributes keyword all"}},
        {11,
         {target, o + "requested-attributes keyword printer-name,printer-uri-supported,printer-state,media"}},
    };
}

TEST(RequestsReadByLibcups, MeanWhatWasMeant) {
    for (const Meaning& test : Meanings()) {
        const std::string request = Form(test.operation, FullFields());
        const CupsMessage message = CupsParse(request);
        EXPECT_EQ(ippGetOperation(message.get()), test.operation == 50 ? 2 : test.operation);
        EXPECT_EQ(ippGetRequestId(message.get()), 100);
        int minor = -1;
        EXPECT_EQ(ippGetVersion(message.get(), &minor), 2);
        EXPECT_EQ(minor, 0);
        std::vector<std::string> lines = {
            "operation-attributes-tag attributes-charset charset utf-8",
            "operation-attributes-tag attributes-natural-language naturalLanguage de"};
        lines.insert(lines.end(), test.lines.begin(), test.lines.end());
        EXPECT_EQ(ReadByCups(request), lines) << test.operation;
        std::string again;
        CupsEncode(message.get(), again);
        EXPECT_EQ(again, request) << "libcups writes the same bytes";
    }
}

/// Every attribute that libcups reads, and every member in it, reads alike with us.
void ExpectReadsAlike(const std::string& body) {
    const Message response = ReadResponseData(body);
    ASSERT_FALSE(response.GetFault()) << response.GetFault()->offset << ": " << response.GetFault()->reason;
    const CupsMessage message = CupsParse(body);
    EXPECT_EQ(response.Code(), static_cast<unsigned>(ippGetStatusCode(message.get())));
    std::size_t kept = 0;
    for (ipp_attribute_t* a = ippFirstAttribute(message.get()); a; a = ippNextAttribute(message.get())) {
        if (!ippGetName(a)) continue;
        const auto texts = ExpectedTexts(a);
        EXPECT_EQ(response.Contains(ippGetName(a)), !texts.empty()) << ippGetName(a);
        for (const auto& [name, text] : texts)
            EXPECT_EQ(response.ValueText(name), text) << name;
        kept += texts.empty() ? 0 : 1;
    }
    EXPECT_EQ(response.Names().size(), kept);
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
                  0x100,
                  [](int n) {
                      const auto tag = static_cast<unsigned char>(n);
                      return n < Tag::FirstValue ? GroupName(tag) : TagName(tag);
                  },
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

CupsMessage MediaCol(int width, const char* type) {
    const CupsMessage size(ippNew());
    ippAddInteger(size.get(), IPP_TAG_ZERO, IPP_TAG_INTEGER, "x-dimension", width);
    ippAddRange(size.get(), IPP_TAG_ZERO, "y-dimension", 1000, 2000);
    CupsMessage media(ippNew());
    ippAddCollection(media.get(), IPP_TAG_ZERO, "media-size", size.get());
    ippAddString(media.get(), IPP_TAG_ZERO, IPP_TAG_KEYWORD, "media-type", nullptr, type);
    const char* const sources[] = {"main", "manual"};
    ippAddStrings(media.get(), IPP_TAG_ZERO, IPP_TAG_KEYWORD, "media-source", 2, nullptr, sources);
    return media;
}

TEST(ResponsesWrittenByLibcups, ReadAlike) {
    const CupsMessage message(ippNew());
    ipp_t* m = message.get();
    ippSetStatusCode(m, IPP_STATUS_OK_IGNORED_OR_SUBSTITUTED);
    const ipp_tag_t p = IPP_TAG_PRINTER;
    ippAddString(m, IPP_TAG_OPERATION, IPP_TAG_CHARSET, "attributes-charset", nullptr, "utf-8");
    const int numbers[] = {1, -1, 2147483647};
    ippAddIntegers(m, p, IPP_TAG_INTEGER, "numbers", 3, numbers);
    ippAddInteger(m, p, IPP_TAG_ENUM, "state", 5);
    const char flags[] = {1, 0};
    ippAddBooleans(m, p, "flags", 2, flags);
    const int lower[] = {1, -5};
    const int upper[] = {99, 5};
    ippAddRanges(m, p, "ranges", 2, lower, upper);
    const int across[] = {300, 1200};
    const int along[] = {300, 600};
    ippAddResolutions(m, p, "resolutions", 2, IPP_RES_PER_CM, across, along);
    ippAddOctetString(m, p, "supply", "type=toner;level=5;", 19);
    const char* const words[] = {"a", "", "c"};
    ippAddStrings(m, p, IPP_TAG_KEYWORD, "words", 3, nullptr, words);
    ippAddString(m, p, IPP_TAG_TEXT, "text", nullptr, "B\xC3\xBCro");
    ippAddString(m, p, IPP_TAG_TEXT, "text-with-language", "de", "B\xC3\xBCro");
    ippAddString(m, p, IPP_TAG_NAME, "name-with-language", "de", "B\xC3\xBCro");
    ippAddString(m, p, IPP_TAG_URISCHEME, "scheme", nullptr, "ipps");
    ippAddString(m, p, IPP_TAG_MIMETYPE, "format", nullptr, "image/urf");
    const ipp_uchar_t date[11] = {7, 230, 1, 2, 3, 4, 5, 0, '+', 2, 0};
    ippAddDate(m, p, "date", date);
    ippAddOutOfBand(m, p, IPP_TAG_NOVALUE, "no-value");
    ippAddOutOfBand(m, p, IPP_TAG_UNKNOWN, "unknown");
    const CupsMessage plain = MediaCol(21000, "plain");
    const CupsMessage photo = MediaCol(10000, "photo");
    const ipp_t* media[] = {plain.get(), photo.get()};
    ippAddCollections(m, p, "media-col-ready", 2, media);
    std::string body;
    CupsEncode(m, body);
    ExpectReadsAlike(body);
}

/// A printer that runs on this machine; its port comes from with_ippeveprinter.sh.
class LivePrinter : public testing::Test {
protected:
    void SetUp() override {
        const char* port = std::getenv("CORVIX_IPP_PORT");
        if (!port) GTEST_SKIP() << "no printer runs";
        port_ = std::atoi(port);
        uri_ = std::string("ipp://localhost:") + port + "/ipp/print";
    }
    Message Exchange(int operation, RequestFields fields, const std::string& document = {}) {
        fields.printerUri = uri_;
        const std::string answer = CupsExchange(port_, Form(operation, fields) + document);
        ExpectReadsAlike(answer);
        return ReadResponseData(answer);
    }

    /// The printer takes one job at a time.
    bool BecomesIdle() {
        RequestFields fields;
        fields.requestedAttributes = "printer-state";
        for (int i = 0; i < 200; ++i) {
            if (Exchange(Operation::GetPrinterAttributes, fields).ValueText("printer-state") == "3")
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

    int port_ = 0;
    std::string uri_;
};

TEST_F(LivePrinter, TellsItsAttributes) {
    RequestFields fields;
    fields.requestedAttributes = "all,media-col-database";
    const Message response = Exchange(Operation::GetPrinterAttributes, fields);
    EXPECT_EQ(response.Code(), 0u);
    EXPECT_EQ(response.ValueText("printer-name"), "B\xC3\xBCro 1");
    EXPECT_EQ(response.ValueText("printer-state"), "3");
    EXPECT_TRUE(response.ValueText("media-col-database.media-size.x-dimension"));
    fields.requestedAttributes = "printer-state";
    EXPECT_LE(Exchange(Operation::GetPrinterAttributes, fields).Names().size(), 5u);
}

TEST_F(LivePrinter, PrintsAndTellsOfTheJob) {
    RequestFields fields;
    fields.userName = "ada";
    fields.jobName = "report";
    fields.copies = 2;
    ASSERT_TRUE(BecomesIdle());
    const Message printed = Exchange(Operation::PrintJob, fields, "%PDF-1.4 a document");
    EXPECT_EQ(printed.Code(), 0u) << printed.ValueText("status-message").value_or("");
    const std::string jobUri = printed.ValueText("job-uri").value_or("");
    EXPECT_FALSE(jobUri.empty());

    fields.jobUri = jobUri;
    const Message job = Exchange(Operation::GetJobAttributes, fields);
    EXPECT_EQ(job.Code(), 0u);
    EXPECT_EQ(job.ValueText("job-id"), printed.ValueText("job-id"));
    for (const bool completed : {false, true}) {
        fields.completedJobs = completed;
        EXPECT_EQ(Exchange(Operation::GetJobs, fields).Code(), 0u);
    }
    EXPECT_TRUE(Exchange(Operation::CancelJob, fields).HasHeader());
}

TEST_F(LivePrinter, TakesAJobInParts) {
    RequestFields fields;
    fields.userName = "ada";
    fields.jobName = "in parts";
    ASSERT_TRUE(BecomesIdle());
    const Message created = Exchange(Operation::CreateJob, fields);
    EXPECT_EQ(created.Code(), 0u) << created.ValueText("status-message").value_or("");
    fields.jobId = static_cast<unsigned>(std::stoul(created.ValueText("job-id").value_or("0")));
    fields.lastDocument = true;
    const Message sent = Exchange(Operation::SendDocument, fields, "%PDF-1.4 a document");
    EXPECT_EQ(sent.Code(), 0u) << sent.ValueText("status-message").value_or("");
}

TEST_F(LivePrinter, FindsNoJobThatIsNotThere) {
    RequestFields fields;
    const std::string jobUri = uri_ + "/999999";
    fields.jobUri = jobUri;
    fields.userName = "ada";
    for (const int operation : {Operation::GetJobAttributes, Operation::CancelJob})
        EXPECT_EQ(Exchange(operation, fields).Code(), 0x0406u);
}

}  // namespace
}  // namespace Corvix::Ipp
