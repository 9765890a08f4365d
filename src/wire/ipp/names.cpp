#include "wire/ipp/names.h"

#include <cstddef>

namespace Corvix::Ipp {
namespace {

/// Names of successive numbers; null in a gap.
struct NameRun {
    std::string_view attribute;
    int first;
    const char* const* names;
    std::size_t count;
};

template <std::size_t count>
constexpr NameRun Run(std::string_view attribute, int first, const char* const (&names)[count]) {
    return {attribute, first, names, count};
}

constexpr const char* operations[] = {"Print-Job",
                                      "Print-URI",
                                      "Validate-Job",
                                      "Create-Job",
                                      "Send-Document",
                                      "Send-URI",
                                      "Cancel-Job",
                                      "Get-Job-Attributes",
                                      "Get-Jobs",
                                      "Get-Printer-Attributes",
                                      "Hold-Job",
                                      "Release-Job",
                                      "Restart-Job",
                                      nullptr,
                                      "Pause-Printer",
                                      "Resume-Printer",
                                      "Purge-Jobs",
                                      "Set-Printer-Attributes",
                                      "Set-Job-Attributes",
                                      "Get-Printer-Supported-Values",
                                      "Create-Printer-Subscriptions",
                                      "Create-Job-Subscriptions",
                                      "Get-Subscription-Attributes",
                                      "Get-Subscriptions",
                                      "Renew-Subscription",
                                      "Cancel-Subscription",
                                      "Get-Notifications",
                                      nullptr,
                                      "Get-Resource-Attributes",
                                      nullptr,
                                      "Get-Resources",
                                      nullptr,
                                      "Enable-Printer",
                                      "Disable-Printer",
                                      "Pause-Printer-After-Current-Job",
                                      "Hold-New-Jobs",
                                      "Release-Held-New-Jobs",
                                      "Deactivate-Printer",
                                      "Activate-Printer",
                                      "Restart-Printer",
                                      "Shutdown-Printer",
                                      "Startup-Printer",
                                      "Reprocess-Job",
                                      "Cancel-Current-Job",
                                      "Suspend-Current-Job",
                                      "Resume-Job",
                                      "Promote-Job",
                                      "Schedule-Job-After",
                                      nullptr,
                                      "Cancel-Document",
                                      "Get-Document-Attributes",
                                      "Get-Documents",
                                      "Delete-Document",
                                      "Set-Document-Attributes",
                                      "Cancel-Jobs",
                                      "Cancel-My-Jobs",
                                      "Resubmit-Job",
                                      "Close-Job",
                                      "Identify-Printer",
                                      "Validate-Document"};
constexpr const char* successes[] = {"successful-ok", "successful-ok-ignored-or-substituted-attributes",
                                     "successful-ok-conflicting-attributes"};
constexpr const char* clientErrors[] = {"client-error-bad-request",
                                        "client-error-forbidden",
                                        "client-error-not-authenticated",
                                        "client-error-not-authorized",
                                        "client-error-not-possible",
                                        "client-error-timeout",
                                        "client-error-not-found",
                                        "client-error-gone",
                                        "client-error-request-entity-too-large",
                                        "client-error-request-value-too-long",
                                        "client-error-document-format-not-supported",
                                        "client-error-attributes-or-values-not-supported",
                                        "client-error-uri-scheme-not-supported",
                                        "client-error-charset-not-supported",
                                        "client-error-conflicting-attributes",
                                        "client-error-compression-not-supported",
                                        "client-error-compression-error",
                                        "client-error-document-format-error",
                                        "client-error-document-access-error"};
constexpr const char* serverErrors[] = {
    "server-error-internal-error",      "server-error-operation-not-supported",
    "server-error-service-unavailable", "server-error-version-not-supported",
    "server-error-device-error",        "server-error-temporary-error",
    "server-error-not-accepting-jobs",  "server-error-busy",
    "server-error-job-canceled",        "server-error-multiple-document-jobs-not-supported"};
constexpr const char* groups[] = {"operation-attributes-tag",
                                  "job-attributes-tag",
                                  "end-of-attributes-tag",
                                  "printer-attributes-tag",
                                  "unsupported-attributes-tag",
                                  "subscription-attributes-tag",
                                  "event-notification-attributes-tag",
                                  "resource-attributes-tag",
                                  "document-attributes-tag",
                                  "system-attributes-tag"};
constexpr const char* outOfBand[] = {"unsupported", "default",      "unknown",          "no-value",
                                     nullptr,       "not-settable", "delete-attribute", "admin-define"};
constexpr const char* numberTypes[] = {"integer", "boolean", "enum"};
constexpr const char* octetTypes[] = {"octetString", "dateTime",         "resolution",       "rangeOfInteger",
                                      "collection",  "textWithLanguage", "nameWithLanguage", "endCollection"};
constexpr const char* textTypes[] = {
    "textWithoutLanguage", "nameWithoutLanguage", nullptr,         "keyword", "uri", "uriScheme", "charset",
    "naturalLanguage",     "mimeMediaType",       "memberAttrName"};
constexpr const char* jobStates[] = {"pending",  "pending-held", "processing", "processing-stopped",
                                     "canceled", "aborted",      "completed"};
constexpr const char* printerStates[] = {"idle", "processing", "stopped"};
constexpr const char* orientations[] = {"portrait", "landscape", "reverse-landscape", "reverse-portrait",
                                        "none"};
constexpr const char* qualities[] = {"draft", "normal", "high"};
constexpr const char* finishings[] = {"none",          "staple",      "punch", "cover",   "bind",
                                      "saddle-stitch", "edge-stitch", "fold",  "trim",    "bale",
                                      "booklet-maker", "jog-offset",  "coat",  "laminate"};
constexpr const char* staples[] = {
    "staple-top-left",    "staple-bottom-left", "staple-top-right",    "staple-bottom-right",
    "edge-stitch-left",   "edge-stitch-top",    "edge-stitch-right",   "edge-stitch-bottom",
    "staple-dual-left",   "staple-dual-top",    "staple-dual-right",   "staple-dual-bottom",
    "staple-triple-left", "staple-triple-top",  "staple-triple-right", "staple-triple-bottom"};
constexpr const char* binds[] = {"bind-left", "bind-top", "bind-right", "bind-bottom"};
constexpr const char* trims[] = {"trim-after-pages", "trim-after-documents", "trim-after-copies",
                                 "trim-after-job"};
constexpr const char* punchesAndFolds[] = {"punch-top-left",
                                           "punch-bottom-left",
                                           "punch-top-right",
                                           "punch-bottom-right",
                                           "punch-dual-left",
                                           "punch-dual-top",
                                           "punch-dual-right",
                                           "punch-dual-bottom",
                                           "punch-triple-left",
                                           "punch-triple-top",
                                           "punch-triple-right",
                                           "punch-triple-bottom",
                                           "punch-quad-left",
                                           "punch-quad-top",
                                           "punch-quad-right",
                                           "punch-quad-bottom",
                                           "punch-multiple-left",
                                           "punch-multiple-top",
                                           "punch-multiple-right",
                                           "punch-multiple-bottom",
                                           "fold-accordion",
                                           "fold-double-gate",
                                           "fold-gate",
                                           "fold-half",
                                           "fold-half-z",
                                           "fold-left-gate",
                                           "fold-letter",
                                           "fold-parallel",
                                           "fold-poster",
                                           "fold-right-gate",
                                           "fold-z",
                                           "fold-engineering-z"};

constexpr NameRun statusRuns[] = {Run({}, 0, successes), Run({}, 0x0400, clientErrors),
                                  Run({}, 0x0500, serverErrors)};
constexpr NameRun groupRuns[] = {Run({}, 1, groups)};
constexpr NameRun tagRuns[] = {Run({}, 0x10, outOfBand), Run({}, 0x21, numberTypes),
                               Run({}, 0x30, octetTypes), Run({}, 0x41, textTypes)};
constexpr NameRun enumRuns[] = {
    Run("operations", 2, operations),       Run("job-state", 3, jobStates),
    Run("printer-state", 3, printerStates), Run("orientation-requested", 3, orientations),
    Run("print-quality", 3, qualities),     Run("finishings", 3, finishings),
    Run("finishings", 20, staples),         Run("finishings", 50, binds),
    Run("finishings", 60, trims),           Run("finishings", 70, punchesAndFolds)};

constexpr std::string_view endings[] = {"-default", "-supported", "-ready", "-actual"};

template <std::size_t count>
const char* Find(const NameRun (&runs)[count], std::string_view attribute, int number) {
    for (const NameRun& run : runs) {
        const auto index = static_cast<std::size_t>(number - run.first);
        if (run.attribute == attribute && number >= run.first && index < run.count) return run.names[index];
    }
    return nullptr;
}

std::string_view WithoutEnding(std::string_view attribute) {
    for (const std::string_view ending : endings) {
        const std::size_t size = attribute.size() - ending.size();
        if (attribute.size() > ending.size() && attribute.substr(size) == ending)
            return attribute.substr(0, size);
    }
    return attribute;
}

}  // namespace

const char* OperationName(int operation) { return Find(enumRuns, "operations", operation); }

const char* StatusName(unsigned status) { return Find(statusRuns, {}, static_cast<int>(status)); }

const char* GroupName(unsigned char tag) { return Find(groupRuns, {}, tag); }

const char* TagName(unsigned char tag) { return Find(tagRuns, {}, tag); }

const char* EnumName(std::string_view attribute, int number) {
    return Find(enumRuns, WithoutEnding(attribute), number);
}

}  // namespace Corvix::Ipp
