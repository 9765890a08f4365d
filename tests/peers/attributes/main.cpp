// peer_attributes URI PORT: asks the printer of this name at a port of this machine, through the DLL and the reference
// transport, for each attribute named on a line of the standard input, and prints "NAME<tab>TEXT" for each that it
// has. The library looks for IPP on port 631 before anything else, so the program listens
// there itself; where it may not, it exits with 77.
#include <cstdio>
#include <iostream>
#include <string>

#include "support/ippport.h"
// Winsock's header comes before every other that includes windows.h.
#include "corvixdm/corvixdm.h"
#include "transport/nettransport.h"

namespace {

constexpr int skipped = 77;
constexpr unsigned acceptAnyCertificate = 0x803100;

std::string ToUtf8(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
    utf8.pop_back();
    return utf8;
}

void PrintAttribute(Corvix::IPPProvider& provider, const std::string& name) {
    VARIANT value;
    VariantInit(&value);
    if (provider.GetIPPValue(name.c_str(), 0, &value, nullptr, nullptr, 0, 1, name.c_str()) == S_OK &&
        value.vt == VT_BSTR)
        std::printf("%s\t%s\n", name.c_str(), ToUtf8(value.bstrVal).c_str());
    VariantClear(&value);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 3) return 2;
    const CorvixTest::IppPort port(L"127.0.0.1");
    if (!port) return skipped;
    const bool secure = std::wstring(argv[1]).rfind(L"ipps:", 0) == 0;
    CorvixTransport::NetAddressOptions options;
    options.host = L"127.0.0.1";
    options.portMap.MapTcp(CorvixTest::IppPort::number, static_cast<unsigned short>(std::stoi(argv[2])));
    const Corvix::DisposablePtr<Corvix::KyNetAddress> address(CorvixTransport::CreateNetAddress(options));
    const Corvix::DisposablePtr<Corvix::IPPProvider> provider(
        secure ? CreateSecureIPPPrintProvider(address.Get(), argv[1], acceptAnyCertificate)
               : CreateIPPPrintProvider(address.Get(), argv[1]));
    if (!provider) {
        std::fprintf(stderr, "no provider: last error %lu\n", GetLastError());
        return 1;
    }
    for (std::string name; std::getline(std::cin, name);) {
        if (!name.empty() && name.back() == '\r') name.pop_back();
        PrintAttribute(*provider, name);
    }
    return 0;
}
