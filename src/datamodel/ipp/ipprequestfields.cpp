#include "datamodel/ipp/ipprequestfields.h"

#include <algorithm>

namespace Corvix {
namespace {

void TakeText(std::string_view& field, const char* text) {
    if (text && *text) field = text;
}

void TakeTexts(const IPPRequestBase& record, Ipp::RequestFields& fields) {
    TakeText(fields.recordPrinterUri, record.GetPrinterURI());
    TakeText(fields.userName, record.GetRequestingUserName());
    TakeText(fields.jobUri, record.GetJobURI());
    TakeText(fields.jobName, record.GetJobName());
    TakeText(fields.documentName, record.GetDocumentName());
    TakeText(fields.documentUri, record.GetDocumentUri());
}

void TakeChoices(const IPPRequestBase& record, Ipp::RequestFields& fields) {
    fields.jobId = record.GetJobID();
    fields.copies = record.GetCopy();
    fields.sides = record.GetPrintingSides();
    fields.orientation = record.GetOrientationRequested();
    fields.quality = record.GetPrintQuality();
    fields.multipleDocumentHandling = record.GetMultipleDocHandling();
    fields.contentOptimize = record.GetPrintContentOptimize();
    fields.fidelity = record.GetIPPAttributeFidelity();
    fields.monochrome = record.GetOutputMode() == static_cast<int>(IPPOutputMode::Monochrome);
    fields.lastDocument = record.GetLastDocument();
}

void TakeResolution(const IPPRequestBase& record, Ipp::RequestFields& fields) {
    unsigned crossFeed = 0;
    unsigned feed = 0;
    record.GetPrinterResolution(&crossFeed, &feed);
    fields.crossFeedResolution = static_cast<std::int32_t>(crossFeed);
    fields.feedResolution = static_cast<std::int32_t>(feed);
    fields.resolutionUnits = static_cast<unsigned char>(record.GetPrinterResolutionUnits());
}

void TakeBlobs(const IPPRequestBase& record, Ipp::RequestFields& fields) {
    for (const IPPAttributeBlob& blob : record.GetBlobVector()) {
        const std::string_view bytes(reinterpret_cast<const char*>(blob.bytes.data()), blob.bytes.size());
        const bool ofOperation = blob.type == static_cast<unsigned>(IPPBlobType::OperationAttributes);
        fields.extras.push_back({ofOperation, bytes});
    }
    const std::vector<std::string>& names = record.GetAttributesVector();
    fields.extrasHoldCopies = std::find(names.begin(), names.end(), "copies") != names.end();
}

}  // namespace

void TakeFromRecord(const IPPRequestBase& record, Ipp::RequestFields& fields) {
    TakeTexts(record, fields);
    TakeChoices(record, fields);
    TakeResolution(record, fields);
    TakeBlobs(record, fields);
}

}  // namespace Corvix
