/// \file singlerequest.h
/// One value read from or written to a device, without a data collection.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "export.h"
#include "transport.h"

namespace Corvix {

/// What became of a single request. The functions return it as a plain number.
enum class RequestStatus : unsigned {
    None = 0,                    ///< no failure recorded
    NoRequestor = 1,             ///< the request object could not be made
    UnsupportedMap = 102,        ///< the first map is neither for web services nor for SNMP
    NoDataMaps = 103,            ///< the document has no "DataMaps" element
    MissingArgument = 108,       ///< no address or no document; for a write also an empty value
    DocumentNotLoaded = 109,     ///< the document is not well-formed
    WebServiceReadOnly = 110,    ///< a write was asked of a web-services map
    NoXmlItem = 111,             ///< the item lacks its URI or its XPath
    NoItemName = 112,            ///< the map has no usable item
    WebServiceReadFailed = 113,  ///< the device did not answer with a value of at most 255 characters
    NoOidItem = 114,             ///< the item lacks its object identifier
    SnmpReadFailed = 115,        ///< the device did not answer the SNMP get
    NoWebServiceProvider = 116,  ///< the device does not speak the web-services protocol
    NoSnmpProvider = 117,        ///< the device does not speak SNMP
    SnmpWriteFailed = 118,       ///< the device did not take the value, or there is no connection to it
    UnsupportedValueType = 119,  ///< the value to write is not of type VT_INT
};

}  // namespace Corvix

/// \name Single requests
/// The document is a data map document of which only the first map counts, and in that only the first item in
/// name order that is of the map's kind. Web-services maps can be read, SNMP maps read and written. The value
/// is handed over as the device gave it, without the item's conversion rules.
///
/// \param address the device.
/// \param document the text of the document.
/// \return S_OK, or a Corvix::RequestStatus that is not 0; a failure that has no status of its own is an
/// HRESULT. \throws _com_error with E_OUTOFMEMORY when memory runs out.
/// @{
extern "C" {
/// \param value empty (VT_EMPTY) on entry; receives the value, which the caller clears (VariantClear). Left
///     as it was on failure. One that is not empty is a value to write, as for SetValueFromSingleRequest().
CORVIXDM_API HRESULT GetValueFromSingleRequest(Corvix::Address* address, const wchar_t* document,
                                               VARIANT* value);
/// \param value the value to write: a VT_INT.
CORVIXDM_API HRESULT SetValueFromSingleRequest(Corvix::Address* address, const wchar_t* document,
                                               VARIANT* value);
}
/// @}
