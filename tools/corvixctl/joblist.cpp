#include "joblist.h"

#include <cstdint>

#include "exitcodes.h"
#include "ippstatus.h"
#include "transport/text.h"

namespace CorvixCtl {
namespace {

constexpr unsigned char operationGroup = 0x01;
constexpr unsigned char jobGroup = 0x02;
constexpr unsigned char endOfAttributes = 0x03;
constexpr unsigned char lastDelimiter = 0x0F;
constexpr unsigned char nameTag = 0x42;
constexpr unsigned char keywordTag = 0x44;
constexpr unsigned char uriTag = 0x45;
constexpr unsigned char charsetTag = 0x47;
constexpr unsigned char languageTag = 0x48;

constexpr const char* wantedAttributes[] = {"job-id",
                                            "job-uri",
                                            "job-name",
                                            "job-originating-user-name",
                                            "job-state",
                                            "job-state-reasons",
                                            "job-k-octets",
                                            "time-at-creation",
                                            "job-printer-up-time"};

std::string TwoBytes(size_t number) {
    return {static_cast<char>(number >> 8 & 0xFF), static_cast<char>(number & 0xFF)};
}

std::string Attribute(unsigned char tag, std::string_view name, std::string_view value) {
    return std::string(1, static_cast<char>(tag)) + TwoBytes(name.size()) + std::string(name) +
           TwoBytes(value.size()) + std::string(value);
}

// Takes the fields of a message one after the other; past its end there are only zeros.
class Cursor {
public:
    explicit Cursor(std::string_view bytes) : rest_(bytes) {}

