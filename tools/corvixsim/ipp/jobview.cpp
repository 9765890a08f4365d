#include "ipp/jobview.h"

#include <algorithm>
#include <cstdio>

#include "base/text.h"
#include "ipp/attributetext.h"

namespace CorvixSim {
namespace {

IppAttribute OptionalNumber(std::string name, const std::optional<int32_t>& number) {
    if (number) return NumberAttribute(Ipp::Tag::Integer, std::move(name), *number);
    return TextAttribute(Ipp::Tag::NoValue, std::move(name), {});
}

IppAttribute OptionalDate(std::string name, const std::string& date) {
    if (date.empty()) return TextAttribute(Ipp::Tag::NoValue, std::move(name), {});
    // The one reader of dates is that of the attribute texts.
    const IppAttributeGroups parsed = ParseIppAttributes("GROUP g ATTR dateTime " + name + " " + date);
    return parsed.front().second.front();
}

IppAttribute KeywordAttribute(std::string name, const std::vector<std::string>& keywords) {
    IppAttribute attribute{std::move(name), {}};
    for (const std::string& keyword : keywords)
        attribute.values.push_back({Ipp::Tag::Keyword, keyword, {}});
    return attribute;
}

int32_t Kilobytes(uint64_t octets) {
    return static_cast<int32_t>(std::min<uint64_t>((octets + 1023) / 1024, INT32_MAX));
}

/// The printer's UUID with the job's number for a node.
std::string JobUuid(const std::string& printerUuid, int id) {
    char node[16];
    std::snprintf(node, sizeof node, "%012d", id);
    return "urn:uuid:" + printerUuid.substr(0, 24) + node;
}

// Nothing is rendered: each document counts as one page, once the job is completed.
std::vector<IppAttribute> DescriptionOf(const Job& job, const std::string& host, const Values& values) {
    const std::string printer = "ipp://" + host + "/ipp/print";
    const auto documents = static_cast<int32_t>(job.documents.size());
    const int32_t pages = job.state == JobState::Completed ? documents : 0;
    return {
        NumberAttribute(Ipp::Tag::Integer, "job-id", job.id),
        TextAttribute(Ipp::Tag::Uri, "job-uri", printer + "/" + std::to_string(job.id)),
        TextAttribute(Ipp::Tag::Uri, "job-uuid", JobUuid(values.Get("uuid"), job.id)),
        TextAttribute(Ipp::Tag::Uri, "job-printer-uri", printer),
        TextAttribute(Ipp::Tag::NameWithoutLanguage, "job-name", job.name),
        TextAttribute(Ipp::Tag::NameWithoutLanguage, "job-originating-user-name", job.user),
        NumberAttribute(Ipp::Tag::Enum, "job-state", static_cast<int32_t>(job.state)),
        KeywordAttribute("job-state-reasons", job.reasons),
        TextAttribute(Ipp::Tag::TextWithoutLanguage, "job-state-message", NameOf(job.state)),
        NumberAttribute(Ipp::Tag::Integer, "job-k-octets", Kilobytes(job.octets)),
        NumberAttribute(Ipp::Tag::Integer, "job-impressions", documents),
        NumberAttribute(Ipp::Tag::Integer, "job-impressions-completed", pages),
        NumberAttribute(Ipp::Tag::Integer, "job-media-sheets-completed", pages),
        NumberAttribute(Ipp::Tag::Integer, "number-of-documents", documents),
        NumberAttribute(Ipp::Tag::Integer, "job-printer-up-time",
                        ParseInteger(values.Get("uptime")).value_or(0)),
        NumberAttribute(Ipp::Tag::Integer, "time-at-creation", job.createdAt),
        OptionalNumber("time-at-processing", job.processingAt),
        OptionalNumber("time-at-completed", job.completedAt),
        OptionalDate("date-time-at-creation", job.createdDate),
        OptionalDate("date-time-at-processing", job.processingDate),
        OptionalDate("date-time-at-completed", job.completedDate),
    };
}

}  // namespace

IppGroup ShowJob(const Job& job, const std::string& host, const Values& values,
                 const std::set<std::string>& names) {
    IppGroup group{Ipp::Tag::JobAttributes, {}};
    const auto add = [&](const std::vector<IppAttribute>& attributes, const char* groupName) {
        const bool whole = names.count("all") + names.count(groupName) != 0;
        for (const IppAttribute& attribute : attributes) {
            if (whole || names.count(attribute.name) != 0) group.attributes.push_back(attribute);
        }
    };
    add(DescriptionOf(job, host, values), "job-description");
    add(job.attributes, "job-template");
    return group;
}

}  // namespace CorvixSim
