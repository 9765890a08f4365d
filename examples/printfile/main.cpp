// Prints a file and follows it: printfile URI FILE [PORT-MAP], such as
// printfile ipp://192.0.2.7/ipp/print a.pdf
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "corvixdm/corvixdm.h"
#include "transport/nettransport.h"

namespace {

constexpr size_t pieceLength = 64 * 1024;

/// Called after each piece with the bytes sent so far.
using Progress = std::function<void(unsigned long long)>;

std::wstring HostOf(const std::wstring& uri) {
    const size_t start = uri.find(L"://");
    if (start == std::wstring::npos) return {};
    return uri.substr(start + 3, uri.find_first_of(L":/", start + 3) - start - 3);
}

/// Waits while the printer's spool area is full, unless the job ends meanwhile. The provider has the events as
/// long as it follows a job that was begun with waiting.
void AwaitRoom(const Corvix::IPPProvider& printer) {
    const HANDLE events[] = {printer.GetPrintStatusEventHandle(), printer.GetPrintReadyStatusEventHandle()};
    if (events[0] && events[1]) WaitForMultipleObjects(2, events, FALSE, INFINITE);
}

/// Streams the file: its first piece begins the job, an empty one ends it.
HRESULT Print(Corvix::IPPProvider& printer, Corvix::IPPRequestBase& request,
              Corvix::IPPResponseBase& response, std::ifstream& file, const Progress& progress) {
    std::vector<unsigned char> piece(pieceLength);
    unsigned long long sent = 0;
    for (;;) {
        file.read(reinterpret_cast<char*>(piece.data()), static_cast<std::streamsize>(piece.size()));
        const int length = static_cast<int>(file.gcount());
        const HRESULT result = sent == 0 ? printer.PrintJob(&request, &response, piece.data(), length, 1)
                                         : printer.PrintJobWrite(&request, &response, piece.data(), length);
        if (result != S_OK || length == 0) return result;
        progress(sent += static_cast<unsigned long long>(length));
        AwaitRoom(printer);
    }
}

/// Whether the printer took the job: one that refuses has been asked in vain, but not without success.
bool IsTaken(HRESULT result, const Corvix::IPPResponseBase& response) {
    const char* status = response.GetSuccessStatus();
    return result == S_OK && status && std::atoi(status) < 256;
}

/// Shows the states of the job until it ends. \return whether it was printed.
bool Follow(Corvix::IPPProvider& printer, const Corvix::IPPResponseBase& response) {
    const int id = std::atoi(response.GetJobID() ? response.GetJobID() : "");  // a printer may say anything
    std::wstring shown;
    for (;;) {
        VARIANT state = {};
        if (FAILED(printer.GetIPPValue("job-state", 1, &state, response.GetJobURI(), nullptr, 0, 0, " ")))
            return false;
        const std::wstring now = state.vt == VT_BSTR ? state.bstrVal : L"";
        VariantClear(&state);
        if (now.empty()) return false;
        if (now != shown) std::printf("job %d is in state %d\n", id, _wtoi(now.c_str()));
        if (now == L"9") return true;                  // completed
        if (now == L"7" || now == L"8") return false;  // canceled, aborted
        shown = now;
        Sleep(1000);
    }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count < 3) return 2;
    CorvixTransport::NetAddressOptions options;
    options.host = HostOf(arguments[1]);
    if (count > 3) options.portMap = CorvixTransport::PortMap::Parse(arguments[3]);
    const Corvix::DisposablePtr<Corvix::KyNetAddress> address(CorvixTransport::CreateNetAddress(options));
    const Corvix::DisposablePtr<Corvix::IPPProvider> printer(
        CreateIPPPrintProvider(address.Get(), arguments[1]));
    if (!printer) {
        std::fprintf(stderr, "no printer there (%lu)\n", GetLastError());
        return 1;
    }

    std::ifstream file(arguments[2], std::ios::binary);
    const Corvix::DisposablePtr<Corvix::IPPRequestBase> request(CreateIPPRequest());
    const Corvix::DisposablePtr<Corvix::IPPResponseBase> response(CreateIPPResponse());
    request->SetRequestingUserName("guest");
    request->SetJobName("printfile");
    const HRESULT result = Print(*printer, *request, *response, file,
                                 [](unsigned long long sent) { std::printf("\r%llu bytes sent", sent); });
    std::printf("\n");
    if (!IsTaken(result, *response)) {
        const char* status = response->GetSuccessStatus();
        std::fprintf(stderr, "not printed: 0x%08lX, status %s\n", static_cast<unsigned long>(result),
                     status ? status : "unknown");
        return 1;
    }
    return Follow(*printer, *response) ? 0 : 1;
}