    bool IsAtEnd() const { return rest_.empty(); }
    bool IsBroken() const { return broken_; }
    unsigned Number(size_t bytes) {
        unsigned number = 0;
        for (const char c : Bytes(bytes))
            number = number << 8 | static_cast<unsigned char>(c);
        return number;
    }
    std::string_view Bytes(size_t count) {
        if (count > rest_.size()) {
            broken_ = true;
            rest_ = {};
            return {};
        }
        const std::string_view bytes = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return bytes;
    }
    std::string_view Text() { return Bytes(Number(2)); }

private:
    std::string_view rest_;
    bool broken_ = false;
};

int ToNumber(std::string_view value) {
    return value.size() == 4 ? static_cast<int>(Cursor(value).Number(4)) : 0;
}

// A text with its language holds the two, each behind its length; a plain one holds itself.
std::wstring ToText(unsigned char tag, std::string_view value) {
    constexpr unsigned char textWithLanguage = 0x35;
    constexpr unsigned char nameWithLanguage = 0x36;
    if (tag != textWithLanguage && tag != nameWithLanguage) return CorvixTransport::ToWide(value);
    Cursor cursor(value);
    cursor.Text();
    return CorvixTransport::ToWide(cursor.Text());
}

void Take(ListedJob& job, std::string_view name, unsigned char tag, std::string_view value) {
    if (name == "job-id") job.id = ToNumber(value);
    if (name == "job-uri") job.uri = value;
    if (name == "job-name") job.name = ToText(tag, value);
    if (name == "job-originating-user-name") job.user = ToText(tag, value);
    if (name == "job-state") job.state = static_cast<JobState>(ToNumber(value));
    if (name == "job-k-octets") job.kilobytes = ToNumber(value);
    if (name == "time-at-creation") job.createdAt = ToNumber(value);
    if (name == "job-printer-up-time") job.now = ToNumber(value);
    if (name == "job-state-reasons")
        job.reasons += (job.reasons.empty() ? L"" : L",") + CorvixTransport::ToWide(value);
}

struct JobsAnswer {
    unsigned status = 0;
    std::vector<ListedJob> jobs;
};

std::string EncodeGetJobs(const std::string& printerUri, const std::string& user, WhichJobs which) {
    std::string request("\x02\x00\x00\x0A\x00\x00\x00\x01", 8);  // IPP/2.0, Get-Jobs, request 1
    request += static_cast<char>(operationGroup);
    request += Attribute(charsetTag, "attributes-charset", "utf-8");
    request += Attribute(languageTag, "attributes-natural-language", "en");
    request += Attribute(uriTag, "printer-uri", printerUri);
    request += Attribute(nameTag, "requesting-user-name", user);
    request +=
        Attribute(keywordTag, "which-jobs", which == WhichJobs::Completed ? "completed" : "not-completed");
    bool first = true;
    for (const char* name : wantedAttributes) {
        request += Attribute(keywordTag, first ? "requested-attributes" : "", name);
        first = false;
    }
    return request + static_cast<char>(endOfAttributes);
}

// False for bytes that are no IPP response.
bool DecodeJobs(std::string_view body, JobsAnswer& answer) {
    Cursor cursor(body);
    cursor.Bytes(2);  // the version
    answer.status = cursor.Number(2);
    cursor.Bytes(4);  // the request's number
    bool inJob = false;
    std::string_view name;
    while (!cursor.IsAtEnd()) {
        const auto tag = static_cast<unsigned char>(cursor.Number(1));
        if (tag == endOfAttributes) return true;
        if (tag <= lastDelimiter) {
            inJob = tag == jobGroup;
            if (inJob) answer.jobs.emplace_back();
            continue;
        }
        const std::string_view newName = cursor.Text();
        if (!newName.empty()) name = newName;
        const std::string_view value = cursor.Text();
        if (inJob && !cursor.IsBroken()) Take(answer.jobs.back(), name, tag, value);
    }
    return false;
}

// The library asks at 443 too, unless the address names 631.
unsigned long PortOf(const Printer& printer) {
    constexpr unsigned long ippPort = 631;
    constexpr unsigned long tlsPort = 443;
    const wchar_t* port = printer.device.address->GetPort();
    return !printer.secure || (port && std::wstring(port) == L"631") ? ippPort : tlsPort;
}

std::string Exchange(const Printer& printer, const std::string& body) {
    constexpr unsigned long httpOk = 200;
    Corvix::KyNetAddress& address = *printer.device.address;
    address.SetSecure(printer.secure);
    Corvix::DisposablePtr<Corvix::HTTPRequest> request;
    if (FAILED(address.CreateHTTPRequest(request.Receive(), PortOf(printer))))
        FailAsUnanswered(printer, ERROR_NOT_ENOUGH_MEMORY);
    request->SetMethod(L"POST");
    request->SetURI(printer.resource.c_str());
    request->SetContentType(L"application/ipp");
    request->SetRequestParameter(printer.securityFlags);
    Corvix::DisposablePtr<Corvix::HTTPResponse> response;
    const auto* bytes = reinterpret_cast<const unsigned char*>(body.data());
    if (FAILED(request->Send(bytes, static_cast<unsigned long>(body.size()))) ||
        FAILED(request->GetResponse(response.Receive())))
        FailAsUnanswered(printer, request->GetLastErrorCode());
    if (response->GetStatusCode() != httpOk || !response->GetBody())
        FailAsUnanswered(printer, response->GetStatusCode());
    return {reinterpret_cast<const char*>(response->GetBody()), response->GetBodyLength()};
}

}  // namespace

std::vector<ListedJob> ListJobs(const Printer& printer, const std::string& user, WhichJobs which) {
    const std::string request = EncodeGetJobs(CorvixTransport::ToUtf8(printer.uri), user, which);
    JobsAnswer answer;
    if (!DecodeJobs(Exchange(printer, request), answer))
        throw Failure(ExitCode::Incomplete, L"the printer's list of jobs cannot be read");
    if (!IsIppSuccess(answer.status)) {
        throw Failure(ExitCode::Refused,
                      L"the printer does not list its jobs: " + IppStatusText(answer.status));
    }
    return std::move(answer.jobs);
}

std::optional<ListedJob> FindOwnJob(const std::vector<ListedJob>& jobs, const JobOwner& owner) {
    constexpr long long tolerance = 1;  // of a clock that counts whole seconds
    const auto oldest = static_cast<long long>((GetTickCount64() - owner.begun) / 1000) + tolerance;
    const std::wstring user = CorvixTransport::ToWide(owner.user);
    const std::wstring name = CorvixTransport::ToWide(owner.jobName);
    std::optional<ListedJob> found;
    for (const ListedJob& job : jobs) {
        if (job.user != user || job.name != name || job.Age().value_or(0) > oldest) continue;
        if (found) return std::nullopt;
        found = job;
    }
    return found;
}

}  // namespace CorvixCtl
