/// The IPP provider. One source per concern: creation, values, jobs, polling.
#pragma once

#include <windows.h>

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "corvixdm/disposableptr.h"
#include "corvixdm/ippprovider.h"
#include "datamodel/ipp/ippattributecache.h"
#include "datamodel/ipp/ippoperations.h"
#include "datamodel/ipp/jobpolling.h"
#include "utilslib/disposable.h"

namespace Corvix {

/// The security flags of a provider that is given none: secure, certificates that cannot be verified
/// accepted.
constexpr unsigned long defaultSecurityFlags = 0x803100;
constexpr const char* defaultPrinterResource = "/ipp/printer";

class IPPProviderImpl final : public IPPProvider, public KyUtils::IDisposableImpl, private PollingSource {
public:
    /// What Create() is told beside the address.
    struct Settings {
        std::wstring resource;
        bool secure = false;
        unsigned long securityFlags = defaultSecurityFlags;
        std::string language = "en";
        std::string requestedAttributes = "all";
        PollingIntervals intervals = {};
    };

    /// Asks the printer at a resource for its attributes. \return null with the last error set.
    static DisposablePtr<IPPProvider> Create(Address* address, const Settings& settings);
    /// The same for a whole printer URI.
    static DisposablePtr<IPPProvider> Create2(Address* address, const wchar_t* printerUri,
                                              unsigned long securityFlags);

    /// Stops the polling while all that it uses is still whole.
    ~IPPProviderImpl() override { polling_.StopAllThreadsRunning(); }

    HRESULT GetValue(const char* name, VARIANT* value) override;
    HRESULT GetIPPValue(const char* requestedAttributes, int jobQuery, VARIANT* value, const char* jobUri,
                        const wchar_t* resource, unsigned securityFlags, int useCache,
                        const char* attributeKey) override;
    HRESULT PrintUri(IPPRequestBase* request, IPPResponseBase* response) override;
    HRESULT SendURI(IPPRequestBase* request, IPPResponseBase* response) override;
    HRESULT CreateJob(IPPRequestBase* request, IPPResponseBase* response) override;
    HRESULT SendDocument(IPPRequestBase* request, IPPResponseBase* response, const unsigned char* data,
                         int length) override;
    HRESULT SendDocumentWrite(IPPRequestBase* request, IPPResponseBase* response, const unsigned char* data,
                              int length) override;
    HRESULT CancelJob(IPPRequestBase* request, IPPResponseBase* response) override;
    HRESULT PrintJob(IPPRequestBase* request, IPPResponseBase* response, const unsigned char* data,
                     int length, unsigned char waitForReady) override;
    HRESULT PrintJobWrite(IPPRequestBase* request, IPPResponseBase* response, const unsigned char* data,
                          int length) override;
    void SetTimeouts(unsigned connect, unsigned send, unsigned receive) override;
    HRESULT RequestAuthorization(IPPRequestBase* request, IPPResponseBase* response) override;
    HRESULT GetJobs(unsigned flag) override;
    HRESULT GetJobs(IPPRequestBase* request, const char* whichJobs) override;
    void StopWaiting() override;
    HANDLE GetPrintStatusEventHandle() const override { return polling_.GetPrintStatusEventHandle(); }
    HANDLE GetPrintReadyStatusEventHandle() const override {
        return polling_.GetPrintReadyStatusEventHandle();
    }
    void StopAllThreadsRunning() override { polling_.StopAllThreadsRunning(); }

private:
    using Operations = std::unique_ptr<IPPOperations>;
    enum class ReadyState { NotReady = 0, Ready = 1, Failed = 2 };
    /// Sends one piece of a streamed body: IPPOperations::SendPrintJobRequest or SendDocumentRequest.
    using SendPiece = HRESULT (IPPOperations::*)(IPPRequestBase*, bool, const unsigned char*, unsigned long,
                                                 bool, bool);

    IPPProviderImpl(Address* address, Operations operations, std::wstring resource, std::wstring printerUri,
                    const PollingIntervals& intervals);

