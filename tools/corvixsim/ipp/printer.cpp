#include "ipp/printer.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include "base/text.h"
#include "ipp/jobview.h"
#include "ipp/support.h"
#include "wire/ascii.h"
#include "wire/ipp/names.h"

namespace CorvixSim {
namespace {

/// The names in requested-attributes, or those that count when there are none.
std::set<std::string> RequestedNames(const IppMessage& request, const std::set<std::string>& otherwise) {
    const IppAttribute* requested = request.FindOperand("requested-attributes");
    if (!requested) return otherwise;
    std::set<std::string> names;
    for (const IppValue& value : requested->values)
        names.insert(value.bytes);
    return names;
}

bool IsLast(const IppCall& call) {
    const IppValue* last = call.request.Operand("last-document");
    Demand(last && last->tag == Ipp::Tag::Boolean, IppStatus::BadRequest, "last-document is missing");
    return last->Number() != 0;
}

/// The operation attributes that every request begins with, and the target that it must name.
void CheckCommon(const IppMessage& request) {
    const Ipp::MessageHeader& header = request.header;
    Demand(header.major == 1 || header.major == 2, IppStatus::VersionNotSupported,
           "only IPP/1.x and IPP/2.x are spoken here");
    Demand(header.requestId != 0 && header.requestId <= INT32_MAX, IppStatus::BadRequest, "not a request id");
    Demand(!request.groups.empty() && request.groups.front().tag == Ipp::Tag::OperationAttributes,
           IppStatus::BadRequest, "the operation attributes are missing");
    const std::vector<IppAttribute>& operands = request.groups.front().attributes;
    Demand(operands.size() >= 2 && operands[0].name == "attributes-charset" &&
               operands[1].name == "attributes-natural-language",
           IppStatus::BadRequest, "charset and language must come first");
    const std::string charset = Corvix::Ascii::ToLower(operands[0].values.front().bytes);
    Demand(charset == "utf-8" || charset == "us-ascii", IppStatus::CharsetNotSupported,
           "not a charset that is supported");
    Demand(request.Operand("printer-uri") || request.Operand("job-uri"), IppStatus::BadRequest,
           "neither printer-uri nor job-uri");
}

}  // namespace

struct IppPrinter::Operation {
    uint16_t code;
    IppMessage (IppPrinter::*carry)(const IppCall& call);
};

const IppPrinter::Operation IppPrinter::kOperations[] = {
    {0x0002, &IppPrinter::PrintJob},        {0x0003, &IppPrinter::PrintUri},
    {0x0004, &IppPrinter::ValidateJob},     {0x0005, &IppPrinter::CreateJob},
    {0x0006, &IppPrinter::SendDocument},    {0x0007, &IppPrinter::SendUri},
    {0x0008, &IppPrinter::CancelJob},       {0x0009, &IppPrinter::GetJobAttributes},
    {0x000a, &IppPrinter::GetJobs},         {0x000b, &IppPrinter::GetPrinterAttributes},
    {0x0039, &IppPrinter::CancelMyJobs},    {0x003b, &IppPrinter::CloseJob},
    {0x003c, &IppPrinter::IdentifyPrinter},
};

std::string IppPrinter::OperationName(uint16_t code) {
    if (const char* known = Ipp::OperationName(code)) return known;
    char name[24];
    std::snprintf(name, sizeof name, "operation-0x%04x", static_cast<unsigned>(code));
    return name;
}

IppMessage IppPrinter::Carry(const IppCall& call) {
    CheckCommon(call.request);
    for (const Operation& operation : kOperations) {
        if (operation.code == call.request.header.code) return (this->*operation.carry)(call);
    }
    throw IppError(IppStatus::OperationNotSupported, "not an operation that is supported");
}

IppAttributeGroups IppPrinter::PrinterAttributes(const IppCall& call) const {
    const std::string language = call.request.OperandText("attributes-natural-language");
    // Parsed for every request: values change at run time, and a client may be told other URIs than the next.
    std::string text = device_.File("ipp/printer.txt");
    text = ReplaceAll(text, "{{printer-host}}", QuoteForIppAttributes(call.host));
    text = ReplaceAll(text, "{{client-language}}", language.substr(0, 2) == "de" ? "de" : "en");
    return ParseIppAttributes(device_.values.Expand(text, QuoteForIppAttributes));
}

IppMessage IppPrinter::GetPrinterAttributes(const IppCall& call) {
    const std::set<std::string> names = RequestedNames(call.request, {"all"});
    IppMessage answer = AnswerTo(call.request);
    IppGroup printer{Ipp::Tag::PrinterAttributes, {}};
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
    Demand(compression.empty() || compression == "none", IppStatus::CompressionNotSupported,
           "no compression is supported");
    // Without a format the printer would detect it: anything is taken.
    const IppValue* format = call.request.Operand("document-format");
    if (!format) return;
    Demand(IsSupported(PrinterAttributes(call), {"document-format", {*format}}),
           IppStatus::DocumentFormatNotSupported, "not a format that is supported: " + format->bytes);
}

IppGroup IppPrinter::UnsupportedOf(const IppCall& call) const {
    IppGroup unsupported{Ipp::Tag::UnsupportedAttributes, {}};
    const IppGroup* wanted = call.request.Group(Ipp::Tag::JobAttributes);
    if (!wanted) return unsupported;
    const IppAttributeGroups printer = PrinterAttributes(call);
    for (const IppAttribute& attribute : wanted->attributes) {
        if (!IsSupported(printer, attribute)) unsupported.attributes.push_back(attribute);
    }
    return unsupported;
}

int IppPrinter::NewJob(const IppCall& call, const IppGroup& unsupported) {
    if (call.request.OperandNumber("ipp-attribute-fidelity") != 0 && !unsupported.attributes.empty()) {
        throw IppError(IppStatus::AttributesOrValuesNotSupported,
                       "not supported: " + unsupported.attributes.front().name);
    }
    Job job;
    job.name = call.request.OperandText("job-name");
    if (job.name.empty()) job.name = call.request.OperandText("document-name");
    // IPP wants every job to have a name and an owner.
    if (job.name.empty()) job.name = "Untitled";
    job.user = call.request.OperandText("requesting-user-name");
    if (job.user.empty()) job.user = "anonymous";
    if (const IppGroup* wanted = call.request.Group(Ipp::Tag::JobAttributes)) {
        for (const IppAttribute& attribute : wanted->attributes) {
            // What is not supported is ignored, and the answer says so, unless the client wants fidelity.
            if (!unsupported.Find(attribute.name)) job.attributes.push_back(attribute);
        }
    }
    return device_.jobs.Create(std::move(job));
}

IppMessage IppPrinter::JobAnswer(const IppCall& call, int id, const IppGroup& unsupported) const {
    const std::optional<Job> job = device_.jobs.Find(id);
    Demand(job.has_value(), IppStatus::NotFound, "the job is gone");
    IppMessage answer = AnswerTo(
        call.request, unsupported.attributes.empty() ? IppStatus::Ok : IppStatus::OkIgnoredOrSubstituted);
    if (!unsupported.attributes.empty()) answer.groups.push_back(unsupported);
    answer.groups.push_back(
        ShowJob(*job, call.host, device_.values,
                {"job-id", "job-uri", "job-state", "job-state-reasons", "job-state-message"}));
    return answer;
}

IppMessage IppPrinter::Print(const IppCall& call, IppIntake::Way take) {
    CheckDocumentFormat(call);
    const IppGroup unsupported = UnsupportedOf(call);
    const int id = NewJob(call, unsupported);
    (intake_.*take)(id, call.request, call.source, true);
    return JobAnswer(call, id, unsupported);
}

IppMessage IppPrinter::Send(const IppCall& call, IppIntake::Way take) {
    const int id = JobOf(call).id;
    const bool last = IsLast(call);
    CheckDocumentFormat(call);
    (intake_.*take)(id, call.request, call.source, last);
    return JobAnswer(call, id, {});
}

IppMessage IppPrinter::PrintJob(const IppCall& call) { return Print(call, &IppIntake::Receive); }
IppMessage IppPrinter::SendDocument(const IppCall& call) { return Send(call, &IppIntake::Receive); }

IppMessage IppPrinter::PrintUri(const IppCall& call) {
    IppIntake::CheckUri(call.request);  // before there is a job for it
    return Print(call, &IppIntake::Refer);
}

IppMessage IppPrinter::SendUri(const IppCall& call) { return Send(call, &IppIntake::Refer); }

IppMessage IppPrinter::ValidateJob(const IppCall& call) {
    CheckDocumentFormat(call);
    const IppGroup unsupported = UnsupportedOf(call);
    if (unsupported.attributes.empty()) return AnswerTo(call.request);
    IppMessage answer = AnswerTo(call.request, IppStatus::OkIgnoredOrSubstituted);
    answer.groups.push_back(unsupported);
    return answer;
}

IppMessage IppPrinter::CreateJob(const IppCall& call) {
    const IppGroup unsupported = UnsupportedOf(call);
    return JobAnswer(call, NewJob(call, unsupported), unsupported);
}

IppMessage IppPrinter::CloseJob(const IppCall& call) {
    const int id = JobOf(call).id;
    device_.jobs.Close(id);
    return JobAnswer(call, id, {});
}

IppMessage IppPrinter::CancelJob(const IppCall& call) {
    device_.jobs.Apply(JobOf(call).id, {JobState::Canceled, {}, {}, {}});
    return AnswerTo(call.request);
}

IppMessage IppPrinter::CancelMyJobs(const IppCall& call) {
    const std::string user = call.request.OperandText("requesting-user-name");
    for (const Job& job : device_.jobs.All()) {
        if (!job.Final() && job.user == user) device_.jobs.Apply(job.id, {JobState::Canceled, {}, {}, {}});
    }
    return AnswerTo(call.request);
}

IppMessage IppPrinter::IdentifyPrinter(const IppCall& call) {
    const std::string message = call.request.OperandText("message");
    // The display of this device is its second console line, which SNMP and the embedded pages show.
    device_.values.Set("console-line-2", message.empty() ? "Here I am" : message);
    return AnswerTo(call.request);
}

Job IppPrinter::JobOf(const IppCall& call) const {
    const std::string uri = call.request.OperandText("job-uri");
    const int32_t id = call.request.Operand("job-id")
                           ? call.request.OperandNumber("job-id")
                           : ParseInteger(uri.substr(uri.rfind('/') + 1)).value_or(0);
    if (id <= 0) throw IppError(IppStatus::BadRequest, "the request names no job");
    std::optional<Job> job = device_.jobs.Find(id);
    if (!job) throw IppError(IppStatus::NotFound, "no job " + std::to_string(id));
    return std::move(*job);
}

std::vector<Job> IppPrinter::JobsFor(const IppCall& call) const {
    const std::string which = call.request.OperandText("which-jobs");
    Demand(which.empty() || which == "completed" || which == "not-completed" || which == "all",
           IppStatus::AttributesOrValuesNotSupported, "not supported: which-jobs " + which);
    const std::string user =
        call.request.OperandNumber("my-jobs") != 0 ? call.request.OperandText("requesting-user-name") : "";
    std::vector<Job> jobs = device_.jobs.All();
    const auto unwanted = [&](const Job& job) {
        return (which != "all" && job.Final() != (which == "completed")) ||
               (!user.empty() && job.user != user);
    };
    jobs.erase(std::remove_if(jobs.begin(), jobs.end(), unwanted), jobs.end());
    // Those that ended last come first.
    if (which == "completed") std::reverse(jobs.begin(), jobs.end());
    const int32_t limit = call.request.OperandNumber("limit");
    if (limit > 0) jobs.resize(std::min(jobs.size(), static_cast<size_t>(limit)));
    return jobs;
}

IppMessage IppPrinter::GetJobs(const IppCall& call) {
    const std::set<std::string> names = RequestedNames(call.request, {"job-id", "job-uri"});
    IppMessage answer = AnswerTo(call.request);
    for (const Job& job : JobsFor(call))
        answer.groups.push_back(ShowJob(job, call.host, device_.values, names));
    return answer;
}

IppMessage IppPrinter::GetJobAttributes(const IppCall& call) {
    const std::set<std::string> names = RequestedNames(call.request, {"all"});
    IppMessage answer = AnswerTo(call.request);
    answer.groups.push_back(ShowJob(JobOf(call), call.host, device_.values, names));
    return answer;
}

}  // namespace CorvixSim
