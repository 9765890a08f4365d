#include "ipp/printer.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>

#include "base/text.h"
#include "ipp/jobview.h"
#include "ipp/support.h"

namespace CorvixSim {
namespace {

constexpr size_t kPiece = 65536;

struct Ending {
    std::string_view format;
    const char* ending;
};

constexpr Ending kEndings[] = {
    {"application/pdf", "pdf"}, {"application/postscript", "ps"}, {"application/vnd.hp-PCL", "pcl"},
    {"image/jpeg", "jpg"},      {"image/pwg-raster", "pwg"},      {"image/urf", "urf"},
    {"text/plain", "txt"},
};

const char* EndingOf(std::string_view format) {
    for (const Ending& known : kEndings) {
        if (known.format == format) return known.ending;
    }
    return "prn";
}

/// The names in requested-attributes; empty when there are none.
std::set<std::string> RequestedNames(const IppMessage& request) {
    std::set<std::string> names;
    const IppGroup* operands = request.Group(IppTag::OperationAttributes);
    const IppAttribute* requested = operands ? operands->Find("requested-attributes") : nullptr;
    if (!requested) return names;
    for (const IppValue& value : requested->values)
        names.insert(value.bytes);
    return names;
}

IppMessage Answer(const IppCall& call, IppStatus status = IppStatus::Ok) {
    IppMessage answer;
    answer.major = call.request.major;
    answer.minor = call.request.minor;
    answer.code = static_cast<uint16_t>(status);
    answer.requestId = call.request.requestId;
    answer.groups.push_back({IppTag::OperationAttributes,
                             {TextAttribute(IppTag::Charset, "attributes-charset", "utf-8"),
                              TextAttribute(IppTag::NaturalLanguage, "attributes-natural-language", "en")}});
    return answer;
}

/// A document that is arriving: unless it is finished, the job learns that it broke off.
class Receipt {
public:
    Receipt(Jobs& jobs, int id, JobDocument document) : jobs_(jobs), id_(id) {
        place_ = jobs.BeginDocument(id, std::move(document));
    }
    ~Receipt() {
        if (!finished_) jobs_.EndDocument(id_, false, true);
    }
    Receipt(const Receipt&) = delete;
    Receipt& operator=(const Receipt&) = delete;

