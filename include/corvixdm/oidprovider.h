/// \file oidprovider.h
/// Reads values of a device over SNMP.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "disposable.h"
#include "export.h"
#include "transport.h"

namespace Corvix {

/// The SNMP values of one device, read over the MIBConnection of its address. Object identifiers are dotted
/// decimal texts. VARIANTs handed in are initialised and on success receive a new value that the caller
/// clears. Used by one thread at a time.
class CORVIXDM_API OIDProvider : public virtual IDisposable {
public:
    virtual ~OIDProvider();

    /// Reads one object.
    /// \param oid the object; a second one after ";" is written with the integer 1 after the read, whatever
    ///     the read came to, for devices that want a read acknowledged or a refresh triggered.
    /// \return E_FAIL for a null argument; the connection's result of the read, or of the write where there
    ///     is one.
    virtual HRESULT GetValue(const wchar_t* oid, VARIANT* value) = 0;

    /// Reads the object that follows `oid`.
    /// \param nextOid receives the object's name with its terminating zero.
    /// \param nextOidChars the room in `nextOid` in characters, the zero included.
    /// \return E_FAIL for a null argument or no room at all; E_OUTOFMEMORY when the room is too small
    ///     (nothing is touched); else the connection's result, a failure at the end of what the device has.
    virtual HRESULT GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                                       VARIANT* value) = 0;

    /// Reads `count` objects in one request.
    /// \return E_FAIL for a null argument or a count of 0; else the connection's result.
    virtual HRESULT GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) = 0;
};

}  // namespace Corvix

extern "C" {
/// Makes the provider for a device, which is asked for its description (hrDeviceDescr of its first device).
/// \return the provider with one reference, owned by the caller; null for a null address, and for a device
///     that has no SNMP connection or does not answer with a description that is not empty.
/// \throws _com_error when the description cannot be a text (DISP_E_TYPEMISMATCH) or memory runs out
///     (E_OUTOFMEMORY).
CORVIXDM_API Corvix::OIDProvider* CreateOIDProvider(Corvix::Address* address);
}
