#include "wire/joblistmessage.h"

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
std::string_view TextOf(unsigned char tag, std::string_view value) {
    constexpr unsigned char textWithLanguage = 0x35;
    constexpr unsigned char nameWithLanguage = 0x36;
    if (tag != textWithLanguage && tag != nameWithLanguage) return value;
    Cursor cursor(value);
    cursor.Text();
    return cursor.Text();
}

void Take(ListedJob& job, std::string_view name, unsigned char tag, std::string_view value) {
    if (name == "job-id") job.id = ToNumber(value);
    if (name == "job-uri") job.uri = value;
    if (name == "job-name") job.name = TextOf(tag, value);
    if (name == "job-originating-user-name") job.user = TextOf(tag, value);
    if (name == "job-state") job.state = static_cast<JobState>(ToNumber(value));
    if (name == "job-k-octets") job.kilobytes = ToNumber(value);
    if (name == "time-at-creation") job.createdAt = ToNumber(value);
    if (name == "job-printer-up-time") job.now = ToNumber(value);
    if (name == "job-state-reasons") {
        if (!job.reasons.empty()) job.reasons += ',';
        job.reasons += value;
    }
}

}  // namespace

std::string FormGetJobs(const std::string& printerUri, const std::string& user, WhichJobs which) {
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

std::optional<JobList> ReadJobList(std::string_view body) {
    Cursor cursor(body);
    JobList list;
    cursor.Bytes(2);  // the version
    list.status = cursor.Number(2);
    cursor.Bytes(4);  // the request's number
    bool inJob = false;
    std::string_view name;
    while (!cursor.IsAtEnd()) {
        const auto tag = static_cast<unsigned char>(cursor.Number(1));
        if (tag == endOfAttributes) return list;
        if (tag <= lastDelimiter) {
            inJob = tag == jobGroup;
            if (inJob) list.jobs.emplace_back();
            continue;
        }
        // A value without a name is a further one of the attribute before.
        const std::string_view newName = cursor.Text();
        if (!newName.empty()) name = newName;
        const std::string_view value = cursor.Text();
        if (inJob && !cursor.IsBroken()) Take(list.jobs.back(), name, tag, value);
    }
    return std::nullopt;
}

}  // namespace CorvixCtl
