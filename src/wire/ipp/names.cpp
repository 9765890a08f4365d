#include "wire/ipp/names.h"

#include <cstddef>

namespace Corvix::Ipp {
namespace {

/// Names of successive numbers, each with a zero behind it; an empty one where a number has none.
struct NameRun {
    std::string_view attribute;
    int first;
    std::string_view names;
};

template <std::size_t size>
constexpr NameRun Run(std::string_view attribute, int first, const char (&names)[size]) {
    return {attribute, first, {names, size}};
}

constexpr NameRun statusRuns[] = {
    Run({}, 0x0000,
        "successful-ok\0successful-ok-ignored-or-substituted-attributes\0"
        "successful-ok-conflicting-attributes"),
    Run({}, 0x0400,
        "client-error-bad-request\0client-error-forbidden\0client-error-not-authenticated\0"
        "client-error-not-authorized\0client-error-not-possible\0client-error-timeout\0"
        "client-error-not-found\0client-error-gone\0client-error-request-entity-too-large\0"
        "client-error-request-value-too-long\0client-error-document-format-not-supported\0"
        "client-error-attributes-or-values-not-supported\0client-error-uri-scheme-not-supported\0"
        "client-error-charset-not-supported\0client-error-conflicting-attributes\0"
        "client-error-compression-not-supported\0client-error-compression-error\0"
        "client-error-document-format-error\0client-error-document-access-error"),
    Run({}, 0x0500,
        "server-error-internal-error\0server-error-operation-not-supported\0"
        "server-error-service-unavailable\0server-error-version-not-supported\0server-error-device-error\0"
        "server-error-temporary-error\0server-error-not-accepting-jobs\0server-error-busy\0"
        "server-error-job-canceled\0server-error-multiple-document-jobs-not-supported"),
};

constexpr NameRun tagRuns[] = {
    Run({}, 1,
        "operation-attributes-tag\0job-attributes-tag\0end-of-attributes-tag\0printer-attributes-tag\0"
        "unsupported-attributes-tag\0subscription-attributes-tag\0event-notification-attributes-tag\0"
        "resource-attributes-tag\0document-attributes-tag\0system-attributes-tag"),
    Run({}, 0x10, "unsupported\0default\0unknown\0no-value\0\0not-settable\0delete-attribute\0admin-define"),
    Run({}, 0x21, "integer\0boolean\0enum"),
    Run({}, 0x30,
        "octetString\0dateTime\0resolution\0rangeOfInteger\0collection\0textWithLanguage\0"
        "nameWithLanguage\0endCollection"),
    Run({}, 0x41,
        "textWithoutLanguage\0nameWithoutLanguage\0\0keyword\0uri\0uriScheme\0charset\0naturalLanguage\0"
        "mimeMediaType\0memberAttrName"),
};

constexpr NameRun enumRuns[] = {
    Run("operations", 2,
        "Print-Job\0Print-URI\0Validate-Job\0Create-Job\0Send-Document\0Send-URI\0Cancel-Job\0"
        "Get-Job-Attributes\0Get-Jobs\0Get-Printer-Attributes\0Hold-Job\0Release-Job\0Restart-Job\0\0"
        "Pause-Printer\0Resume-Printer\0Purge-Jobs\0Set-Printer-Attributes\0Set-Job-Attributes\0"
        "Get-Printer-Supported-Values\0Create-Printer-Subscriptions\0Create-Job-Subscriptions\0"
        "Get-Subscription-Attributes\0Get-Subscriptions\0Renew-Subscription\0Cancel-Subscription\0"
        "Get-Notifications\0\0Get-Resource-Attributes\0\0Get-Resources\0\0Enable-Printer\0Disable-Printer\0"
        "Pause-Printer-After-Current-Job\0Hold-New-Jobs\0Release-Held-New-Jobs\0Deactivate-Printer\0"
        "Activate-Printer\0Restart-Printer\0Shutdown-Printer\0Startup-Printer\0Reprocess-Job\0"
        "Cancel-Current-Job\0Suspend-Current-Job\0Resume-Job\0Promote-Job\0Schedule-Job-After\0\0"
        "Cancel-Document\0Get-Document-Attributes\0Get-Documents\0Delete-Document\0"
        "Set-Document-Attributes\0Cancel-Jobs\0Cancel-My-Jobs\0Resubmit-Job\0Close-Job\0Identify-Printer\0"
        "Validate-Document"),
    Run("job-state", 3,
        "pending\0pending-held\0processing\0processing-stopped\0canceled\0aborted\0completed"),
    Run("printer-state", 3, "idle\0processing\0stopped"),
    Run("orientation-requested", 3, "portrait\0landscape\0reverse-landscape\0reverse-portrait\0none"),
    Run("print-quality", 3, "draft\0normal\0high"),
    Run("finishings", 3,
        "none\0staple\0punch\0cover\0bind\0saddle-stitch\0edge-stitch\0fold\0trim\0bale\0booklet-maker\0"
        "jog-offset\0coat\0laminate"),
    Run("finishings", 20,
        "staple-top-left\0staple-bottom-left\0staple-top-right\0staple-bottom-right\0edge-stitch-left\0"
        "edge-stitch-top\0edge-stitch-right\0edge-stitch-bottom\0staple-dual-left\0staple-dual-top\0"
        "staple-dual-right\0staple-dual-bottom\0staple-triple-left\0staple-triple-top\0"
        "staple-triple-right\0staple-triple-bottom"),
    Run("finishings", 50, "bind-left\0bind-top\0bind-right\0bind-bottom"),
    Run("finishings", 60, "trim-after-pages\0trim-after-documents\0trim-after-copies\0trim-after-job"),
    Run("finishings", 70,
        "punch-top-left\0punch-bottom-left\0punch-top-right\0punch-bottom-right\0punch-dual-left\0"
        "punch-dual-top\0punch-dual-right\0punch-dual-bottom\0punch-triple-left\0punch-triple-top\0"
        "punch-triple-right\0punch-triple-bottom\0punch-quad-left\0punch-quad-top\0punch-quad-right\0"
        "punch-quad-bottom\0punch-multiple-left\0punch-multiple-top\0punch-multiple-right\0"
        "punch-multiple-bottom\0fold-accordion\0fold-double-gate\0fold-gate\0fold-half\0fold-half-z\0"
        "fold-left-gate\0fold-letter\0fold-parallel\0fold-poster\0fold-right-gate\0fold-z\0"
        "fold-engineering-z"),
};

constexpr std::string_view endings[] = {"-default", "-supported", "-ready", "-actual"};

/// The name that is `index` names behind the first; null without one.
const char* NameAt(std::string_view names, int index) {
    for (; index > 0 && !names.empty(); --index)
        names.remove_prefix(names.find('\0') + 1);
    return names.empty() || names.front() == '\0' ? nullptr : names.data();
}

template <std::size_t count>
const char* Find(const NameRun (&runs)[count], std::string_view attribute, int number) {
    for (const NameRun& run : runs) {
        if (run.attribute != attribute || number < run.first) continue;
        if (const char* name = NameAt(run.names, number - run.first)) return name;
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

const char* TagName(unsigned char tag) { return Find(tagRuns, {}, tag); }

const char* EnumName(std::string_view attribute, int number) {
    return Find(enumRuns, WithoutEnding(attribute), number);
}

}  // namespace Corvix::Ipp