    /// A connection of its own for one exchange, to the provider's printer.
    Operations MakeOperations() const;
    IPPOperations& RenewJobOperations();
    bool IsSecure() const { return secure_; }

    bool ReadCached(const std::string& name, VARIANT* value) const;
    HRESULT ReadAlternative(const std::string& name, VARIANT* value);
    HRESULT QueryPrinter(IPPOperations& operations, const char* printerUri, bool merge, VARIANT* value);
    HRESULT QueryJob(IPPOperations& operations, const std::string& names, const char* jobUri, VARIANT* value);
    HRESULT SendJobQuery(IPPOperations& operations, const std::string& names, VARIANT* value);

    HRESULT Exchange(IPPOperations& operations, int operation, IPPRequestBase* request,
                     IPPResponseBase* response, bool secure) const;
    HRESULT JobExchange(int operation, IPPRequestBase* request, IPPResponseBase* response, bool secure) const;
    ReadyState CheckForPrinterReadyState();
    HRESULT WaitUntilReady();
    HRESULT StartPrintJob(IPPRequestBase* request, IPPResponseBase* response, const unsigned char* data,
                          int length, bool waitForReady);
    HRESULT AnsweredEarly(IPPResponseBase* response);
    HRESULT JobAfterFailedStart(IPPRequestBase* request);
    HRESULT Continue(SendPiece send, IPPRequestBase* request, const unsigned char* data, int length);
    HRESULT WritePiece(SendPiece send, IPPRequestBase* request, const unsigned char* data, int length);
    HRESULT EndBody(SendPiece send, int operation, IPPRequestBase* request, IPPResponseBase* response);
    HRESULT ReadStreamedAnswer(int operation, IPPResponseBase* response);
    HRESULT ReadJobAnswer(HTTPResponse* answer, int operation, IPPResponseBase* response);
    std::wstring UriOfJob(const IPPRequestBase& request, HRESULT asked);
    HRESULT JobAfterFailedPiece(IPPRequestBase* request);

    HRESULT PollJob(unsigned flag) override;
    HRESULT PollPrinter(std::wstring& state, std::wstring& reasons) override;
    void InterruptPolls() override;
    /// Runs one poll over a connection that InterruptPolls() can cut.
    template <class Poll>
    HRESULT RunPoll(Poll poll);
    HRESULT AskJobs(IPPOperations& operations, const std::string& userName, const wchar_t* form);
    /// What GetJobs(request, whichJobs) answers, among the jobs of one user or, without one, of all; and the
    /// job's URI where it is listed.
    HRESULT AskAboutJob(const IPPRequestBase& request, const char* whichJobs, const std::string& userName,
                        std::wstring& uri);
    HRESULT AskJobState(IPPOperations& operations, unsigned flag);
    /// `interrupt` ends the wait for the device to wake up.
    HRESULT RetrievePrinterState(IPPOperations& operations, HANDLE interrupt, std::wstring& state,
                                 std::wstring& reasons);
    /// 0 and the end of the job signalled when it is over, else 1.
    HRESULT JudgeJob(const std::wstring& state, const std::wstring& reasons);

    DisposablePtr<Address> address_;
    Operations operations_;     ///< the exchange of creation
    Operations jobOperations_;  ///< the running job, or the last authorised exchange
    std::array<unsigned, 3> timeouts_{30000, 30000, 30000};
    KyUtils::Handle stopWaiting_ =
        KyUtils::CreateManualResetEvent();  ///< signalled for good by StopWaiting()
    IPPAttributeCache cache_;
    std::wstring resource_;
    std::wstring printerUri_;
    bool secure_;
    unsigned long securityFlags_;
    std::string userName_;  ///< whose jobs are asked for; set while no polling thread runs
    const PollingIntervals intervals_;
    std::mutex pollsLock_;
    std::vector<IPPOperations*> polls_;  ///< those that wait for the printer right now
    JobPolling polling_;                 ///< last: its threads use everything above
};

}  // namespace Corvix
