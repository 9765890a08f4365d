#include "wire/ipp/requestbuilder.h"

#include <array>
#include <string>

#include "wire/ipp/requestwriter.h"
#include "wire/ipp/tags.h"

namespace Corvix::Ipp {
namespace {

constexpr std::array<std::string_view, 3> sidesKeywords = {"one-sided", "two-sided-long-edge",
                                                           "two-sided-short-edge"};

// The underscores are meant: printers served by this engine know these spellings.
constexpr std::array<std::string_view, 3> documentHandlingKeywords = {"separate_documents_uncollated_copies",
                                                                      "separate_documents_collated_copies",
                                                                      "single_document_new_sheet"};

constexpr std::array<std::string_view, 5> contentOptimizeKeywords = {"auto", "graphic", "photo", "text",
                                                                     "text-and-graphic"};

/// The keyword of a number, counted from `first`; empty when the number has none.
template <std::size_t count>
std::string_view KeywordOf(const std::array<std::string_view, count>& keywords, int number, int first) {
    if (number < first) return {};
    const auto index = static_cast<std::size_t>(number - first);
    return index < count ? keywords[index] : std::string_view();
}

/// The attribute part as it grows. After a writer refused, nothing more is written.
class Part {
public:
    explicit Part(unsigned char* buffer) : buffer_(buffer) {}

    Part& Header(int operation, const RequestFields& fields) {
        return Take(AddHeader(buffer_, length_, operation, fields.language, fields.printerUri));
    }
    /// Leaves an empty text out.
    Part& Text(unsigned char tag, std::string_view name, std::string_view value) {
        if (refused_ || value.empty()) return *this;
        return Take(AddStringToIPPRequest(buffer_, length_, tag, name, value));
    }
    Part& Set(unsigned char tag, std::string_view name, std::string_view list) {
        return refused_ ? *this : Take(AddStringsToIPPRequest(buffer_, length_, tag, name, list));
    }
    template <class Number>
    Part& IntegerIf(bool wanted, std::string_view name, Number value) {
        if (refused_ || !wanted) return *this;
        const auto number = static_cast<std::int32_t>(value);
        return Take(AddIntegerToIPPRequest(buffer_, length_, Tag::Integer, name, number));
    }
    Part& Flag(std::string_view name, bool value) {
        return refused_ ? *this : Take(AddBooleanToIPPRequest(buffer_, length_, name, value ? 1 : 0));
    }
    Part& TrueIf(bool wanted, std::string_view name) { return wanted ? Flag(name, true) : *this; }
    Part& Resolution(const RequestFields& fields) {
        if (refused_ || fields.crossFeedResolution <= 0 || fields.feedResolution <= 0) return *this;
        return Take(AddResolutionToIPPRequest(buffer_, length_, "printer-resolution", fields.resolutionUnits,
                                              fields.crossFeedResolution, fields.feedResolution));
    }
    Part& Extras(const RequestFields& fields, bool ofOperationGroup) {
        for (const EncodedAttributes& extra : fields.extras) {
            if (refused_) break;
            if (extra.operationGroup == ofOperationGroup)
                Take(AddIPPAttributesToIPPHeader(buffer_, length_, extra.bytes));
        }
        return *this;
    }
    Part& Delimiter(unsigned char tag) {
        return refused_ ? *this : Take(AddDelimiter(buffer_, length_, tag));
    }

    bool Refused() const { return refused_; }
    int Length() const { return length_; }

private:
    Part& Take(int result) {
        refused_ = refused_ || result != Written;
        return *this;
    }

