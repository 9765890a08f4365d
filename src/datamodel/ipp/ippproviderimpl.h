/// The IPP provider: a front of the exchange, the print stream and the follower.
#pragma once

#include <windows.h>

#include <array>
#include <memory>
#include <string>

#include "corvixdm/disposableptr.h"
#include "corvixdm/ippprovider.h"
#include "datamodel/ipp/following/jobfollower.h"
#include "datamodel/ipp/following/states.h"
#include "datamodel/ipp/ippattributecache.h"
#include "datamodel/ipp/ippoperations.h"
#include "datamodel/ipp/printing/jobrecords.h"
#include "utilslib/disposable.h"

namespace Corvix {

/// The security flags of a provider that is given none: secure, certificates that cannot be verified
/// accepted.
constexpr unsigned long defaultSecurityFlags = 0x803100;
constexpr const char* defaultPrinterResource = "/ipp/printer";

/// One source per concern: creation, values, jobs, printing. It owns what it hands the calls on to.
class IPPProviderImpl final : public IPPProvider, public KyUtils::IDisposableImpl {
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
    HANDLE GetPrintStatusEventHandle() const override { return follower_.GetPrintStatusEventHandle(); }
    HANDLE GetPrintReadyStatusEventHandle() const override {
        return follower_.GetPrintReadyStatusEventHandle();
    }
    void StopAllThreadsRunning() override { follower_.StopAllThreadsRunning(); }

private:
    using Operations = std::unique_ptr<IPPOperations>;
    enum class ReadyState { NotReady = 0, Ready = 1, Failed = 2 };

    IPPProviderImpl(Address* address, IppTarget target, const IPPOperations& creation,
                    const PollingIntervals& intervals);

    /// The printer, as exchanges of their own reach it.
    IppTarget OwnTarget() const;
    IppExchange MakeExchange() const { return IppExchange(address_.Get(), OwnTarget()); }
    Operations MakeOperations() const { return std::make_unique<IPPOperations>(address_.Get(), OwnTarget()); }
    void RenewJobOperations();

    bool ReadCached(const std::string& name, VARIANT* value) const;
    HRESULT ReadAlternative(const std::string& name, VARIANT* value);
    HRESULT QueryPrinter(IPPOperations& operations, const char* printerUri, bool merge, VARIANT* value);
    HRESULT QueryJob(IPPOperations& operations, const std::string& names, const char* jobUri, VARIANT* value);
    HRESULT SendJobQuery(IPPOperations& operations, const std::string& names, VARIANT* value);

    static HRESULT Exchange(IPPOperations& operations, int operation, const JobRecords& records, bool secure);
    static HRESULT ReadJobAnswer(IPPOperations& operations, HTTPResponse& answer, int operation,
                                 IPPResponseBase* response);
    JobFate AskAbout(const IPPRequestBase& request, const char* whichJobs, const std::string& userName) const;
    std::string UriOfJob(const IPPRequestBase& request, const JobFate& amongOwn) const;

    void BeginJobOf(const IPPRequestBase& request);
    ReadyState CheckForPrinterReadyState();
    HRESULT WaitUntilReady();
    HRESULT AfterStart(IPPResponseBase* response);
    HRESULT AnsweredEarly(IPPResponseBase* response);
    HRESULT JobAfterFailedStart(IPPRequestBase* request);
    HRESULT AfterPiece(HRESULT written, IPPRequestBase* request);
    HRESULT EndBody(int operation, const JobRecords& records);
    HRESULT JobAfterFailure(const wchar_t* failure, IPPRequestBase* request);

    DisposablePtr<Address> address_;
    IppTarget target_;
    Operations jobOperations_;  ///< of the running job, or of the last authorised exchange; never null
    std::array<unsigned, 3> timeouts_{30000, 30000, 30000};
    KyUtils::Handle stopWaiting_ =
        KyUtils::CreateManualResetEvent();  ///< signalled for good by StopWaiting()
    IPPAttributeCache cache_;
    std::string userName_;  ///< whose jobs are asked for
    const PollingIntervals intervals_;
    JobFollower follower_;  ///< last: its threads use the address
};

}  // namespace Corvix
