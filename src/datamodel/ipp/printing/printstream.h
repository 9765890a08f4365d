/// A document that is sent while it is being made.
#pragma once

#include <string>

#include "datamodel/ipp/exchange/ippexchange.h"

namespace Corvix {

/// The body of a Print-Job or Send-Document, sent piece by piece: Begin(), Write() for each piece, End(), then
/// the answer. It owns the request that carries the body, and at most one. One thread at a time.
///
/// A failure gives the body up and returns E_FAIL with the last error of IppExchange, or with the HTTP status
/// with which the device cut the body short. Writing then fails until the next Begin(): to go on as if nothing
/// were amiss would print the rest of a document as one of its own.
class PrintStream {
public:
    /// \param address stays the caller's and outlives the object.
    explicit PrintStream(Address* address) : exchange_(address) {}

    /// Sends the attributes as the first chunk; a body in hand is given up.
    /// \param announcesChunks adds the headers that tell of the chunks; without it the record's own extra
    ///     headers do so.
    HRESULT Begin(const IppTarget& target, const RequestValues& values, bool announcesChunks);
    /// Sends one piece, which has at least one byte.
    HRESULT Write(const unsigned char* piece, unsigned long length);
    HRESULT End();
    /// The answer to a body that was ended, and the end of the exchange.
    HRESULT GetResponse(DisposablePtr<HTTPResponse>& response);
    /// The answer that came before the body's end. The body can be gone on with.
    HRESULT GetEarlyResponse(DisposablePtr<HTTPResponse>& response);
    /// Gives the body up, wherever it stands.
    void Abandon();

    /// Whether a body was begun and its answer not yet fetched.
    bool IsOpen() const { return request_ != nullptr; }
    /// Whether the device answered before the body's end.
    bool HasEarlyAnswer() const { return request_ && request_->GetResponseStatus() != 0; }

private:
    unsigned long RefusalStatus() const;
    HRESULT Fail(unsigned long reason);
    void Forget();

    IppExchange exchange_;
    KyHTTPRequestEx* request_ = nullptr;    ///< the exchange's, once the body was begun
    DisposablePtr<HTTPResponse> response_;  ///< once it was fetched
    std::string chunk_;                     ///< the last one
};

}  // namespace Corvix
