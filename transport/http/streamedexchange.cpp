#include "transport/http/streamedexchange.h"

#include "wire/http/chunks.h"

namespace CorvixTransport {

namespace {

constexpr unsigned expectationFailed = 417;

}  // namespace

unsigned StreamedExchange::Status() const {
    return exchange_ && exchange_->Reader().HasHead() ? exchange_->Reader().Head().status : 0;
}

// The observer is told of each exchange exactly once: here on failure, otherwise when the response was read.
template <class Work>
void StreamedExchange::ReportFailure(Work&& work) {
    const unsigned long error = RunGuarded(work);
    if (error == ERROR_SUCCESS) return;
    if (!HasResponse())
        context_.Report(exchange_ ? &exchange_->Reader() : nullptr, false, bytesWritten_, error);
    throw Failure(error);
}

void StreamedExchange::Begin() {
    ReportFailure([this] { BeginUnreported(); });
}

void StreamedExchange::BeginUnreported() {
    // A device that does not know "Expect" may say 417: then the head is sent again without it.
    bool expectContinue = authenticator_.HasCredentials();
    for (;;) {
        Open(expectContinue);
        if (!exchange_->IsRefused()) return;
        const bool mayTryAgain = ReadResponse();
        if (Status() == expectationFailed && expectContinue) {
            expectContinue = false;
        } else {
            ThrowUnless(mayTryAgain, ERROR_REQUEST_ABORTED);
        }
    }
}

void StreamedExchange::Open(bool expectContinue) {
    const std::string head = context_.WriteHead(framing_, length_, authenticator_, expectContinue);
    exchange_.reset();
    exchange_ = context_.OnNewConnection();
    exchange_->Send(head, context_.ForSending());
    if (expectContinue) exchange_->AwaitContinue(context_.ForSending());
}

void StreamedExchange::Write(std::string_view piece, bool last) {
    ReportFailure([&] { WriteUnreported(piece, last); });
}

void StreamedExchange::WriteUnreported(std::string_view piece, bool last) {
    ThrowUnless(!ended_ || piece.empty(), ERROR_INVALID_PARAMETER);
    // One byte more than announced would be taken for the next request.
    const bool fits = framing_ != BodyFraming::Length || piece.size() <= length_ - bytesWritten_;
    ThrowUnless(fits, ERROR_INVALID_PARAMETER);
    const Waiting waiting = context_.ForSending();
    // A device that refuses early often stops reading, so its answer is looked for before each piece.
    exchange_->TakeArrivedBytes(waiting);
    if (!piece.empty()) SendFramed(piece, waiting);
    bytesWritten_ += piece.size();
    const bool complete = framing_ == BodyFraming::Length && bytesWritten_ == length_;
    const bool callersLast = framing_ == BodyFraming::CallersChunks && piece == Http::lastChunk;
    if (last || complete || callersLast) EndBody(waiting);
    if (!exchange_->IsRefused()) return;
    ReadResponse();
    throw Failure(ERROR_REQUEST_ABORTED);
}

void StreamedExchange::SendFramed(std::string_view piece, const Waiting& waiting) {
    if (framing_ != BodyFraming::OwnChunks) return exchange_->Send(piece, waiting);
    // Three calls, because joining them would copy every piece of the document.
    exchange_->Send(Http::MakeChunkHead(piece.size()), waiting);
    exchange_->Send(piece, waiting);
    exchange_->Send("\r\n", waiting);
}

void StreamedExchange::EndBody(const Waiting& waiting) {
    if (ended_) return;
    ended_ = true;
    if (framing_ == BodyFraming::OwnChunks) exchange_->Send(Http::lastChunk, waiting);
}

Response StreamedExchange::Finish() {
    ReportFailure([this] {
        if (HasResponse()) return;
        const bool isShort = framing_ == BodyFraming::Length && bytesWritten_ < length_;
        ThrowUnless(!isShort, ERROR_HANDLE_EOF);
        if (framing_ == BodyFraming::OwnChunks) EndBody(context_.ForSending());
        ReadResponse();
    });
    // After an unfinished body the device would take the next request for the rest of it.
    if (ended_) context_.Keep(*exchange_);
    return {exchange_->Reader().Head(), exchange_->Reader().TakeBody()};
}

bool StreamedExchange::ReadResponse() {
    exchange_->ReadResponse(context_.ForResponse());
    context_.Report(&exchange_->Reader(), false, bytesWritten_, ERROR_SUCCESS);
    // A challenge that comes too late for this request is answered by the next one.
    return authenticator_.Learn(exchange_->Reader().Head());
}

}  // namespace CorvixTransport
