#include "transport/http/httpexchange.h"

#include <winhttp.h>

#include <algorithm>
#include <array>

namespace CorvixTransport {

namespace {

constexpr size_t receiveSize = 32 * 1024;

struct FaultError {
    Http::MessageFault fault;
    unsigned long error;
};

constexpr FaultError faultErrors[] = {
    {Http::MessageFault::HeadTooLong, ERROR_WINHTTP_HEADER_SIZE_OVERFLOW},
    {Http::MessageFault::BodyTooLong, ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW},
    {Http::MessageFault::Truncated, ERROR_WINHTTP_CONNECTION_ERROR},
};

// A stale connection shows itself as one of these; everything else is reported as it is.
constexpr unsigned long brokenConnectionErrors[] = {
    WSAECONNRESET, WSAECONNABORTED, WSAENETRESET, WSAESHUTDOWN, WSAENOTCONN, ERROR_WINHTTP_CONNECTION_ERROR,
};

// The system error code that a faulty response is reported with.
unsigned long ErrorOf(Http::MessageFault fault) {
    for (const FaultError& known : faultErrors) {
        if (known.fault == fault) return known.error;
    }
    return ERROR_WINHTTP_INVALID_SERVER_RESPONSE;
}

}  // namespace

bool IsBrokenConnection(unsigned long error) {
    return std::find(std::begin(brokenConnectionErrors), std::end(brokenConnectionErrors), error) !=
           std::end(brokenConnectionErrors);
}

void HttpExchange::Send(std::string_view bytes, const Waiting& waiting) {
    // The device has refused the request before: the rest of it is not wanted.
    if (!allSent_) return;
    allSent_ = false;
    try {
        SendWhileWanted(bytes, waiting);
    } catch (const Failure& failure) {
        if (!IsBrokenConnection(failure.Code())) throw;
        // The device may have answered before it hung up: its answer says more than the lost connection.
        RunGuarded([&] {
            while (!reader_.IsComplete() && ReadSome(waiting)) {
            }
        });
        if (!reader_.HasHead()) throw;
    }
}

void HttpExchange::SendWhileWanted(std::string_view bytes, const Waiting& waiting) {
    while (!bytes.empty() && !IsRefused()) {
        bytes.remove_prefix(stream_->Write(bytes, waiting));
        if (!bytes.empty()) TakeArrived(waiting);
    }
    allSent_ = bytes.empty();
}

void HttpExchange::TakeArrived(const Waiting& waiting) {
    while (!reader_.IsComplete() && stream_->IsReadable(waiting)) {
        if (ReadSome(waiting)) continue;
        // An early final answer may be followed by the end of the connection, which is no failure.
        ThrowUnless(reader_.HasHead(), ERROR_WINHTTP_CONNECTION_ERROR);
        return;
    }
}

void HttpExchange::TakeArrivedBytes(const Waiting& waiting) {
    if (stream_->MayBeReadable()) TakeArrived(waiting);
}

void HttpExchange::AwaitContinue(const Waiting& waiting) {
    constexpr unsigned long patience = 1000;
    const unsigned long error = RunGuarded([&] {
        const Waiting brief = waiting.Within(std::min(patience, waiting.stallMilliseconds));
        while (!reader_.WasContinued() && !reader_.HasHead() && ReadSome(brief)) {
        }
    });
    // Silence means that the device does not know the expectation: the body is sent anyway.
    ThrowUnless(error == ERROR_SUCCESS || error == ERROR_TIMEOUT, error);
}

void HttpExchange::ReadResponse(const Waiting& waiting) {
    while (!reader_.IsComplete())
        ReadSome(waiting);
}

bool HttpExchange::ReadSome(const Waiting& waiting) {
    std::array<char, receiveSize> buffer;
    const size_t count = stream_->Read(buffer.data(), buffer.size(), waiting);
    if (count == 0) {
        reader_.End();
    } else {
        surplus_ = reader_.Feed({buffer.data(), count}) < count;
    }
    ThrowUnless(!reader_.IsFaulty(), ErrorOf(reader_.Fault()));
    return count > 0;
}

std::unique_ptr<ByteStream> HttpExchange::ReleaseReusable() {
    // Bytes beyond the response belong to no request; whose they are cannot be told later.
    const bool reusable = allSent_ && !surplus_ && reader_.KeepsConnection();
    return reusable ? std::move(stream_) : nullptr;
}

}  // namespace CorvixTransport
