/// The IPP client by its given names.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <memory>
#include <string>
#include <string_view>

#include "corvixdm/ippresponse.h"
#include "datamodel/ipp/exchange/ippexchange.h"
#include "datamodel/ipp/printing/printstream.h"

namespace Corvix {

/// A thin front of an exchange and a print stream with one device: the setters say what the next request is
/// about, and the last answer read is kept. Texts are UTF-8. One thread at a time.
///
/// An operation that fails returns E_FAIL and leaves its out arguments alone. The thread's last error is then
/// 87 for a missing argument, else that of IppExchange or PrintStream.
class IPPOperations {
public:
    /// \param address stays the caller's and outlives the object.
    explicit IPPOperations(Address* address, IppTarget target = {})
        : exchange_(address, std::move(target)), stream_(address) {}
    IPPOperations(const IPPOperations&) = delete;
    IPPOperations& operator=(const IPPOperations&) = delete;

    void SetPrinterURI(std::wstring_view uri) { exchange_.Target().printerUri = uri; }
    void SetResourceURI(std::wstring_view path) { exchange_.Target().resource = path; }
    /// The printer URI; the resource is appended to one that has no path.
    std::wstring GetFullyQualifiedURI() const { return exchange_.Target().QualifiedUri(); }
    /// Who asks, where the request record does not say.
    void SetRequestedUserName(std::string_view userName) { values_.userName = userName; }
    /// The job in hand, where the request record does not say.
    void SetJobURI(std::string_view uri) { values_.jobUri = uri; }
    /// The attributes to ask for, a comma-separated list.
    void SetAttributeName(std::string_view names) { values_.requestedAttributes = names; }
    /// The attribute that a parse answers where several were asked for.
    void SetAttributeKey(std::string_view name) { attributeKey_ = name; }
    /// The natural language of requests, "en" while it is empty.
    HRESULT SetAttributeLanguage(std::string_view language);
    /// Which jobs Get-Jobs asks for: "completed", anything else for those that are not.
    void SetJobOperations(std::string_view whichJobs) { values_.completedJobs = whichJobs == "completed"; }
    /// The document of a Print-Job in one body. The bytes stay the caller's until it was sent.
    void SetPrinterFileBufferContent(const unsigned char* document, unsigned long length);
    /// Handed to HTTPRequest::SetRequestParameter() of each request.
    void SetSecurityFlags(unsigned long flags) { exchange_.Target().securityFlags = flags; }
    /// Makes a parse fail on an IPP status other than success and client-error-not-found.
    void SetFailOnErrorStatus(bool fail) { failOnErrorStatus_ = fail; }

    /// One exchange with the whole body at once. `response` receives the answer of status 200 with one
    /// reference.
    HRESULT SendIPPRequest(int operation, HTTPResponse** response, IPPRequestBase* record, bool secure);
    /// The same, and ParseIPPResponse() of the answer.
    HRESULT Ask(int operation, IPPRequestBase* record, bool secure, VARIANT* value);
    /// A Print-Job over a request that the caller made and keeps. With `limitsWait` the wait for the
    /// answer is limited to so many milliseconds, and the caller asks for the result itself.
    HRESULT SendIPPRequest(KyHTTPRequestEx* request, IPPRequestBase* record, bool limitsWait,
                           unsigned long milliseconds);

    /// Sends one piece of a streamed Print-Job. The first call begins the exchange and sends the attributes
    /// ahead of the piece, each as a chunk of its own; so does the first call after a failure.
    /// \param last ends the body; the piece may then be empty.
    /// \param chunked announces the chunks in the header; without it the record's own extra headers do so.
    HRESULT SendPrintJobRequest(IPPRequestBase* record, bool secure, const unsigned char* piece,
                                unsigned long length, bool last, bool chunked);
    /// The same for Send-Document.
    HRESULT SendDocumentRequest(IPPRequestBase* record, bool secure, const unsigned char* piece,
                                unsigned long length, bool last, bool chunked);
    /// The streamed body. To go on with one that was begun, it is written to directly.
    PrintStream& Stream() { return stream_; }

    /// Builds the attribute part of a request in a buffer of Ipp::attributePartCapacity bytes.
    HRESULT FormIPPRequestBasedOnOperation(unsigned char* buffer, int operation, int& length,
                                           IPPRequestBase* record) const;
    /// Appends the document after the end tag of a Print-Job, and nothing to any other operation.
    HRESULT AddPrinterFileBufferToRequestData(int operation, std::string& body) const;

    /// Reads an answer, which takes the place of the one read before; on a malformed one what stands before
    /// the fault can still be asked for. Where a single attribute was requested, or the attribute key says
    /// which, `value` (null, or initialised) receives it, if the answer has it.
    HRESULT ParseIPPResponse(HTTPResponse* response, VARIANT* value);
    HRESULT ParseIPPContent(const unsigned char* body, unsigned long length, VARIANT* value);
    /// The values of one attribute as text. \return 0, or 1 when the answer has no such attribute.
    HRESULT GetValueFromIPPMap(std::string_view name, VARIANT* value) const;
    /// Fills the record from the last answer read. E_FAIL without one.
    HRESULT FormResponseStructure(int operation, IPPResponseBase* record) const;
    /// The last answer read; null before the first.
    const std::shared_ptr<const Ipp::Message>& LastResponse() const { return answer_.Message(); }

private:
    HRESULT OpenStream(int operation, IPPRequestBase* record, bool secure, bool chunked);
    HRESULT WriteToStream(const unsigned char* piece, unsigned long length, bool last);
    std::string_view TargetName() const;

    IppExchange exchange_;
    PrintStream stream_;
    RequestValues values_;
    IppAnswer answer_;
    std::string attributeKey_;
    bool failOnErrorStatus_ = false;
};

/// The name of a job state, or its number when it has none.
std::string GetJobState(std::string_view number);

}  // namespace Corvix
