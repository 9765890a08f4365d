#include "wire/ipp/requestbuilder.h"

#include <gmock/gmock.h>

#include "support/ippbytes.h"
#include "wire/ipp/encodedattributes.h"
#include "wire/ipp/requestwriter.h"
#include "wire/ipp/tags.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;

constexpr std::string_view target = "ipp://p/ipp/print";

std::string Start(int operation) {
    return Byte(2) + Byte(0) + Short(static_cast<std::size_t>(operation)) + Int(100) + Byte(1) +
           Value(0x47, "attributes-charset", "utf-8") + Value(0x48, "attributes-natural-language", "en");
}

std::string StartWithTarget(int operation) { return Start(operation) + Value(0x45, "printer-uri", target); }

std::string Name(std::string_view name, std::string_view value) { return Value(0x42, name, value); }
std::string Uri(std::string_view name, std::string_view value) { return Value(0x45, name, value); }
std::string Flag(std::string_view name, unsigned value) { return Value(0x22, name, Byte(value)); }

struct Outcome {
    FormResult result;
    std::string bytes;
};

Outcome Form(int operation, RequestFields fields) {
    if (fields.printerUri.empty()) fields.printerUri = target;
    std::string buffer(attributePartCapacity, '\0');
    int length = -7;
    const FormResult result =
        FormRequest(reinterpret_cast<unsigned char*>(buffer.data()), length, operation, fields);
    if (result != FormResult::Formed) {
        EXPECT_EQ(length, -7) << "the length is the caller's until all is formed";
    }
    return {result, buffer.substr(0, length < 0 ? 0 : static_cast<std::size_t>(length))};
}

RequestFields FullJob() {
    RequestFields fields;
    fields.userName = "ada";
    fields.jobName = "report";
    fields.documentName = "report.pdf";
    fields.documentUri = "http://a/report.pdf";
    fields.recordPrinterUri = "ipp://other/x";
    fields.jobId = 77;
    fields.copies = 2;
    fields.sides = 1;
    fields.orientation = 4;
    fields.quality = 5;
    fields.multipleDocumentHandling = 2;
    fields.fidelity = true;
    fields.monochrome = true;
    fields.lastDocument = true;
    return fields;
}

struct FormCase {
    const char* what;
    int operation;
    RequestFields fields;
    std::string bytes;
};

template <class Change>
RequestFields With(Change change) {
    RequestFields fields;
    change(fields);
    return fields;
}

std::vector<FormCase> FormCases() {
    const std::string copiesToQuality = Integer("copies", 2) + Keyword("sides", "two-sided-long-edge") +
                                        Integer("orientation-requested", 4) + Integer("print-quality", 5);
    const std::string user = Name("requesting-user-name", "ada");
    const std::string fidelity = Flag("ipp-attribute-fidelity", 1);
    const std::string printing = Uri("printer-uri", "ipp://other/x") + user + Name("job-name", "report") +
                                 fidelity + Name("document-name", "report.pdf");
    const std::string monochrome = Keyword("print-color-mode", "monochrome");
    const std::string createdJob =
        Integer("copies", 2) + Keyword("sides", "two-sided-long-edge") +
        Keyword("multiple-document-handling", "separate_documents_collated_copies") +
        Integer("orientation-requested", 4) + Integer("print-quality", 5);
    return {
        {"Get-Printer-Attributes", 11,
         With([](RequestFields& f) { f.requestedAttributes = "printer-state,media"; }),
         StartWithTarget(11) + Keyword("requested-attributes", "printer-name") +
             Keyword("", "printer-uri-supported") + Keyword("", "printer-state") + Keyword("", "media") +
             endTag},
        {"Get-Job-Attributes: its list is one value", 9, With([](RequestFields& f) {
             f.jobUri = "ipp://p/jobs/7";
             f.requestedAttributes = "job-state,job-id";
         }),
         Start(9) + Uri("job-uri", "ipp://p/jobs/7") + Keyword("requested-attributes", "job-state,job-id") +
             endTag},
        {"Cancel-Job", 8, With([](RequestFields& f) {
             f.jobUri = "ipp://p/jobs/7";
             f.userName = "ada";
         }),
         Start(8) + Uri("job-uri", "ipp://p/jobs/7") + user + endTag},
        {"Get-Jobs of everybody",
         10,
         {},
         StartWithTarget(10) + Keyword("which-jobs", "not-completed") +
             Keyword("requested-attributes", "all") + endTag},
        {"Get-Jobs of a user", 10, With([](RequestFields& f) {
             f.userName = "ada";
             f.completedJobs = true;
         }),
         StartWithTarget(10) + user + Flag("my-jobs", 1) + Keyword("which-jobs", "completed") +
             Keyword("requested-attributes", "all") + endTag},
        {"Print-Job, everything said", 2, FullJob(),
         StartWithTarget(2) + printing + Byte(2) + copiesToQuality + monochrome + endTag},
        {"Print-Job, nothing said", 2, {}, StartWithTarget(2) + Byte(2) + endTag},
        {"streamed Print-Job goes out as Print-Job", 50, FullJob(),
         StartWithTarget(2) + printing + Byte(2) + copiesToQuality + monochrome + endTag},
        {"Print-URI", 3, FullJob(),
         StartWithTarget(3) + printing + Uri("document-uri", "http://a/report.pdf") + Byte(2) +
             copiesToQuality + monochrome + endTag},
        {"Create-Job", 5, FullJob(),
         StartWithTarget(5) + user + Name("job-name", "report") + fidelity + Byte(2) + createdJob + endTag},
        {"Send-URI", 7, FullJob(),
         StartWithTarget(7) + Integer("job-id", 77) + user + Name("job-name", "report") + fidelity +
             Name("document-name", "report.pdf") + Uri("document-uri", "http://a/report.pdf") +
             Flag("last-document", 1) + Byte(2) + createdJob + endTag},
        {"Send-Document", 6, FullJob(),
         StartWithTarget(6) + Integer("job-id", 77) + user + Name("document-name", "report.pdf") +
             Flag("last-document", 1) + fidelity + endTag},
        {"Send-Document with more to come", 6, With([](RequestFields& f) { f.jobId = 1; }),
         StartWithTarget(6) + Integer("job-id", 1) + Flag("last-document", 0) + endTag},
        {"an operation of the caller's", 4, With([](RequestFields& f) { f.userName = "ada"; }),
         StartWithTarget(4) + endTag},
    };
}

