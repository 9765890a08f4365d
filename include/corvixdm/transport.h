/// \file transport.h
/// What a caller implements: the way to one device.
///
/// The library does no HTTP and no SNMP itself. It is handed an `Address`, asks it for HTTP requests and SNMP
/// connections, and calls those in the order that each interface describes. The folder `transport/` of the
/// project holds a complete implementation over sockets, to use or to copy.
///
/// **Ownership.** Every object that goes out through an `out` argument carries one reference, which the
/// receiver gives up with IDisposable::Dispose(). Texts returned by an object are the object's own and stay
/// valid until it is changed or goes. Texts passed in are copied by the callee when it needs them longer than
/// the call.
///
/// **Results.** 0 (S_OK) is success, a negative value is failure. On failure an out argument is left as it
/// was. No operation may throw.
///
/// **Threads.** One request, response or connection is used by one thread at a time. An `Address` may be
/// asked for requests by several threads at once: the polling threads of an IPP provider share it with the
/// caller.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "disposable.h"
#include "export.h"

namespace Corvix {

/// The answer to one HTTP request.
class CORVIXDM_API HTTPResponse : public virtual IDisposable {
public:
    HTTPResponse();
    HTTPResponse(const HTTPResponse& other);
    HTTPResponse& operator=(const HTTPResponse& other);
    virtual ~HTTPResponse();

    /// The HTTP status, such as 200.
    virtual unsigned long GetStatusCode() = 0;
    /// The value of the first header of this name (compared without case), or null when there is none.
    virtual const wchar_t* GetHeader(const wchar_t* name) = 0;
    /// The value of the "Content-Type" header, or null.
    virtual const wchar_t* GetContentType() = 0;
    /// The number of bytes of the body, 0 when there is none.
    virtual unsigned long GetBodyLength() = 0;
    /// The body, followed by one zero byte that GetBodyLength() does not count; null when there is no body.
    virtual const unsigned char* GetBody() = 0;
    /// The reason phrase of the status line, or null.
    virtual const wchar_t* GetReasonPhrase() = 0;
};

/// One HTTP exchange with the device: set it up, send it, ask for the response. Used once.
///
/// For a plain read of a resource the library calls SetURI() (and the credentials) and then GetResponse() at
/// once: neither method, content type nor Send(). GetResponse() on a request that was not sent sends it, with
/// the method "GET" when none was set.
class CORVIXDM_API HTTPRequest : public virtual IDisposable {
public:
    HTTPRequest();
    HTTPRequest(const HTTPRequest& other);
    HTTPRequest& operator=(const HTTPRequest& other);
    virtual ~HTTPRequest();

    /// The resource path, beginning with "/".
    virtual void SetURI(const wchar_t* path) = 0;
    virtual void SetUserName(const wchar_t* userName) = 0;
    virtual void SetPassword(const wchar_t* password) = 0;
    /// "GET", "POST", ...; "GET" when it is never called.
    virtual HRESULT SetMethod(const wchar_t* method) = 0;
    /// Adds one header line; the same name may be added more than once.
    virtual void AddHeader(const wchar_t* name, const wchar_t* value) = 0;
    virtual void SetContentType(const wchar_t* contentType) = 0;
    /// Sends the request with a body of `length` bytes (null and 0: without one), which need not stay valid.
    /// The content type may still be set between this call and GetResponse(), and counts: the library does so
    /// in SOAP exchanges. A transport may hold the exchange back until GetResponse() and report its failures
    /// there.
    virtual HRESULT Send(const unsigned char* body, unsigned long length) = 0;
    /// Waits for the response. Whatever its status, an answer of the device is a success here.
    virtual HRESULT GetResponse(HTTPResponse** response) = 0;
    /// A value that belongs to the request alone; the library passes the security flags of an IPP exchange
    /// (the request flags of WinINet, such as 0x803100) or what Address::GetConnectionParameter() gave.
    virtual void SetRequestParameter(unsigned long value) = 0;
    /// The system error code of the last operation that failed, 0 when none did.
    virtual unsigned long GetLastErrorCode() = 0;
    /// Ends the exchange from any thread: a call that waits for the device returns with a failure soon.
    virtual void Cancel() = 0;
    /// The longest wait for the device, in milliseconds, for each of connecting, sending and receiving.
    virtual void SetTimeout(unsigned long milliseconds) = 0;
};

/// A request whose body can be written piece by piece. What Address::CreateHTTPRequest() hands out is asked
/// for this class with a dynamic_cast where a print job is streamed.
///
/// A streamed exchange: method, URI, content type and headers; "Transfer-Encoding: chunked" among the headers
/// means that the pieces written are the exact bytes of the chunked body, frames included.
/// SetTotalBodyLength(), then Write() for each piece, then GetResult(), then GetResponse().
class CORVIXDM_API KyHTTPRequestEx : public HTTPRequest {
public:
    KyHTTPRequestEx();
    KyHTTPRequestEx(const KyHTTPRequestEx& other);
    KyHTTPRequestEx& operator=(const KyHTTPRequestEx& other);
    ~KyHTTPRequestEx() override;