    bool Add(uint64_t octets) { return jobs_.AddOctets(id_, place_, octets); }
    void Finish(bool last) {
        finished_ = true;
        jobs_.EndDocument(id_, true, last);
    }

private:
    Jobs& jobs_;
    int id_;
    size_t place_ = 0;
    bool finished_ = false;
};

bool IsLast(const IppCall& call) {
    const IppValue* last = call.request.Operand("last-document");
    if (!last || last->tag != IppTag::Boolean)
        throw IppError(IppStatus::BadRequest, "last-document is missing");
    return last->Number() != 0;
}

JobDocument DocumentOf(const IppCall& call) {
    JobDocument document;
    document.name = call.request.OperandText("document-name");
    document.format = call.request.OperandText("document-format");
    document.uri = call.request.OperandText("document-uri");
    return document;
}

void CheckUriScheme(const std::string& uri) {
    const std::string scheme = uri.substr(0, uri.find(':'));
    if (uri.empty()) throw IppError(IppStatus::BadRequest, "document-uri is missing");
    if (scheme != "http" && scheme != "https" && scheme != "ftp") {
        throw IppError(IppStatus::UriSchemeNotSupported, "not a scheme that is supported: " + scheme);
    }
}

/// The operation attributes that every request begins with, and the target that it must name.
void CheckCommon(const IppMessage& request) {
    if (request.major != 1 && request.major != 2) {
        throw IppError(IppStatus::VersionNotSupported, "only IPP/1.x and IPP/2.x are spoken here");
    }
    if (request.requestId == 0 || request.requestId > INT32_MAX) {
        throw IppError(IppStatus::BadRequest, "not a request id");
    }
    if (request.groups.empty() || request.groups.front().tag != IppTag::OperationAttributes) {
        throw IppError(IppStatus::BadRequest, "the operation attributes are missing");
    }
    const std::vector<IppAttribute>& operands = request.groups.front().attributes;
    if (operands.size() < 2 || operands[0].name != "attributes-charset" ||
        operands[1].name != "attributes-natural-language") {
        throw IppError(IppStatus::BadRequest, "charset and language must come first");
    }
    if (!EqualsIgnoringCase(operands[0].values.front().bytes, "utf-8") &&
        !EqualsIgnoringCase(operands[0].values.front().bytes, "us-ascii")) {
        throw IppError(IppStatus::CharsetNotSupported, "not a charset that is supported");
    }
    if (!request.Operand("printer-uri") && !request.Operand("job-uri")) {
        throw IppError(IppStatus::BadRequest, "neither printer-uri nor job-uri");
    }
}

}  // namespace

struct IppPrinter::Operation {
    uint16_t code;
    const char* name;
    IppMessage (IppPrinter::*carry)(const IppCall& call);
};

const IppPrinter::Operation IppPrinter::kOperations[] = {
    {0x0002, "Print-Job", &IppPrinter::PrintJob},
    {0x0003, "Print-URI", &IppPrinter::PrintUri},
    {0x0004, "Validate-Job", &IppPrinter::ValidateJob},
    {0x0005, "Create-Job", &IppPrinter::CreateJob},
    {0x0006, "Send-Document", &IppPrinter::SendDocument},
    {0x0007, "Send-URI", &IppPrinter::SendUri},
    {0x0008, "Cancel-Job", &IppPrinter::CancelJob},
    {0x0009, "Get-Job-Attributes", &IppPrinter::GetJobAttributes},
    {0x000a, "Get-Jobs", &IppPrinter::GetJobs},
    {0x000b, "Get-Printer-Attributes", &IppPrinter::GetPrinterAttributes},
    {0x0039, "Cancel-My-Jobs", &IppPrinter::CancelMyJobs},
    {0x003b, "Close-Job", &IppPrinter::CloseJob},
    {0x003c, "Identify-Printer", &IppPrinter::IdentifyPrinter},
};

std::string IppPrinter::OperationName(uint16_t code) {
    for (const Operation& operation : kOperations) {
        if (operation.code == code) return operation.name;
    }
    char name[24];
    std::snprintf(name, sizeof name, "operation-0x%04x", static_cast<unsigned>(code));
    return name;
}

IppMessage IppPrinter::Carry(const IppCall& call) {
    CheckCommon(call.request);
    for (const Operation& operation : kOperations) {
        if (operation.code == call.request.code) return (this->*operation.carry)(call);
    }
    throw IppError(IppStatus::OperationNotSupported, "not an operation that is supported");
}

IppAttributeGroups IppPrinter::PrinterAttributes(const IppCall& call) const {
    const std::string language = call.request.OperandText("attributes-natural-language");
    std::string text = device_.File("ipp/printer.txt");
    text = ReplaceAll(text, "{{printer-host}}", QuoteForIppAttributes(call.host));
    text = ReplaceAll(text, "{{client-language}}", language.substr(0, 2) == "de" ? "de" : "en");
    return ParseIppAttributes(device_.values.Expand(text, QuoteForIppAttributes));
}

IppMessage IppPrinter::GetPrinterAttributes(const IppCall& call) {
    std::set<std::string> names = RequestedNames(call.request);
    if (names.empty()) names = {"all"};
    IppMessage answer = Answer(call);
    IppGroup printer{IppTag::PrinterAttributes, {}};
    for (const auto& [group, attributes] : PrinterAttributes(call)) {
        // What is long is a group of its own, which "all" does not include.
        const bool whole =
            names.count(group) != 0 || (names.count("all") != 0 && group != "media-col-database");
        for (const IppAttribute& attribute : attributes) {
            if (whole || names.count(attribute.name) != 0) printer.attributes.push_back(attribute);
        }
    }
    answer.groups.push_back(std::move(printer));
    return answer;
}

void IppPrinter::CheckDocumentFormat(const IppCall& call) const {
    const std::string compression = call.request.OperandText("compression");
    if (!compression.empty() && compression != "none") {
        throw IppError(IppStatus::CompressionNotSupported, "no compression is supported");
    }
    const IppValue* format = call.request.Operand("document-format");
    if (!format) return;
    const IppAttributeGroups printer = PrinterAttributes(call);
    if (!IsSupported(printer, {"document-format", {*format}})) {
        throw IppError(IppStatus::DocumentFormatNotSupported,
                       "not a format that is supported: " + format->bytes);
    }
}

IppGroup IppPrinter::UnsupportedOf(const IppCall& call) const {
    IppGroup unsupported{IppTag::UnsupportedAttributes, {}};
    const IppGroup* wanted = call.request.Group(IppTag::JobAttributes);
    if (!wanted) return unsupported;
    const IppAttributeGroups printer = PrinterAttributes(call);
    for (const IppAttribute& attribute : wanted->attributes) {
        if (!IsSupported(printer, attribute)) unsupported.attributes.push_back(attribute);
    }
    return unsupported;
}

int IppPrinter::NewJob(const IppCall& call, const IppGroup& unsupported) {
    const IppValue* fidelity = call.request.Operand("ipp-attribute-fidelity");
    if (fidelity && fidelity->Number() != 0 && !unsupported.attributes.empty()) {
        throw IppError(IppStatus::AttributesOrValuesNotSupported,
                       "not supported: " + unsupported.attributes.front().name);
    }
    Job job;
    job.name = call.request.OperandText("job-name");
    if (job.name.empty()) job.name = call.request.OperandText("document-name");
    if (job.name.empty()) job.name = "Untitled";
    job.user = call.request.OperandText("requesting-user-name");
    if (job.user.empty()) job.user = "anonymous";
    if (const IppGroup* wanted = call.request.Group(IppTag::JobAttributes)) {
        for (const IppAttribute& attribute : wanted->attributes) {
            if (!unsupported.Find(attribute.name)) job.attributes.push_back(attribute);
        }
    }
    return device_.jobs.Create(std::move(job));
}

std::string IppPrinter::StoragePath(int id, size_t number, const std::string& format) const {
    if (spoolFolder_.empty()) return {};
    char name[64];
    std::snprintf(name, sizeof name, "job-%04d-%zu.%s", id, number, EndingOf(format));
    return spoolFolder_ + "/" + name;
}

void IppPrinter::ReceiveDocument(const IppCall& call, int id, bool last) {
    JobDocument document = DocumentOf(call);
    const std::optional<Job> job = device_.jobs.Find(id);
    const std::string path = StoragePath(id, job ? job->documents.size() + 1 : 1, document.format);
    document.path = path;
    // A job that takes no more documents refuses it here, before there is a file.
    Receipt receipt(device_.jobs, id, std::move(document));
    std::ofstream file;
    if (!path.empty()) file.open(std::filesystem::u8path(path), std::ios::binary);
    if (!file) throw IppError(IppStatus::InternalError, "cannot write " + path);
    std::vector<char> piece(kPiece);
    bool wanted = true;
    while (const size_t length = call.source.ReadDocument(piece.data(), piece.size())) {
        // What comes after the job was canceled is read, as it is on its way, and dropped.
        wanted = wanted && receipt.Add(length);
        if (wanted && file.is_open()) file.write(piece.data(), static_cast<std::streamsize>(length));
    }
    receipt.Finish(last);
    if (!wanted) throw IppError(IppStatus::JobCanceled, "the job was canceled");
}

void IppPrinter::ReferToDocument(const IppCall& call, int id, bool last) {
    Receipt receipt(device_.jobs, id, DocumentOf(call));
    receipt.Finish(last);
}

IppMessage IppPrinter::JobAnswer(const IppCall& call, int id, const IppGroup& unsupported) const {
    const std::optional<Job> job = device_.jobs.Find(id);
    if (!job) throw IppError(IppStatus::NotFound, "the job is gone");
    IppMessage answer =
        Answer(call, unsupported.attributes.empty() ? IppStatus::Ok : IppStatus::OkIgnoredOrSubstituted);
    if (!unsupported.attributes.empty()) answer.groups.push_back(unsupported);
    answer.groups.push_back(ShowJob(
        *job, ViewOf(call), {"job-id", "job-uri", "job-state", "job-state-reasons", "job-state-message"}));
    return answer;
}

IppMessage IppPrinter::PrintJob(const IppCall& call) {
    CheckDocumentFormat(call);
    const IppGroup unsupported = UnsupportedOf(call);
    const int id = NewJob(call, unsupported);
    ReceiveDocument(call, id, true);
    return JobAnswer(call, id, unsupported);
}

IppMessage IppPrinter::PrintUri(const IppCall& call) {
    CheckUriScheme(call.request.OperandText("document-uri"));
    CheckDocumentFormat(call);
    const IppGroup unsupported = UnsupportedOf(call);
    const int id = NewJob(call, unsupported);
    ReferToDocument(call, id, true);
    return JobAnswer(call, id, unsupported);
}

IppMessage IppPrinter::ValidateJob(const IppCall& call) {
    CheckDocumentFormat(call);
    const IppGroup unsupported = UnsupportedOf(call);
    if (unsupported.attributes.empty()) return Answer(call);
    IppMessage answer = Answer(call, IppStatus::OkIgnoredOrSubstituted);
    answer.groups.push_back(unsupported);
    return answer;
}

IppMessage IppPrinter::CreateJob(const IppCall& call) {
    const IppGroup unsupported = UnsupportedOf(call);
    return JobAnswer(call, NewJob(call, unsupported), unsupported);
}

IppMessage IppPrinter::SendDocument(const IppCall& call) {
    const int id = JobOf(call).id;
    const bool last = IsLast(call);
    CheckDocumentFormat(call);
    ReceiveDocument(call, id, last);
    return JobAnswer(call, id, {});
}

IppMessage IppPrinter::SendUri(const IppCall& call) {
    const int id = JobOf(call).id;
    const bool last = IsLast(call);
    CheckUriScheme(call.request.OperandText("document-uri"));
    ReferToDocument(call, id, last);
    return JobAnswer(call, id, {});
}

IppMessage IppPrinter::CloseJob(const IppCall& call) {
    const int id = JobOf(call).id;
    device_.jobs.Close(id);
    return JobAnswer(call, id, {});
}

IppMessage IppPrinter::CancelJob(const IppCall& call) {
    device_.jobs.Apply(JobOf(call).id, {JobState::Canceled, {}, {}, {}});
    return Answer(call);
}

IppMessage IppPrinter::CancelMyJobs(const IppCall& call) {
    const std::string user = call.request.OperandText("requesting-user-name");
    for (const Job& job : device_.jobs.All()) {
        if (!job.Final() && job.user == user) device_.jobs.Apply(job.id, {JobState::Canceled, {}, {}, {}});
    }
    return Answer(call);
}

IppMessage IppPrinter::IdentifyPrinter(const IppCall& call) {
    const std::string message = call.request.OperandText("message");
    device_.values.Set("console-line-2", message.empty() ? "Here I am" : message);
    return Answer(call);
}

Job IppPrinter::JobOf(const IppCall& call) const {
    int32_t id = 0;
    if (const IppValue* given = call.request.Operand("job-id")) {
        id = given->Number();
    } else {
        const std::string uri = call.request.OperandText("job-uri");
        id = ParseInteger(uri.substr(uri.rfind('/') + 1)).value_or(0);
    }
    if (id <= 0) throw IppError(IppStatus::BadRequest, "the request names no job");
    std::optional<Job> job = device_.jobs.Find(id);
    if (!job) throw IppError(IppStatus::NotFound, "no job " + std::to_string(id));
    return std::move(*job);
}

std::vector<Job> IppPrinter::JobsFor(const IppCall& call) const {
    const std::string which = call.request.OperandText("which-jobs");
    if (!which.empty() && which != "completed" && which != "not-completed" && which != "all") {
        throw IppError(IppStatus::AttributesOrValuesNotSupported, "not supported: which-jobs " + which);
    }
    const IppValue* mine = call.request.Operand("my-jobs");
    const std::string user =
        mine && mine->Number() != 0 ? call.request.OperandText("requesting-user-name") : "";
    std::vector<Job> jobs = device_.jobs.All();
    const auto unwanted = [&](const Job& job) {
        return (which != "all" && job.Final() != (which == "completed")) ||
               (!user.empty() && job.user != user);
    };
    jobs.erase(std::remove_if(jobs.begin(), jobs.end(), unwanted), jobs.end());
    // Those that ended last come first.
    if (which == "completed") std::reverse(jobs.begin(), jobs.end());
    const IppValue* limit = call.request.Operand("limit");
    if (limit && limit->Number() > 0)
        jobs.resize(std::min(jobs.size(), static_cast<size_t>(limit->Number())));
    return jobs;
}

IppMessage IppPrinter::GetJobs(const IppCall& call) {
    std::set<std::string> names = RequestedNames(call.request);
    if (names.empty()) names = {"job-id", "job-uri"};
    IppMessage answer = Answer(call);
    for (const Job& job : JobsFor(call))
        answer.groups.push_back(ShowJob(job, ViewOf(call), names));
    return answer;
}

IppMessage IppPrinter::GetJobAttributes(const IppCall& call) {
    std::set<std::string> names = RequestedNames(call.request);
    if (names.empty()) names = {"all"};
    IppMessage answer = Answer(call);
    answer.groups.push_back(ShowJob(JobOf(call), ViewOf(call), names));
    return answer;
}

JobView IppPrinter::ViewOf(const IppCall& call) const {
    return {call.host, device_.values.Get("uuid"), ParseInteger(device_.values.Get("uptime")).value_or(0)};
}

}  // namespace CorvixSim
