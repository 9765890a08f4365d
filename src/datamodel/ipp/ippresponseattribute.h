/// The response record.
#pragma once

#include "corvixdm/ippresponse.h"
#include "datamodel/ipp/storedtext.h"
#include "utilslib/disposable.h"

namespace Corvix {

class IPPResponseAttributes final : public IPPResponseBase, public KyUtils::IDisposableImpl {
public:
    /// A record that holds one reference, owned by the caller.
    static IPPResponseAttributes* Create();

    void SetSuccess(const char* status) override { status_.Set(status); }
    const char* GetSuccessStatus() const override { return status_.Get(); }
    void SetRequestID(const char* id) override { requestId_.Set(id); }
    const char* GetRequestID() const override { return requestId_.Get(); }
    void SetDocumentAccessError(const char* error) override { documentAccessError_.Set(error); }
    const char* GetDocumentAccessError() const override { return documentAccessError_.Get(); }
    void SetJobURI(const char* uri) override { jobUri_.Set(uri); }
    const char* GetJobURI() const override { return jobUri_.Get(); }
    void SetJobID(const char* id) override { jobId_.Set(id); }
    const char* GetJobID() const override { return jobId_.Get(); }
    void SetJobState(const char* state) override { jobState_.Set(state); }
    const char* GetJobState() const override { return jobState_.Get(); }
    void SetJobStateReasons(const char* reasons) override { jobStateReasons_.Set(reasons); }
    const char* GetJobStateReasons() const override { return jobStateReasons_.Get(); }

private:
    IPPResponseAttributes() = default;

    StoredText<char> status_;
    StoredText<char> requestId_;
    StoredText<char> documentAccessError_;
    StoredText<char> jobUri_;
    StoredText<char> jobId_;
    StoredText<char> jobState_;
    StoredText<char> jobStateReasons_;
};

}  // namespace Corvix