TEST(RequestBuilder, FormsEachOperation) {
    for (const FormCase& test : FormCases()) {
        const Outcome outcome = Form(test.operation, test.fields);
        EXPECT_EQ(outcome.result, FormResult::Formed) << test.what;
        EXPECT_EQ(outcome.bytes, test.bytes) << test.what;
    }
}

struct ChoiceCase {
    const char* what;
    RequestFields fields;
    std::string attributes;  // of the job group
};

TEST(RequestBuilder, SaysOnlyChoicesThatHaveAMeaning) {
    const auto sides = [](int value) { return With([=](RequestFields& f) { f.sides = value; }); };
    const auto handling = [](int value) {
        return With([=](RequestFields& f) { f.multipleDocumentHandling = value; });
    };
    const auto orientation = [](int value) { return With([=](RequestFields& f) { f.orientation = value; }); };
    const auto quality = [](int value) { return With([=](RequestFields& f) { f.quality = value; }); };
    const auto optimize = [](int value) {
        return With([=](RequestFields& f) { f.contentOptimize = value; });
    };
    const auto dots = [](int x, int y) {
        return With([=](RequestFields& f) {
            f.crossFeedResolution = x;
            f.feedResolution = y;
            f.resolutionUnits = DotsPerInch;
        });
    };
    const ChoiceCase cases[] = {
        {"sides -1", sides(-1), ""},
        {"sides 0", sides(0), Keyword("sides", "one-sided")},
        {"sides 1", sides(1), Keyword("sides", "two-sided-long-edge")},
        {"sides 2", sides(2), Keyword("sides", "two-sided-short-edge")},
        {"sides 3", sides(3), ""},
        {"handling 0", handling(0), ""},
        {"handling 1", handling(1),
         Keyword("multiple-document-handling", "separate_documents_uncollated_copies")},
        {"handling 2", handling(2),
         Keyword("multiple-document-handling", "separate_documents_collated_copies")},
        {"handling 3", handling(3), Keyword("multiple-document-handling", "single_document_new_sheet")},
        {"handling 4", handling(4), ""},
        {"orientation 2", orientation(2), ""},
        {"orientation 3", orientation(3), Integer("orientation-requested", 3)},
        {"quality 2", quality(2), ""},
        {"quality 3", quality(3), Integer("print-quality", 3)},
        {"optimize 0", optimize(0), ""},
        {"optimize 5", optimize(5), Keyword("print-content-optimize", "text-and-graphic")},
        {"optimize 6", optimize(6), ""},
        {"resolution", dots(600, 300), Value(0x32, "printer-resolution", Int(600) + Int(300) + "\x03")},
        {"half a resolution", dots(600, 0), ""},
    };
    for (const ChoiceCase& test : cases) {
        EXPECT_EQ(Form(Operation::CreateJob, test.fields).bytes,
                  StartWithTarget(5) + Byte(2) + test.attributes + endTag)
            << test.what;
    }
}

