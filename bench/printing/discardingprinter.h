// A printer that takes everything and keeps nothing, so that what is measured is the library alone.
#pragma once

#include "support/faketransport.h"
#include "support/ippbytes.h"

namespace CorvixBench {

/// Where the bytes end up. Both sides of a comparison hand theirs to it.
class Sink {
public:
    virtual ~Sink() = default;
    virtual HRESULT Take(const unsigned char* bytes, unsigned long length) {
        taken_ += length;
        last_ = length > 0 ? bytes[length - 1] : 0;
        return S_OK;
    }
    unsigned long long Taken() const { return taken_; }

private:
    unsigned long long taken_ = 0;
    volatile unsigned char last_ = 0;
};

struct DiscardingPrinter {
    Sink sink;
    /// From the first piece of a job on, whatever else is asked is not answered until it is cancelled.
    bool hangsDuringJobs = false;
    std::atomic<bool> hangs{false};
    const CorvixTest::FakeDevicePtr device = std::make_shared<CorvixTest::FakeDevice>();

    DiscardingPrinter() {
        using namespace Corvix::Ipp::Testing;  // NOLINT: it spells messages
        device->host = L"USB001";              // nobody probes for it
        device->answer = [body = Body(Value(0x45, "printer-uri-supported", "ipp://discard/ipp/print") +
                                      Value(0x23, "printer-state", Int(3)) +
                                      Keyword("printer-state-reasons", "none"))](const auto&) {
            return CorvixTest::HttpAnswer{200, body};
        };
        device->hangs = [this](const auto& exchange) { return hangs && !exchange.streamed; };
        device->takePiece = [this](const unsigned char* piece, unsigned long length) {
            hangs = hangsDuringJobs;
            return sink.Take(piece, length);
        };
    }
};

}  // namespace CorvixBench
