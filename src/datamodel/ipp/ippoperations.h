/// The IPP client: forms a request, exchanges it over the caller's transport, reads the answer.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "corvixdm/disposableptr.h"
#include "corvixdm/ipprequest.h"
#include "corvixdm/ippresponse.h"
#include "corvixdm/transport.h"
#include "datamodel/ipp/codec/response.h"

namespace Corvix {

/// One connection to a device. The setters say what the next request is about; texts are UTF-8. One thread at
/// a time.
///
/// An operation that fails returns E_FAIL and leaves its out arguments alone. The thread's last error is then
/// 87 for a missing argument, 4306 for a Get-Printer-Attributes that asks for nothing, else the HTTP status
/// of the answer, or without one the transport's own error code.
class IPPOperations {
public:
    /// \param address stays the caller's and outlives the object.
    explicit IPPOperations(Address* address) : address_(address) {}
    IPPOperations(const IPPOperations&) = delete;
    IPPOperations& operator=(const IPPOperations&) = delete;

    void SetPrinterURI(std::wstring_view uri) { printerUri_ = uri; }
    void SetResourceURI(std::wstring_view path) { resource_ = path; }
    /// The printer URI; the resource is appended to one that has no path.
    std::wstring GetFullyQualifiedURI() const;
    /// Who asks, where the request record does not say.
    void SetRequestedUserName(std::string_view userName) { userName_ = userName; }
    /// The job in hand, where the request record does not say.
    void SetJobURI(std::string_view uri) { jobUri_ = uri; }
    /// The attributes to ask for, a comma-separated list.
    void SetAttributeName(std::string_view names) { requestedAttributes_ = names; }
    /// The attribute that a parse answers where several were asked for.
    void SetAttributeKey(std::string_view name) { attributeKey_ = name; }
    /// The natural language of requests, "en" while it is empty.
    HRESULT SetAttributeLanguage(std::string_view language);
    /// Which jobs Get-Jobs asks for: "completed", anything else for those that are not.
    void SetJobOperations(std::string_view whichJobs) { completedJobs_ = whichJobs == "completed"; }
    /// The document of a Print-Job in one body. The bytes stay the caller's until it was sent.
    void SetPrinterFileBufferContent(const unsigned char* document, unsigned long length);
    /// Handed to HTTPRequest::SetRequestParameter() of each request.
    void SetSecurityFlags(unsigned long flags) { securityFlags_ = flags; }
    unsigned long SecurityFlags() const { return securityFlags_; }
    /// Makes a parse fail on an IPP status other than success and client-error-not-found.
    void SetFailOnErrorStatus(bool fail) { failOnErrorStatus_ = fail; }

    /// One exchange with the whole body at once. `response` receives the answer of status 200 with one
    /// reference.
    HRESULT SendIPPRequest(int operation, HTTPResponse** response, IPPRequestBase* record, bool secure);
    /// The same Print-Job over a request that the caller made and keeps. With `limitsWait` the wait for the
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
    /// The answer to a streamed body that was sent to its end.
    HRESULT GetStreamedResponse(HTTPResponse** response);
    /// The answer that came before the body was sent to its end. The body can be gone on with.
    HRESULT GetEarlyResponse(HTTPResponse** response);
    /// Gives up a streamed body, wherever it stands.
    void EndStream() { ForgetRequest(); }
    /// Whether a streamed exchange was begun and its answer not yet fetched.
    bool IsStreaming() const { return stream_ != nullptr; }
    /// Whether the device answered before a streamed body was sent to its end.
    bool HasEarlyAnswer() const { return stream_ && stream_->GetResponseStatus() != 0; }
    /// Ends the exchange in hand and refuses every later one. Any thread.
    void Cancel();
    /// The HTTP status of the last answer, 0 when there was none.
    unsigned long HttpStatus() const { return httpStatus_; }

    /// Builds the attribute part of a request in a buffer of Ipp::attributePartCapacity bytes.
    HRESULT FormIPPRequestBasedOnOperation(unsigned char* buffer, int operation, int& length,
                                           IPPRequestBase* record) const;
    /// Appends the document after the end tag of a Print-Job, and nothing to any other operation.
    HRESULT AddPrinterFileBufferToRequestData(int operation, std::vector<unsigned char>& body) const;

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
    const std::shared_ptr<const Ipp::Response>& LastResponse() const { return response_; }

private:
    static constexpr unsigned long httpOk = 200;

    bool AsksForNothing(int operation) const;
    bool TakeRequest(DisposablePtr<HTTPRequest> request);
    HRESULT BeginRequest(bool secure);
    HRESULT Exchange(int operation, IPPRequestBase* record, HTTPResponse** response);
    HRESULT FormBody(int operation, IPPRequestBase* record, std::vector<unsigned char>& body) const;
    HRESULT FetchResponse(DisposablePtr<HTTPResponse>& answer);
    HRESULT ReceiveResponse(HTTPResponse** response);
    HRESULT FailWith(unsigned long reason);
    HRESULT SendPiece(int operation, IPPRequestBase* record, bool secure, const unsigned char* piece,
                      unsigned long length, bool last, bool chunked);
    HRESULT BeginStream(int operation, IPPRequestBase* record, bool secure, bool chunked);
    HRESULT WriteChunk(const unsigned char* bytes, unsigned long length, bool last);
    unsigned long RefusalStatus() const;
    HRESULT WritePieces(const unsigned char* piece, unsigned long length, bool last);
    void ForgetRequest();
    std::string_view TargetName() const;

    Address* address_;
    std::mutex requestLock_;  ///< held while request_ changes hands, for Cancel()
    bool cancelled_ = false;
    DisposablePtr<HTTPRequest> request_;
    KyHTTPRequestEx* stream_ = nullptr;          ///< request_, once a streamed exchange began over it
    DisposablePtr<HTTPResponse> earlyResponse_;  ///< to stream_
    std::string chunk_;                          ///< the last one written to stream_
    std::shared_ptr<const Ipp::Response> response_;
    std::wstring printerUri_;
    std::wstring resource_;
    std::string userName_;
    std::string jobUri_;
    std::string requestedAttributes_;
    std::string attributeKey_;
    std::string language_;
    const unsigned char* document_ = nullptr;
    unsigned long documentLength_ = 0;
    unsigned long securityFlags_ = 0;
    unsigned long httpStatus_ = 0;
    bool completedJobs_ = false;
    bool failOnErrorStatus_ = false;
};

/// Adds the record's extra headers (null: none), then those of every IPP request that it does not name
/// itself.
void AddHttpHeaders(IPPRequestBase* record, HTTPRequest* request);

/// The name of a job state, or its number when it has none.
std::string GetJobState(std::string_view number);

}  // namespace Corvix
