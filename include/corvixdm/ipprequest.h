/// \file ipprequest.h
/// The record of what a print job asks for.
#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "disposable.h"
#include "export.h"

namespace Corvix {

/// \name Values of IPPRequestBase
/// @{
enum class IPPSides : int { OneSided = 0, TwoSidedLongEdge = 1, TwoSidedShortEdge = 2, NotSent = 3 };
enum class IPPMultipleDocHandling : int {
    NotSent = -1,
    UncollatedCopies = 1,
    CollatedCopies = 2,
    SingleDocumentNewSheet = 3
};
enum class IPPOutputMode : int { Color = 0, Monochrome = 1 };
enum class IPPContentOptimize : int {
    NotSent = 0,
    Auto = 1,
    Graphic = 2,
    Photo = 3,
    Text = 4,
    TextAndGraphic = 5
};
enum class IPPResolutionUnits : int { DotsPerInch = 3, DotsPerCentimeter = 4 };
/// Where AddIPPRequest() puts encoded attributes.
enum class IPPBlobType : unsigned { OperationAttributes = 1, JobAttributes = 2 };
/// @}

/// Encoded attributes that were added to a record: its own copy of the bytes.
struct IPPAttributeBlob {
    unsigned type;
    std::vector<unsigned char> bytes;
};

/// Header lines, name and value, in the order in which they were added.
using HTTPHeaderList = std::vector<std::pair<std::wstring, std::wstring>>;

/// What a job asks for, and who asks. Made by CreateIPPRequest(), filled by the caller, handed to the
/// operations of an IPP provider, which read it during the call.
///
/// Narrow texts are UTF-8. Every text is copied; null takes a text back. A Get answers what was set, null for
/// a text never set, else the default; texts that it returns are the record's own until they are set again or
/// it goes. The record has no locks: one thread at a time.
class CORVIXDM_API IPPRequestBase : public virtual IDisposable {
public:
    IPPRequestBase();
    IPPRequestBase(const IPPRequestBase& other);
    IPPRequestBase& operator=(const IPPRequestBase& other);
    virtual ~IPPRequestBase();

