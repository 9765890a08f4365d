// The exported functions that tell what is wrong with a document.
#include "corvixdm/documentfault.h"
#include "datamodel/dom/xmlfault.h"
#include "utilslib/logging.h"

namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

HRESULT FindDocumentFault(const char* document, unsigned long length, Corvix::DocumentFault* fault) {
    const KyUtils::LogScope scope(logSource, "FindDocumentFault");
    if (!document || !fault) return E_FAIL;
    Corvix::XmlPlace place;
    const HRESULT result = Corvix::InspectXml({document, length}, Corvix::XmlOrigin::Caller, place);
    if (SUCCEEDED(result)) return S_FALSE;
    const wchar_t* reason = Corvix::XmlReason(result);
    if (!reason) return result;
    *fault = {result, place.line, place.column, reason};
    return S_OK;
}

const wchar_t* DescribeDocumentFault(HRESULT result) { return Corvix::XmlReason(result); }
