#include "wire/ipp/attributetable.h"

#include <algorithm>

#include "wire/ipp/tags.h"

namespace Corvix::Ipp {
namespace {

/// Attributes of one type, their names with blanks between.
struct TypeRow {
    unsigned char tag;
    std::string_view names;
};

// Some are odd ("sides" is typed integer, "copies-supported" a range, "job-media-sheet" lacks its final s);
// printers have been asked with these tags, so they stay.
constexpr TypeRow typeRows[] = {
    {0, "reserved"},
    {Tag::Uri,
     "printer-uri job-uri job-printer-uri job-more-info printer-uri-supported printer-more-info "
     "printer-driver-installer printer-more-info-manufacturer document-uri"},
    {Tag::NameWithoutLanguage,
     "requesting-user-name document-name job-name job-originating-user-name output-device-assigned "
     "printer-name"},
    {Tag::Boolean,
     "ipp-attribute-fidelity page-ranges-supported printer-is-accepting-jobs color-supported my-jobs "
     "last-document"},
    {Tag::MimeMediaType, "document-format document-format-default document-format-supported"},
    {Tag::NaturalLanguage,
     "document-natural-language attributes-natural-language natural-language-configured "
     "generated-natural-language-supported"},
    {Tag::Keyword,
     "compression requested-attributes job-hold-until multiple-document-handling media "
     "job-hold-until-default multiple-document-handling-default media-default job-hold-until-supported "
     "multiple-document-handling-supported media-supported job-state-reasons uri-security-supported "
     "printer-state-reasons pdl-override-supported compression-supported which-jobs"},
    {Tag::TextWithoutLanguage,
     "message job-state-message job-message-from-operator printer-location printer-info "
     "printer-make-and-model printer-state-message printer-message-from-operator status-message"},
    {Tag::Integer,
     "job-priority job-sheets copies sides number-up job-priority-default job-sheets-default "
     "copies-default sides-default number-up-default job-priority-supported job-sheets-supported "
     "sides-supported number-up-supported job-id number-of-documents time-at-creation "
     "time-at-processing time-at-completed number-of-intervening-jobs job-k-octets job-impressions "
     "job-media-sheet job-k-octets-processed job-impressions-completed job-media-sheets-completed "
     "queued-job-count printer-up-time multiple-operation-timeout limit"},
    {Tag::Enum,
     "finishings orientation-requested print-quality finishings-default orientation-requested-default "
     "print-quality-default finishings-supported orientation-requested-supported "
     "print-quality-supported job-state printer-state operations-supported"},
    {Tag::RangeOfInteger,
     "page-ranges copies-supported job-k-octets-supported job-impressions-supported "
     "job-media-sheets-supported"},
    {Tag::Resolution, "printer-resolution printer-resolution-default printer-resolution-supported"},
    {Tag::Charset, "attributes-charset charset-configured charset-supported"},
    {Tag::UriScheme, "reference-uri-schemes-supported"},
    {Tag::DateTime, "printer-current-time"},
};

bool Lists(std::string_view names, std::string_view name) {
    while (!names.empty()) {
        const std::size_t end = std::min(names.find(' '), names.size());
        if (names.substr(0, end) == name) return true;
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return false;
}

}  // namespace

unsigned char GetTypeOfAttribute(std::string_view name) {
    for (const TypeRow& row : typeRows) {
        if (Lists(row.names, name)) return row.tag;
    }
    return Tag::Keyword;
}

}  // namespace Corvix::Ipp