    /// Names the printer once more in the requests that print a document.
    virtual void SetPrinterURI(const char* uri) = 0;
    virtual const char* GetPrinterURI() const = 0;
    /// "copies"; 0 sends none, 1 is the default.
    virtual void SetCopy(unsigned copies) = 0;
    virtual unsigned GetCopy() const = 0;
    virtual void SetRequestingUserName(const char* userName) = 0;
    virtual const char* GetRequestingUserName() const = 0;
    virtual void SetDocumentUri(const char* uri) = 0;
    virtual const char* GetDocumentUri() const = 0;
    virtual void SetJobName(const char* name) = 0;
    virtual const char* GetJobName() const = 0;
    /// Asks the printer to refuse the job rather than to print it otherwise than asked. Default false.
    virtual void SetIPPAttributeFidelity(bool fidelity) = 0;
    virtual bool GetIPPAttributeFidelity() const = 0;
    virtual void SetDocumentName(const char* name) = 0;
    virtual const char* GetDocumentName() const = 0;
    /// An IPPMultipleDocHandling; other values are not sent. Default NotSent.
    virtual void SetMultipleDocHandling(int handling) = 0;
    virtual int GetMultipleDocHandling() const = 0;
    /// An IPPSides; other values are not sent. Default NotSent.
    virtual void SetPrintingSides(int sides) = 0;
    virtual int GetPrintingSides() const = 0;
    /// 3 portrait, 4 landscape, 5 reverse landscape, 6 reverse portrait; 2 and below are not sent. Default 2.
    virtual void SetOrientationRequested(int orientation) = 0;
    virtual int GetOrientationRequested() const = 0;
    /// Dots per unit across and along the feed; sent when both are above 0. Default 0, 0.
    virtual void SetPrinterResolution(unsigned crossFeed, unsigned feed) = 0;
    /// Null arguments are left out.
    virtual void GetPrinterResolution(unsigned* crossFeed, unsigned* feed) const = 0;
    /// An IPPResolutionUnits. Default DotsPerInch.
    virtual void SetPrinterResolutionUnits(int units) = 0;
    virtual int GetPrinterResolutionUnits() const = 0;
    /// 3 draft, 4 normal, 5 high; 2 and below are not sent. Default 2.
    virtual void SetPrintQuality(int quality) = 0;
    virtual int GetPrintQuality() const = 0;
    /// An IPPOutputMode; only Monochrome is sent. Default Color.
    virtual void SetOutputMode(int mode) = 0;
    virtual int GetOutputMode() const = 0;
    /// An IPPContentOptimize; other values are not sent. Default NotSent.
    virtual void SetPrintContentOptimize(int optimize) = 0;
    virtual int GetPrintContentOptimize() const = 0;
    /// Whether the document has its margins already: a note between those who share the record, not sent.
    /// Default false.
    virtual void SetMarginsPreApplied(bool applied) = 0;
    virtual bool GetMarginsPreApplied() const = 0;
    /// The job of Cancel-Job and Get-Job-Attributes.
    virtual void SetJobURI(const char* uri) = 0;
    virtual const char* GetJobURI() const = 0;
    /// The job of Send-Document and Send-URI; 0, the default, sends none.
    virtual void SetJobID(unsigned id) = 0;
    virtual unsigned GetJobID() const = 0;
    /// Default false.
    virtual void SetLastDocument(bool last) = 0;
    virtual bool GetLastDocument() const = 0;
    /// Credentials of the HTTP exchange.
    virtual void SetUsername(const wchar_t* userName) = 0;
    virtual const wchar_t* GetUsername() const = 0;
    virtual void SetPassword(const wchar_t* password) = 0;
    virtual const wchar_t* GetPassword() const = 0;
    /// One more header line of the HTTP request. A null name is ignored; a null value is an empty one.
    virtual void AddExtraHTTPHeader(const wchar_t* name, const wchar_t* value) = 0;

    /// Appends attributes in the encoding of IPP (tag, name, value, ...) to the requests made with this
    /// record, in the order in which they are added. \param type IPPBlobType::OperationAttributes for the end
    /// of the operation attributes; any other goes to the
    ///        end of the request, which is the job group where there is one.
    /// \return S_OK; E_FAIL for null bytes or a size below 1, E_OUTOFMEMORY: nothing was added.
    virtual HRESULT AddIPPRequest(unsigned type, const unsigned char* bytes, int size) = 0;
    /// The same for one attribute of one value that the library encodes: its tag (0x44 keyword, ...), its
    /// name and the `size` bytes of its value, which may be none.
    /// \return as above; E_FAIL also for a null or empty name and for a name or value longer than 1023 bytes.
    virtual HRESULT AddIPPRequest(unsigned type, unsigned char tag, const char* name,
                                  const unsigned char* value, int size) = 0;

    /// The value of the "Authorization" header of requests made with this record;
    /// IPPProvider::RequestAuthorization stores what the device answered.
    virtual void SetAuthorization(const wchar_t* authorization) = 0;
    virtual const wchar_t* GetAuthorization() const = 0;

    virtual const HTTPHeaderList& GetExtraHTTPHeader() const = 0;
    /// What AddIPPRequest() added, in its order.
    virtual const std::vector<IPPAttributeBlob>& GetBlobVector() const = 0;
    /// The names of the attributes in the blobs. A "copies" among them takes the place of SetCopy().
    virtual const std::vector<std::string>& GetAttributesVector() const = 0;
    /// Whether SetLastDocument() was called: operations that send a document want to be told either way.
    virtual bool HasLastDocument() const = 0;
};

}  // namespace Corvix

extern "C" {
/// A record with its defaults, holding one reference, owned by the caller.
/// \throws _com_error with E_OUTOFMEMORY when memory runs out.
CORVIXDM_API Corvix::IPPRequestBase* CreateIPPRequest();
}
