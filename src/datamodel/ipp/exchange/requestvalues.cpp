#include "datamodel/ipp/exchange/requestvalues.h"

#include <algorithm>
#include <new>

#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/requestbuilder.h"
#include "wire/ipp/requestwriter.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr DWORD nothingRequestedError = 4306;

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

/// A text that the record does not have leaves the field as it is. The fields then point into the record.
void TakeFromRecord(const IPPRequestBase& record, Ipp::RequestFields& fields) {
    TakeTexts(record, fields);
    TakeChoices(record, fields);
    TakeBlobs(record, fields);
}

}  // namespace

RequestValues RequestValues::For(int otherOperation, IPPRequestBase* otherRecord) const {
    RequestValues values = *this;
    values.operation = otherOperation;
    values.record = otherRecord;
    return values;
}

HRESULT FormAttributes(const IppTarget& target, const RequestValues& values, std::string& attributes) {
    const std::string uri = KyUtils::ToUtf8(target.QualifiedUri());
    Ipp::RequestFields fields;
    fields.language = values.language;
    fields.printerUri = uri;
    fields.requestedAttributes = values.requestedAttributes;
    fields.jobUri = values.jobUri;
    fields.userName = values.userName;
    fields.completedJobs = values.completedJobs;
    fields.jobsOfAllUsers = values.jobsOfAllUsers;
    if (values.record) TakeFromRecord(*values.record, fields);
    // The writers see that they passed the limit after they did: the room is larger than that.
    attributes.resize(Ipp::attributePartCapacity);
    int length = 0;
    const Ipp::FormResult result = Ipp::FormRequest(reinterpret_cast<unsigned char*>(attributes.data()),
                                                    length, values.operation, fields);
    attributes.resize(static_cast<std::size_t>(length));
    if (result == Ipp::FormResult::Formed) return S_OK;
    logSource.ErrorResult(E_FAIL, L"The request of operation %d cannot be formed", values.operation);
    return KyUtils::FailWith(result == Ipp::FormResult::NothingRequested ? nothingRequestedError
                                                                         : DWORD{ERROR_SUCCESS});
}

HRESULT AppendDocument(const RequestValues& values, std::string& body) {
    using namespace Ipp::Operation;  // NOLINT: two of its numbers
    if (values.operation != PrintJob && values.operation != StreamedPrintJob) return S_OK;
    // The transport counts the bytes of a body in 32 bits.
    if (values.documentLength > MAXDWORD - body.size()) return E_FAIL;
    body.append(reinterpret_cast<const char*>(values.document), values.documentLength);
    return S_OK;
}

HRESULT FormBody(const IppTarget& target, const RequestValues& values, std::string& body) try {
    body.reserve(Ipp::attributePartCapacity + std::size_t{values.documentLength});
    const HRESULT formed = FormAttributes(target, values, body);
    return FAILED(formed) ? formed : AppendDocument(values, body);
} catch (const std::bad_alloc&) {
    logSource.ErrorResult(E_FAIL, L"No memory for a request with a document of %lu bytes",
                          values.documentLength);
    return KyUtils::FailWith(ERROR_SUCCESS);
}

}  // namespace Corvix