    unsigned char* buffer_;
    int length_ = 0;
    bool refused_ = false;
};

void AddUserName(Part& part, const RequestFields& fields) {
    part.Text(Tag::NameWithoutLanguage, "requesting-user-name", fields.userName);
}

void AddJobName(Part& part, const RequestFields& fields) {
    part.Text(Tag::NameWithoutLanguage, "job-name", fields.jobName);
}

void AddDocumentName(Part& part, const RequestFields& fields) {
    part.Text(Tag::NameWithoutLanguage, "document-name", fields.documentName);
}

void AddRecordPrinterUri(Part& part, const RequestFields& fields) {
    part.Text(Tag::Uri, "printer-uri", fields.recordPrinterUri);
}

void AddJobUri(Part& part, const RequestFields& fields) { part.Text(Tag::Uri, "job-uri", fields.jobUri); }

void AddDocumentUri(Part& part, const RequestFields& fields) {
    part.Text(Tag::Uri, "document-uri", fields.documentUri);
}

void AddFidelity(Part& part, const RequestFields& fields) {
    part.TrueIf(fields.fidelity, "ipp-attribute-fidelity");
}

void AddJobId(Part& part, const RequestFields& fields) {
    part.IntegerIf(fields.jobId > 0, "job-id", fields.jobId);
}

void AddLastDocument(Part& part, const RequestFields& fields) {
    part.Flag("last-document", fields.lastDocument);
}

void AddCopiesAndSides(Part& part, const RequestFields& fields) {
    part.IntegerIf(fields.copies > 0 && !fields.extrasHoldCopies, "copies", fields.copies)
        .Text(Tag::Keyword, "sides", KeywordOf(sidesKeywords, fields.sides, 0));
}

void AddDocumentHandling(Part& part, const RequestFields& fields) {
    part.Text(Tag::Keyword, "multiple-document-handling",
              KeywordOf(documentHandlingKeywords, fields.multipleDocumentHandling, 1));
}

// These two are enums, yet go out as integers.
void AddOrientationAndQuality(Part& part, const RequestFields& fields) {
    part.IntegerIf(fields.orientation > 2, "orientation-requested", fields.orientation)
        .IntegerIf(fields.quality > 2, "print-quality", fields.quality);
}

void AddColorMode(Part& part, const RequestFields& fields) {
    if (fields.monochrome) part.Text(Tag::Keyword, "print-color-mode", "monochrome");
}

void AddRenderingChoices(Part& part, const RequestFields& fields) {
    part.Resolution(fields).Text(Tag::Keyword, "print-content-optimize",
                                 KeywordOf(contentOptimizeKeywords, fields.contentOptimize, 1));
}

void AddPrinterAttributes(Part& part, const RequestFields& fields) {
    std::string requested = "printer-name,printer-uri-supported,";
    requested += fields.requestedAttributes;
    part.Set(Tag::Keyword, "requested-attributes", requested);
}

// Goes out as one value, whatever it lists.
void AddJobAttributes(Part& part, const RequestFields& fields) {
    part.Text(Tag::Keyword, "requested-attributes", fields.requestedAttributes);
}

void AddWhichJobs(Part& part, const RequestFields& fields) {
    part.TrueIf(!fields.userName.empty() && !fields.jobsOfAllUsers, "my-jobs")
        .Text(Tag::Keyword, "which-jobs", fields.completedJobs ? "completed" : "not-completed")
        .Set(Tag::Keyword, "requested-attributes",
             fields.jobsOfAllUsers ? fields.requestedAttributes : "all");
}

using Adder = void (*)(Part& part, const RequestFields& fields);

/// What an operation carries, in this order; null behind the last.
struct OperationForm {
    int operation;
    Adder operationGroup[9];
    Adder jobGroup[5];  ///< empty where the operation has no such group
};

constexpr OperationForm operationForms[] = {
    {Operation::PrintJob,
     {AddRecordPrinterUri, AddUserName, AddJobName, AddFidelity, AddDocumentName},
     {AddCopiesAndSides, AddOrientationAndQuality, AddColorMode, AddRenderingChoices}},
    {Operation::PrintUri,
     {AddRecordPrinterUri, AddUserName, AddJobName, AddFidelity, AddDocumentName, AddDocumentUri},
     {AddCopiesAndSides, AddOrientationAndQuality, AddColorMode, AddRenderingChoices}},
    {Operation::CreateJob,
     {AddUserName, AddJobName, AddFidelity},
     {AddCopiesAndSides, AddDocumentHandling, AddOrientationAndQuality, AddRenderingChoices}},
    {Operation::SendDocument, {AddJobId, AddUserName, AddDocumentName, AddLastDocument, AddFidelity}, {}},
    {Operation::SendUri,
     {AddJobId, AddUserName, AddJobName, AddFidelity, AddDocumentName, AddDocumentUri, AddLastDocument},
     {AddCopiesAndSides, AddDocumentHandling, AddOrientationAndQuality, AddRenderingChoices}},
    {Operation::CancelJob, {AddJobUri, AddUserName}, {}},
    {Operation::GetJobAttributes, {AddJobUri, AddJobAttributes}, {}},
    {Operation::GetJobs, {AddUserName, AddWhichJobs}, {}},
    {Operation::GetPrinterAttributes, {AddPrinterAttributes}, {}},
};

/// An operation that has no attributes of its own still gets the header and what the caller adds.
OperationForm FormOf(int operation) {
    const int known = operation == Operation::StreamedPrintJob ? Operation::PrintJob : operation;
    for (const OperationForm& form : operationForms) {
        if (form.operation == known) return form;
    }
    return {operation, {}, {}};
}

void Run(const Adder* adders, Part& part, const RequestFields& fields) {
    for (; *adders; ++adders)
        (*adders)(part, fields);
}

}  // namespace

FormResult FormRequest(unsigned char* buffer, int& length, int operation, const RequestFields& fields) {
    if (operation == Operation::GetPrinterAttributes && fields.requestedAttributes.empty())
        return FormResult::NothingRequested;
    const OperationForm form = FormOf(operation);
    Part part(buffer);
    part.Header(operation, fields);
    Run(form.operationGroup, part, fields);
    part.Extras(fields, true);
    if (form.jobGroup[0]) part.Delimiter(Tag::JobAttributes);
    Run(form.jobGroup, part, fields);
    part.Extras(fields, false).Delimiter(Tag::EndOfAttributes);
    if (part.Refused()) return FormResult::Refused;
    length = part.Length();
    return FormResult::Formed;
}

}  // namespace Corvix::Ipp
