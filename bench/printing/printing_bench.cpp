// What it costs to hand a document to a printer:
//   bench_printing stream            the figures print.stream.vs_copy and print.stop_ms
//   bench_printing memory MEGABYTES  the megabytes that a job of that size takes above an idle provider
//   bench_printing upload PORT FILE  the seconds to print the file on a printer of this machine
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "discardingprinter.h"
// This brings windows.h.
#include <psapi.h>

#include "corvixdm/corvixdm.h"
#include "support/figure.h"
#include "transport/nettransport.h"

namespace {

using Corvix::DisposablePtr;
using Corvix::IPPProvider;

constexpr size_t megabyte = 1024 * 1024;
constexpr int pieceLength = 64 * 1024;
constexpr int uploadPieceLength = 64 * 1024;
constexpr size_t streamLength = 256 * megabyte;
constexpr int runs = 31;
using Bytes = std::vector<unsigned char>;

void Require(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(what);
}

struct Records {
    Records() { request->SetRequestingUserName("bench"); }
    const DisposablePtr<Corvix::IPPRequestBase> request{CreateIPPRequest()};
    const DisposablePtr<Corvix::IPPResponseBase> response{CreateIPPResponse()};
};

/// A provider at a printer that keeps nothing, or that never answers a poll.
class Discard {
public:
    Discard() : provider_(CreateIPPProvider(address_.Get(), "/ipp/print")) {
        Require(static_cast<bool>(provider_), "no provider");
    }

    /// Streams as many bytes as that; `document` is walked through, over and over.
    void Print(size_t length, const Bytes& document) {
        Begin(document, 0);
        for (size_t sent = pieceLength; sent < length; sent += pieceLength)
            Write(document.data() + sent % document.size(), pieceLength);
        Write(nullptr, 0);
    }
    /// What has to be done at the least: each piece, framed, in one run of bytes.
    void Copy(size_t length, const Bytes& document) {
        const auto frame = std::make_unique<unsigned char[]>(pieceLength + 32);
        for (size_t sent = 0; sent < length; sent += pieceLength) {
            char head[16];
            const int headLength = std::snprintf(head, sizeof head, "%X\r\n", pieceLength);
            const unsigned char* piece = document.data() + sent % document.size();
            unsigned char* end = frame.get();
            end = std::copy(head, head + headLength, end);
            end = std::copy(piece, piece + pieceLength, end);
            *end++ = '\r';
            *end++ = '\n';
            printer_.sink.Take(frame.get(), static_cast<unsigned long>(end - frame.get()));
        }
    }
    /// Both threads run, and that which asks for the printer's state waits for the answer.
    double SecondsToStop() {
        printer_.hangs = false;
        printer_.hangsDuringJobs = true;
        Begin(Bytes(pieceLength), 1);
        while (printer_.device->hanging == 0)
            Sleep(1);
        return CorvixBench::SecondsOf([&] { provider_->StopAllThreadsRunning(); });
    }

private:
    void Begin(const Bytes& document, unsigned char waitForReady) {
        const HRESULT begun = provider_->PrintJob(records_.request.Get(), records_.response.Get(),
                                                  document.data(), pieceLength, waitForReady);
        Require(begun == S_OK, "the job did not begin");
    }
    void Write(const unsigned char* piece, int length) {
        const HRESULT written =
            provider_->PrintJobWrite(records_.request.Get(), records_.response.Get(), piece, length);
        Require(written == S_OK, "a piece was not taken");
    }

    CorvixBench::DiscardingPrinter printer_;
    const DisposablePtr<Corvix::KyNetAddress> address_{new CorvixTest::FakeAddress(printer_.device)};
    const DisposablePtr<IPPProvider> provider_;
    const Records records_;
};

void MeasureStream() {
    Discard discard;
    const Bytes document(streamLength, 'x');
    const double ratio = CorvixBench::MedianOf(runs, [&] {
        const double copied = CorvixBench::SecondsOf([&] { discard.Copy(streamLength, document); });
        return copied / CorvixBench::SecondsOf([&] { discard.Print(streamLength, document); });
    });
    CorvixBench::PrintFigure("print.stream.vs_copy", ratio, "times");
    CorvixBench::PrintFigure(
        "print.stop_ms", 1000 * CorvixBench::MedianOf(runs, [&] { return discard.SecondsToStop(); }), "ms");
}

PROCESS_MEMORY_COUNTERS MemoryOfProcess() {
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof counters;
    Require(K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters), "no memory counters");
    return counters;
}

/// Alone in its process, because a peak is one of the whole process.
void MeasureMemory(size_t megabytes) {
    Discard discard;
    const Bytes document(pieceLength, 'x');
    const size_t idle = MemoryOfProcess().WorkingSetSize;
    discard.Print(megabytes * megabyte, document);
    const size_t peak = MemoryOfProcess().PeakWorkingSetSize;
    std::printf("%.3f\n", static_cast<double>(peak - idle) / megabyte);
}

/// Streams the file as any caller would.
void Upload(IPPProvider& provider, std::ifstream& file) {
    const Records records;
    std::vector<char> piece(pieceLength);
    bool begun = false;
    for (int length = 1; length > 0; begun = true) {
        file.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        length = static_cast<int>(file.gcount());
        const auto* bytes = reinterpret_cast<const unsigned char*>(piece.data());
        const HRESULT result =
            begun ? provider.PrintJobWrite(records.request.Get(), records.response.Get(), bytes, length)
                  : provider.PrintJob(records.request.Get(), records.response.Get(), bytes, length, 0);
        Require(result == S_OK, "a piece was not taken");
    }
    const char* status = records.response->GetSuccessStatus();
    Require(status && std::strcmp(status, "0") == 0, "the printer refused the job");
}

void MeasureUpload(int port, const wchar_t* path) {
    CorvixTransport::NetAddressOptions options;
    options.host = L"127.0.0.1";
    options.hostName = L"USB001";  // nobody listens to the probe
    options.portMap.MapTcp(631, static_cast<unsigned short>(port));
    const DisposablePtr<Corvix::KyNetAddress> address(CorvixTransport::CreateNetAddress(options));
    std::printf("%.6f\n", CorvixBench::SecondsOf([&] {
                    const DisposablePtr<IPPProvider> provider(CreateIPPProvider(address.Get(), "/ipp/print"));
                    Require(static_cast<bool>(provider), "no provider");
                    std::ifstream file(path, std::ios::binary);
                    Upload(*provider, file);
                }));
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring mode = argc > 1 ? argv[1] : L"";
    try {
        if (mode == L"stream" && argc == 2) return MeasureStream(), 0;
        if (mode == L"memory" && argc == 3) return MeasureMemory(static_cast<size_t>(_wtoi(argv[2]))), 0;
        if (mode == L"upload" && argc == 4) return MeasureUpload(_wtoi(argv[2]), argv[3]), 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
    return 2;
}
