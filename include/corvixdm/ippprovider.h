/// \file ippprovider.h
/// The IPP client for one printer: attribute queries, print jobs, and following them.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "disposable.h"
#include "export.h"
#include "transport.h"

namespace Corvix {

class IPPRequestBase;
class IPPResponseBase;

/// The result for a job that the device cancelled. A failure, although it reads like a success.
constexpr HRESULT S_DEVICECANCELED = static_cast<HRESULT>(0x902A010A);

/// Last errors of the provider's own.
enum class IPPError : unsigned long {
    NotSupported = 0x20000001,     ///< the device accepts connections on port 80 but not on 631
    NotReachable = 0x20000002,     ///< the device accepts connections on neither
    PathTooShort = 0x20000003,     ///< the printer URI is empty or its path is shorter than 4 characters
    PathMissing = 0x20000004,      ///< the printer URI has no path, or the resource is empty
    PrinterNotFound = 0x20000009,  ///< the printer refused the URI: HTTP status 400, 404 or 405
    StateUnknown = 0x20000010,     ///< the printer did not tell its state when it was waited for
};

/// The IPP client of one printer. A provider exists only for a printer that answered a Get-Printer-Attributes
/// request; the attributes of that answer are its cache for life.
///
/// **Threads.** One thread at a time, except where an operation says otherwise. While a job is followed the
/// provider runs two threads of its own, which share nothing with the caller but the events.
///
/// **Errors.** E_FAIL with the detail in the thread's last error: 87 for a missing argument, the HTTP status
/// of a failed exchange, 1280 for an answer that could not be read, 1291 when the fate of a job is unknown,
/// and the values of IPPError. Outputs are untouched on failure. Only allocation failures throw (_com_error).
class CORVIXDM_API IPPProvider : public virtual IDisposable {
public:
    virtual ~IPPProvider();

    /// Reads one printer attribute, from the cache or else by a fresh request.
    /// \param name the attribute's name; alternatives are joined by "_OR_", the first that has a value wins.
    /// \param value set to a VT_BSTR on success, which the caller clears.
    virtual HRESULT GetValue(const char* name, VARIANT* value) = 0;

    /// Reads attributes with parameters of the caller's.
    /// \param requestedAttributes comma-separated names to ask for.
    /// \param jobQuery 0 asks for printer attributes, else for those of the job at `jobUri`.
    /// \param value set to a VT_BSTR on success, which the caller clears.
    /// \param jobUri the job, or null; for a printer query it replaces the printer's URI when it is not
    ///     empty.
    /// \param resource the resource path of the request, or null for the provider's own.
    /// \param securityFlags WinINet request flags; 0 takes the provider's own where the printer is secure.
    /// \param useCache 1 answers from the cache when it holds `attributeKey`, and adds what a printer query
    ///     brings.
    /// \param attributeKey the one attribute whose value is wanted; " " for the last of those requested.
    virtual HRESULT GetIPPValue(const char* requestedAttributes, int jobQuery, VARIANT* value,
                                const char* jobUri, const wchar_t* resource, unsigned securityFlags,
                                int useCache, const char* attributeKey) = 0;

    /// Prints the document that the request's document URI names: the printer fetches it itself.
    virtual HRESULT PrintUri(IPPRequestBase* request, IPPResponseBase* response) = 0;
    /// Adds the document that the request's document URI names to a job made by CreateJob().
    virtual HRESULT SendURI(IPPRequestBase* request, IPPResponseBase* response) = 0;

    /// Makes a job without documents. The request names its user.
    virtual HRESULT CreateJob(IPPRequestBase* request, IPPResponseBase* response) = 0;
    /// Begins a document of a job made by CreateJob(). The request carries user name, job id and
    /// last-document.
    virtual HRESULT SendDocument(IPPRequestBase* request, IPPResponseBase* response,
                                 const unsigned char* data, int length) = 0;
    /// Goes on with the document; length 0 ends it and reads the printer's answer.
    virtual HRESULT SendDocumentWrite(IPPRequestBase* request, IPPResponseBase* response,
                                      const unsigned char* data, int length) = 0;

    /// Cancels the job that the request names by job id or job URI, and stops following it. What the printer
    /// thinks of that is the response's success status. A job named by id alone is looked up among the jobs
    /// of the request's user, then among all; one that the printer lists nowhere is asked for by the URI that
    /// most printers would give it.
    virtual HRESULT CancelJob(IPPRequestBase* request, IPPResponseBase* response) = 0;