    /// The number of body bytes written so far.
    virtual unsigned long long GetBytesWritten() = 0;
    /// The final 32-bit result of the exchange: 0 when every piece was taken, else the failure.
    virtual HRESULT GetResult() = 0;
    /// Writes one piece of the body. The first call connects and sends the head of the request.
    /// `last` tells that no further piece follows; null and 0 with `last` only ends the body.
    virtual HRESULT Write(const unsigned char* piece, unsigned long length, bool last) = 0;
    /// The HTTP status of the response once it is there, else 0. A device may answer before it was sent the
    /// whole body. The library then asks for the response at once, and where the device has taken the job
    /// goes on to write the rest of the body; the response is not asked for again.
    virtual unsigned long GetResponseStatus() = 0;
    /// The number of bytes of the whole body, sent as "Content-Length"; 0 when it is not known beforehand.
    virtual void SetTotalBodyLength(unsigned long length) = 0;
};

/// An SNMP connection to the device. Object identifiers are dotted decimal texts without a leading dot.
///
/// Values: INTEGER, Counter32, Gauge32 and TimeTicks as VT_I4 (unsigned values wrap), OCTET STRING as VT_BSTR
/// when it is printable text and else as VT_ARRAY|VT_UI1, OBJECT IDENTIFIER as VT_BSTR. A `noSuchObject`,
/// `noSuchInstance` or `endOfMibView` answer is a failure. The library hands in initialised VARIANTs.
class CORVIXDM_API MIBConnection : public virtual IDisposable {
public:
    MIBConnection();
    MIBConnection(const MIBConnection& other);
    MIBConnection& operator=(const MIBConnection& other);
    virtual ~MIBConnection();

    /// Reads one object.
    virtual HRESULT GetValue(const wchar_t* oid, VARIANT* value) = 0;
    /// Reads `count` objects in one request; either all `values` are set or none.
    virtual HRESULT GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) = 0;
    /// Reads the object that follows `oid`. `nextOid` has room for `nextOidChars` characters, the terminating
    /// zero included; E_OUTOFMEMORY means that this was too little, and neither output is touched.
    virtual HRESULT GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                                       VARIANT* value) = 0;
    /// Writes one object: VT_INT and VT_I4 as INTEGER, VT_BSTR as OCTET STRING.
    virtual HRESULT SetValue(const wchar_t* oid, const VARIANT& value) = 0;
    /// The longest wait for one answer in milliseconds, and how often a request is sent again without one.
    virtual void SetTimeout(unsigned long milliseconds, unsigned retries) = 0;
    /// The error-status of the last answer that carried one, else 0.
    virtual unsigned long GetLastErrorStatus() = 0;
};

/// A source of bytes. The library calls none of its operations; it is here for transports that share one.
class CORVIXDM_API Stream : public virtual IDisposable {
public:
    Stream();
    Stream(const Stream& other);
    Stream& operator=(const Stream& other);
    virtual ~Stream();

    /// Reads up to `capacity` bytes; `length` 0 is the end.
    virtual HRESULT Read(unsigned char* buffer, unsigned long capacity, unsigned long* length) = 0;
    virtual HRESULT Write(const unsigned char* bytes, unsigned long length) = 0;
    virtual HRESULT Close() = 0;
};

/// Told how an exchange goes on. The library calls none of its operations; it is here for transports that
/// report progress to their own callers.
class CORVIXDM_API Notifier : public virtual IDisposable {
public:
    Notifier();
    Notifier(const Notifier& other);
    Notifier& operator=(const Notifier& other);
    virtual ~Notifier();

    virtual void OnConnected() = 0;
    virtual void OnBytesSent(unsigned long long bytes) = 0;
    virtual void OnBytesReceived(unsigned long long bytes) = 0;
    virtual void OnCompleted() = 0;
    /// `error` is a system error code.
    virtual void OnFailed(unsigned long error) = 0;
};

/// One device. Made by the caller, handed to the library's factories, which take references of their own.
class CORVIXDM_API Address : public virtual IDisposable {
public:
    Address();
    Address(const Address& other);
    Address& operator=(const Address& other);
    virtual ~Address();

    /// A value that the library hands unchanged to HTTPRequest::SetRequestParameter() of an extended request.
    virtual unsigned long long GetConnectionParameter() = 0;
    /// The device's host: a dotted IPv4 address, an IPv6 address without brackets, a DNS name, or the name of
    /// a USB port such as "USB001".
    virtual const wchar_t* GetHostName() = 0;
    virtual void SetHostName(const wchar_t* host) = 0;
    /// A name for people, or null.
    virtual const wchar_t* GetDisplayName() = 0;
    /// Makes a request to the given TCP port of the device, over TLS when SetSecure(true) was called before.
    virtual HRESULT CreateHTTPRequest(HTTPRequest** request, unsigned long port) = 0;
    virtual HRESULT CreateMIBConnection(MIBConnection** connection) = 0;
    /// Credentials for requests that are given none of their own.
    virtual void SetCredentials(const wchar_t* userName, const wchar_t* password) = 0;
    /// The longest wait in milliseconds that new requests and connections begin with.
    virtual void SetTimeout(unsigned long milliseconds) = 0;
    virtual unsigned long GetTimeout() = 0;
    /// Sets the port that GetPort() answers; the library does so when a printer advertises another one.
    virtual void SetPort(const wchar_t* port) = 0;
    /// The port configured for the device as text, such as "631"; empty when none is.
    virtual const wchar_t* GetPort() = 0;
    /// Whether requests made from now on use TLS.
    virtual void SetSecure(bool secure) = 0;
    virtual bool IsSecure() = 0;
    /// The largest response body in bytes that is accepted; a longer one fails the request.
    virtual void SetMaximumBodyLength(unsigned long bytes) = 0;
    /// True when the other address is the same device on the same port.
    virtual bool IsSameDevice(Address* other) = 0;
};

/// An address on the network, as opposed to a local port.
class CORVIXDM_API KyNetAddress : public Address {
public:
    KyNetAddress();
    KyNetAddress(const KyNetAddress& other);
    KyNetAddress& operator=(const KyNetAddress& other);
    ~KyNetAddress() override;

    /// Whether the device has a web-services port; without one the library skips maps of the "WS" protocol.
    virtual bool IsWebServicePortAvailable() = 0;
};

}  // namespace Corvix