TEST(RequestBuilder, AddsTheCallersAttributesInTheirOrder) {
    const std::string media = Keyword("media", "iso_a4_210x297mm");
    const std::string format = Value(0x49, "document-format", "image/urf");
    const std::string finishings = Value(0x23, "finishings", Int(4));
    RequestFields fields;
    fields.copies = 1;
    fields.extras = {{false, media}, {true, format}, {false, finishings}};
    EXPECT_EQ(Form(Operation::PrintJob, fields).bytes,
              StartWithTarget(2) + format + Byte(2) + Integer("copies", 1) + media + finishings + endTag);
    EXPECT_EQ(Form(Operation::CancelJob, fields).bytes, Start(8) + format + media + finishings + endTag);
}

TEST(RequestBuilder, LeavesCopiesToTheCaller) {
    const std::string own = Integer("copies", 9);
    RequestFields fields;
    fields.copies = 1;
    fields.extras = {{false, own}};
    fields.extrasHoldCopies = true;
    EXPECT_EQ(Form(Operation::CreateJob, fields).bytes, StartWithTarget(5) + Byte(2) + own + endTag);
}

TEST(EncodedAttributes, TellTheirNames) {
    const std::string attributes = Byte(2) + Keyword("media", "copies") + Keyword("", "a4") +
                                   Begin("media-col") + MemberInteger("copies", 1) + End() +
                                   Integer("sides", 1);
    EXPECT_THAT(NamesOfAttributes(attributes), testing::ElementsAre("media", "media-col", "sides"));
    for (std::size_t size = 0; size < attributes.size(); ++size)
        EXPECT_LT(NamesOfAttributes(std::string_view(attributes).substr(0, size)).size(), 3u) << size;
}

TEST(EncodedAttributes, AreEncodedOneByOne) {
    const std::string longest(1023, 'x');
    std::string encoded;
    EXPECT_TRUE(EncodeAttribute(0x44, "media", "a4", encoded));
    EXPECT_TRUE(EncodeAttribute(0x13, longest, "", encoded));
    EXPECT_TRUE(EncodeAttribute(0x30, "x", longest, encoded));
    const std::string good = Keyword("media", "a4") + Value(0x13, longest, "") + Value(0x30, "x", longest);
    EXPECT_EQ(encoded, good);
    EXPECT_FALSE(EncodeAttribute(0x44, "", "a4", encoded));
    EXPECT_FALSE(EncodeAttribute(0x02, "media", "a4", encoded));
    EXPECT_FALSE(EncodeAttribute(0x44, longest + "x", "a4", encoded));
    EXPECT_FALSE(EncodeAttribute(0x44, "media", longest + "x", encoded));
    EXPECT_EQ(encoded, good);
}

TEST(RequestBuilder, RefusesWhatDoesNotFit) {
    RequestFields fields;
    fields.requestedAttributes = "all";
    fields.userName = "ada";
    fields.copies = 1;
    fields.lastDocument = true;
    for (const FormCase& test : FormCases()) {
        const std::size_t fixed = Form(test.operation, fields).bytes.size();
        const std::string filler(attributePartLimit - fixed, 'x');
        RequestFields full = fields;
        full.extras = {{false, filler}};
        EXPECT_EQ(Form(test.operation, full).bytes.size(), std::size_t{attributePartLimit}) << test.what;
        const std::string longer = filler + 'x';
        full.extras = {{false, longer}};
        EXPECT_EQ(Form(test.operation, full).result, FormResult::Refused) << test.what;
    }
}

TEST(RequestBuilder, RefusesAListThatSlippedPastTheLimit) {
    const std::string commas(600, ',');
    RequestFields fields;
    fields.requestedAttributes = commas;
    EXPECT_EQ(Form(Operation::GetPrinterAttributes, fields).result, FormResult::Refused);
}

TEST(RequestBuilder, AsksAPrinterForSomething) {
    EXPECT_EQ(Form(Operation::GetPrinterAttributes, {}).result, FormResult::NothingRequested);
}

}  // namespace
}  // namespace Corvix::Ipp
