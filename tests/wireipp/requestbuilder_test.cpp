#include "wire/ipp/requestbuilder.h"

#include <gmock/gmock.h>

#include <limits>

#include "show.h"
#include "support/ippbytes.h"
#include "wire/ipp/encodedattributes.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/requestwriter.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;

struct Outcome {
    FormResult result;
    std::string bytes;
};

Outcome Form(int operation, RequestFields fields) {
    fields.printerUri = "ipp://p";
    std::string buffer(attributePartCapacity, '\0');
    int length = -7;
    const FormResult result =
        FormRequest(reinterpret_cast<unsigned char*>(buffer.data()), length, operation, fields);
    if (result != FormResult::Formed) {
        EXPECT_EQ(length, -7) << "the length is the caller's until all is formed";
    }
    return {result, buffer.substr(0, length < 0 ? 0 : static_cast<std::size_t>(length))};
}

const std::string start = "1: attributes-charset c'utf-8', attributes-natural-language l'en'";
const std::string withTarget = start + ", printer-uri u'ipp://p'";

/// The request as it reads back, without what every request begins with.
std::string Shown(int operation, const RequestFields& fields) {
    const Outcome outcome = Form(operation, fields);
    if (outcome.result != FormResult::Formed) return "not formed";
    MessageReader reader(MessageKind::Request);
    EXPECT_FALSE(reader.Append(outcome.bytes)) << "ends with its end tag";
    EXPECT_EQ(reader.Rest(), "");
    const Message message = reader.Finish();
    EXPECT_EQ(message.Code(), operation == 50 ? 2u : static_cast<unsigned>(operation));
    EXPECT_EQ(message.Header().requestId, 100u);
    const std::string text = Show(message);
    const std::string& beginning = operation == 8 || operation == 9 ? start : withTarget;
    EXPECT_EQ(text.compare(0, beginning.size(), beginning), 0) << text;
    return text.substr(beginning.size());
}

template <class Change>
RequestFields With(Change change) {
    RequestFields fields;
    change(fields);
    return fields;
}

const RequestFields fullJob = With([](RequestFields& f) {
    f.userName = "ada";
    f.jobName = "report";
    f.documentName = "report.pdf";
    f.documentUri = "http://a/b";
    f.recordPrinterUri = "ipp://other";
    f.jobUri = "ipp://p/7";
    f.jobId = 77;
    f.copies = 2;
    f.sides = 1;
    f.orientation = 4;
    f.quality = 5;
    f.multipleDocumentHandling = 2;
    f.contentOptimize = 3;
    f.crossFeedResolution = 600;
    f.feedResolution = 300;
    f.resolutionUnits = DotsPerInch;
    f.fidelity = f.monochrome = f.lastDocument = true;
});

struct FormCase {
    const char* what;
    int operation;
    RequestFields fields;
    std::string shown;
};

std::vector<FormCase> FormCases() {
    const auto requested = [](std::string_view names) {
        return With([=](RequestFields& f) { f.requestedAttributes = names; });
    };
    const std::string user = ", requesting-user-name n'ada'";
    const std::string named = user + ", job-name n'report', ipp-attribute-fidelity b1";
    const std::string printing = ", printer-uri u'ipp://other'" + named + ", document-name n'report.pdf'";
    const std::string copies = " | 2: copies i2, sides k'two-sided-long-edge', ";
    const std::string quality = "orientation-requested i4, print-quality i5, ";
    const std::string rendering = "printer-resolution 600/300/3, print-content-optimize k'photo'";
    const std::string printed = copies + quality + "print-color-mode k'monochrome', " + rendering;
    const std::string created =
        copies + "multiple-document-handling k'separate_documents_collated_copies', " + quality + rendering;
    return {
        {"a list is a set", 11, requested("a,b"),
         ", requested-attributes k'printer-name' k'printer-uri-supported' k'a' k'b'"},
        {"nothing is asked for", 11, {}, "not formed"},
        {"the list of Get-Job-Attributes is one value", 9, requested("a,b"), ", requested-attributes k'a,b'"},
        {"Cancel-Job", 8, fullJob, ", job-uri u'ipp://p/7'" + user},
        {"Get-Jobs", 10, {}, ", which-jobs k'not-completed', requested-attributes k'all'"},
        {"Get-Jobs of a user", 10, With([](RequestFields& f) {
             f.userName = "ada";
             f.completedJobs = true;
         }),
         user + ", my-jobs b1, which-jobs k'completed', requested-attributes k'all'"},
        {"Get-Jobs of all, asked by a user", 10, With([](RequestFields& f) {
             f.userName = "ada";
             f.jobsOfAllUsers = true;
             f.requestedAttributes = "a,b";
         }),
         user + ", which-jobs k'not-completed', requested-attributes k'a' k'b'"},
        {"Print-Job", 2, fullJob, printing + printed},
        {"Print-Job, nothing said", 2, {}, " | 2:"},
        {"streamed Print-Job", 50, fullJob, printing + printed},
        {"Print-URI", 3, fullJob, printing + ", document-uri u'http://a/b'" + printed},
        {"Create-Job", 5, fullJob, named + created},
        {"Send-URI", 7, fullJob,
         ", job-id i77" + named +
             ", document-name n'report.pdf', document-uri u'http://a/b', last-document b1" + created},
        {"Send-Document", 6, fullJob,
         ", job-id i77" + user +
             ", document-name n'report.pdf', last-document b1, ipp-attribute-fidelity b1"},
        {"Send-Document, more to come", 6, {}, ", last-document b0"},
        {"an operation of the caller's", 4, fullJob, ""},
    };
}

