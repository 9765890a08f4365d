#include "transport/sockets/resolver.h"

#include <memory>
#include <system_error>
#include <thread>

namespace CorvixTransport {

namespace {

// Shared by the waiting request and the thread that looks up; the last one to let go destroys it.
struct Lookup {
    KyUtils::WinsockSession winsock;
    std::wstring host;
    unsigned short port = 0;
    KyUtils::AddressList addresses;
    unsigned long error = 0;
    NetEvent done;

    void Run() {
        addresses = KyUtils::ResolveHost(host, port, SOCK_STREAM);
        if (!addresses) error = GetLastError();
        done.Set();
    }
};

KyUtils::AddressList LookUpOnThread(const std::wstring& host, unsigned short port, const Waiting& waiting) {
    const auto lookup = std::make_shared<Lookup>();
    lookup->host = host;
    lookup->port = port;
    try {
        // Detached, because joining would wait for the lookup that the request no longer waits for.
        std::thread([lookup] { lookup->Run(); }).detach();
    } catch (const std::system_error&) {
        throw Failure(ERROR_NO_SYSTEM_RESOURCES);
    }
    WaitFor(lookup->done.Get(), waiting);
    ThrowUnless(lookup->addresses != nullptr, lookup->error);
    return std::move(lookup->addresses);
}

}  // namespace

bool LooksNumeric(const std::wstring& host) {
    return host.find(L':') != std::wstring::npos ||
           host.find_first_not_of(L"0123456789.") == std::wstring::npos;
}

KyUtils::AddressList ResolveHost(const std::wstring& host, unsigned short port, const Waiting& waiting) {
    ThrowUnless(!host.empty(), WSAHOST_NOT_FOUND);
    // An address needs no thread: it is resolved at once.
    if (!LooksNumeric(host)) return LookUpOnThread(host, port, waiting);
    KyUtils::AddressList addresses = KyUtils::ResolveHost(host, port, SOCK_STREAM);
    ThrowUnless(addresses != nullptr, GetLastError());
    return addresses;
}

}  // namespace CorvixTransport
