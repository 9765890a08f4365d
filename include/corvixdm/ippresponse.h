/// \file ippresponse.h
/// The record of what a printer answered to a job operation.
#pragma once

#include "disposable.h"
#include "export.h"

namespace Corvix {

/// The outcome of a job operation. Made by CreateIPPResponse(), filled by the operations of an IPP provider.
///
/// Texts are UTF-8 and copied; a text never set reads as null, and null takes a text back. Texts returned are
/// the record's own until they are set again or it goes. One thread at a time.
class CORVIXDM_API IPPResponseBase : public virtual IDisposable {
public:
    IPPResponseBase();
    IPPResponseBase(const IPPResponseBase& other);
    IPPResponseBase& operator=(const IPPResponseBase& other);
    virtual ~IPPResponseBase();

    /// The IPP status code as decimal text ("0" is success), or "NOT_SET_ERROR" when the answer had none.
    virtual void SetSuccess(const char* status) = 0;
    virtual const char* GetSuccessStatus() const = 0;
    /// The id of the request, always "100".
    virtual void SetRequestID(const char* id) = 0;
    virtual const char* GetRequestID() const = 0;
    virtual void SetDocumentAccessError(const char* error) = 0;
    virtual const char* GetDocumentAccessError() const = 0;
    virtual void SetJobURI(const char* uri) = 0;
    virtual const char* GetJobURI() const = 0;
    /// "job-id" as decimal text.
    virtual void SetJobID(const char* id) = 0;
    virtual const char* GetJobID() const = 0;
    /// "Pending", "Pending_held", "Processing", "Processing_stopped", "Canceled", "Aborted", "Completed", or
    /// the number of any other state.
    virtual void SetJobState(const char* state) = 0;
    virtual const char* GetJobState() const = 0;
    /// Keywords joined by ",".
    virtual void SetJobStateReasons(const char* reasons) = 0;
    virtual const char* GetJobStateReasons() const = 0;
};

}  // namespace Corvix

extern "C" {
/// An empty record holding one reference, owned by the caller.
/// \throws _com_error with E_OUTOFMEMORY when memory runs out.
CORVIXDM_API Corvix::IPPResponseBase* CreateIPPResponse();
}