TEST(RequestBuilder, FormsEachOperation) {
    for (const FormCase& test : FormCases())
        EXPECT_EQ(Shown(test.operation, test.fields), test.shown) << test.what;
}

TEST(RequestBuilder, SaysOnlyChoicesThatHaveAMeaning) {
    const struct {
        int RequestFields::*field;
        int value;
        std::string shown;
    } cases[] = {
        {&RequestFields::sides, -1, ""},
        {&RequestFields::sides, 0, " sides k'one-sided'"},
        {&RequestFields::sides, 2, " sides k'two-sided-short-edge'"},
        {&RequestFields::sides, 3, ""},
        {&RequestFields::multipleDocumentHandling, std::numeric_limits<int>::min(), ""},
        {&RequestFields::multipleDocumentHandling, 0, ""},
        {&RequestFields::multipleDocumentHandling, 1,
         " multiple-document-handling k'separate_documents_uncollated_copies'"},
        {&RequestFields::multipleDocumentHandling, 3,
         " multiple-document-handling k'single_document_new_sheet'"},
        {&RequestFields::multipleDocumentHandling, 4, ""},
        {&RequestFields::orientation, 2, ""},
        {&RequestFields::orientation, 3, " orientation-requested i3"},
        {&RequestFields::quality, 2, ""},
        {&RequestFields::quality, 3, " print-quality i3"},
        {&RequestFields::contentOptimize, 0, ""},
        {&RequestFields::contentOptimize, 5, " print-content-optimize k'text-and-graphic'"},
        {&RequestFields::contentOptimize, 6, ""},
        {&RequestFields::crossFeedResolution, 600, ""},
        {&RequestFields::feedResolution, 600, ""},
    };
    for (const auto& [field, value, shown] : cases) {
        RequestFields fields;
        fields.*field = value;
        EXPECT_EQ(Shown(Operation::CreateJob, fields), " | 2:" + shown) << value;
    }
}

TEST(RequestBuilder, AddsTheCallersAttributesInTheirOrder) {
    const std::string media = Keyword("media", "a4");
    const std::string format = Value(0x49, "document-format", "image/urf");
    const std::string copies = Integer("copies", 9);
    RequestFields fields;
    fields.copies = 1;
    fields.extras = {{false, media}, {true, format}, {false, copies}};
    EXPECT_EQ(Shown(Operation::PrintJob, fields),
              ", document-format m'image/urf' | 2: copies i1, media k'a4', copies i9");
    fields.extrasHoldCopies = true;
    EXPECT_EQ(Shown(Operation::PrintJob, fields),
              ", document-format m'image/urf' | 2: media k'a4', copies i9");
    EXPECT_EQ(Shown(Operation::CancelJob, fields), ", document-format m'image/urf', media k'a4', copies i9");
}

TEST(RequestBuilder, RefusesWhatDoesNotFit) {
    RequestFields fields = fullJob;
    fields.requestedAttributes = "all";
    for (const FormCase& test : FormCases()) {
        const std::size_t fixed = Form(test.operation, fields).bytes.size();
        const std::string filler(attributePartLimit - fixed + 1, 'x');
        RequestFields full = fields;
        full.extras = {{false, std::string_view(filler).substr(1)}};
        EXPECT_EQ(Form(test.operation, full).bytes.size(), std::size_t{attributePartLimit}) << test.what;
        full.extras = {{false, filler}};
        EXPECT_EQ(Form(test.operation, full).result, FormResult::Refused) << test.what;
    }
    const std::string commas(600, ',');
    fields.requestedAttributes = commas;
    EXPECT_EQ(Form(Operation::GetPrinterAttributes, fields).result, FormResult::Refused)
        << "a list that slipped past the limit";
}

TEST(EncodedAttributes, TellTheirNames) {
    const std::string attributes = Byte(2) + Keyword("media", "copies") + Keyword("", "a4") +
                                   Begin("media-col") + MemberInteger("copies", 1) + End() +
                                   Value(0x10, "sides", "");
    EXPECT_THAT(NamesOfAttributes(attributes), testing::ElementsAre("media", "media-col", "sides"));
    for (std::size_t size = 0; size < attributes.size(); ++size)
        EXPECT_LT(NamesOfAttributes(std::string_view(attributes).substr(0, size)).size(), 3u) << size;
}

TEST(EncodedAttributes, AreEncodedOneByOne) {
    const std::string longest(1023, 'x');
    const struct {
        unsigned char tag;
        std::string name;
        std::string value;
        bool good;
    } cases[] = {{0x44, "media", "a4", true},          {0x10, longest, "", true},
                 {0x30, "x", longest, true},           {0x44, "", "a4", false},
                 {0x0F, "media", "a4", false},         {0x44, longest + "x", "a4", false},
                 {0x44, "media", longest + "x", false}};
    for (const auto& [tag, name, value, good] : cases) {
        std::string encoded = "before";
        EXPECT_EQ(EncodeAttribute(tag, name, value, encoded), good);
        EXPECT_EQ(encoded, "before" + (good ? Value(tag, name, value) : ""));
    }
}

}  // namespace
}  // namespace Corvix::Ipp