    /// Begins a print job with the first piece of its data.
    /// \param waitForReady non-zero waits until the printer is idle with room for data.
    /// \return S_OK: the job is being sent or, when the printer was busy, followed; S_DEVICECANCELED; E_FAIL;
    ///     or what GetJobs() answered about a job whose request failed.
    virtual HRESULT PrintJob(IPPRequestBase* request, IPPResponseBase* response, const unsigned char* data,
                             int length, unsigned char waitForReady) = 0;
    /// Goes on with the job's data; length 0 ends it and reads the printer's answer.
    virtual HRESULT PrintJobWrite(IPPRequestBase* request, IPPResponseBase* response,
                                  const unsigned char* data, int length) = 0;

    /// Sets the three time-outs in milliseconds: connecting, sending, receiving. 30,000 each to begin with.
    virtual void SetTimeouts(unsigned connect, unsigned send, unsigned receive) = 0;

    /// Makes an authorised exchange with a secure printer; the printer's "Authorization" answer is kept in
    /// the request for the job that follows. Last error 401 when the printer wants other credentials.
    virtual HRESULT RequestAuthorization(IPPRequestBase* request, IPPResponseBase* response) = 0;

    /// Asks for the jobs of the user: for their states when `flag` is not 0, else for the states' reasons.
    /// \return 1 a job still runs, 0 it is finished or cancelled, E_FAIL the exchange failed.
    virtual HRESULT GetJobs(unsigned flag) = 0;
    /// Looks the request's job up, by job id, else by job URI, in one of the printer's job lists, and judges it by
    /// its own state and reasons; without either it asks about all jobs of the user.
    /// \param whichJobs "completed" or "not-completed".
    /// \return 1 the job still runs (it is among those not completed, or not among the completed ones), 0 it
    ///     is finished or cancelled, E_FAIL the exchange failed.
    virtual HRESULT GetJobs(IPPRequestBase* request, const char* whichJobs) = 0;

    /// Makes a PrintJob() that waits for the printer give up; later ones do not wait either. Any thread.
    virtual void StopWaiting() = 0;
    /// The event "PrintJobStatus", signalled when the followed job ended or following it was stopped; null
    /// before a job is followed. The provider's own: it is closed when following stops. The name is one for all
    /// processes of the session, so it may have been another job that ended: ask for the job's state.
    virtual HANDLE GetPrintStatusEventHandle() const = 0;
    /// The event that is signalled while the printer can take data and reset while its spool area is full;
    /// signalled, too, when the printer no longer tells. Null unless a job was begun with waiting. The
    /// provider's own, as above.
    virtual HANDLE GetPrintReadyStatusEventHandle() const = 0;
    /// Stops following the job: ends both threads, whatever they wait for, and closes both events. Any
    /// thread, any number of times. Called by one of the two threads themselves, out of the transport, it
    /// comes back before they have ended; the events are closed by the next call from elsewhere, or when the
    /// provider goes. The transport must not give up the provider's last reference there.
    virtual void StopAllThreadsRunning() = 0;
};

}  // namespace Corvix

extern "C" {
/// \name Factories
/// Each makes a provider for a printer that answers, holding one reference owned by the caller, or returns
/// null with the thread's last error telling why: 87, IPPError, the HTTP status or the transport's own error.
/// They never throw. The address is shared by the provider; its port may be set to one that the printer
/// advertises.
///
/// \param resource the printer's resource path, such as "/ipp/print"; or a whole printer URI.
/// @{
CORVIXDM_API Corvix::IPPProvider* CreateIPPProvider(Corvix::Address* address, const char* resource);
/// \param language the natural language of requests, such as "de".
CORVIXDM_API Corvix::IPPProvider* CreateIPPProvider2(Corvix::Address* address, const char* resource,
                                                     const char* language);
/// \param printerUri an "ipp" URI whose port, if it names one, is 631 or 443.
CORVIXDM_API Corvix::IPPProvider* CreateIPPPrintProvider(Corvix::Address* address, const wchar_t* printerUri);
/// \param printerUri an "ipps" URI whose port, if it names one, is 631 or 443.
/// \param securityFlags WinINet request flags of the connection, such as 0x803100, which accepts certificates
///     that cannot be verified.
CORVIXDM_API Corvix::IPPProvider* CreateSecureIPPPrintProvider(Corvix::Address* address,
                                                               const wchar_t* printerUri,
                                                               unsigned securityFlags);
/// @}
}
