// Shows the state of a printer and how many jobs wait, whenever one of them changes: watchprinter URI [COUNT
// [PORT-MAP]], such as watchprinter ipp://192.0.2.7/ipp/print. It ends after COUNT lines, or never.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "corvixdm/corvixdm.h"
#include "transport/nettransport.h"

namespace {

constexpr DWORD pause = 1000;  // milliseconds

std::wstring HostOf(const std::wstring& uri) {
    const size_t start = uri.find(L"://");
    if (start == std::wstring::npos) return {};
    return uri.substr(start + 3, uri.find_first_of(L":/", start + 3) - start - 3);
}

/// A printer's words, without characters that would steer the terminal or that it may not have.
std::wstring Shown(std::wstring text) {
    std::replace_if(
        text.begin(), text.end(), [](wchar_t c) { return c < L' ' || c > L'~'; }, L'?');
    return text;
}

/// What the printer says now: the attributes of its creation, which a provider keeps, would never change.
std::wstring Ask(Corvix::IPPProvider& printer, const char* attribute) {
    VARIANT value = {};
    if (FAILED(printer.GetIPPValue(attribute, 0, &value, nullptr, nullptr, 0, 0, attribute))) return {};
    const std::wstring text = value.vt == VT_BSTR ? value.bstrVal : L"";
    VariantClear(&value);
    return text;
}

const wchar_t* NameOf(const std::wstring& state) {
    if (state == L"3") return L"idle";
    if (state == L"4") return L"processing";
    if (state == L"5") return L"stopped";
    return L"not answering";
}

std::wstring Describe(Corvix::IPPProvider& printer) {
    std::wstring line = NameOf(Ask(printer, "printer-state"));
    const std::wstring reasons = Ask(printer, "printer-state-reasons");
    if (!reasons.empty() && reasons != L"none") line += L" (" + reasons + L")";
    const std::wstring jobs = Ask(printer, "queued-job-count");
    return Shown(jobs.empty() ? line : line + L", jobs: " + jobs);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count < 2) return 2;
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

    const int most = count > 2 ? _wtoi(arguments[2]) : 0;
    std::wstring shown;
    for (int lines = 0; most == 0 || lines < most;) {
        const std::wstring now = Describe(*printer);
        if (now != shown) {
            std::printf("%ls\n", now.c_str());
            ++lines;
        }
        shown = now;
        if (lines != most) Sleep(pause);
    }
    return 0;
}
