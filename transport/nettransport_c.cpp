#include "transport/nettransport_c.h"

#include <new>
#include <stdexcept>

#include "transport/nettransport.h"

CorvixAddress* CreateNetworkAddress(const wchar_t* host, const wchar_t* portMap) {
    if (!host || !*host) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    // No exception may reach a caller that was compiled as C.
    try {
        CorvixTransport::NetAddressOptions options;
        options.host = host;
        options.portMap = CorvixTransport::PortMap::Parse(portMap ? portMap : L"");
        return CorvixTransport::CreateNetAddress(options);
    } catch (const std::invalid_argument&) {
        SetLastError(ERROR_INVALID_PARAMETER);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return nullptr;
}

void DisposeNetworkAddress(CorvixAddress* address) {
    if (address) address->Dispose();
}
