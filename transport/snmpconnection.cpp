#include "transport/snmpconnection.h"

namespace CorvixTransport {

Corvix::MIBConnection* CreateSnmpConnection(const SnmpOptions&) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
}

}  // namespace CorvixTransport
