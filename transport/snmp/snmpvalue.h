/// SNMP values as VARIANTs and back, as MIBConnection documents it.
#pragma once

#include "utilslib/com.h"
#include "wire/snmp/message.h"

namespace CorvixTransport {

namespace Snmp = Corvix::Snmp;

/// Makes a VARIANT of a value.
/// \param variant receives the new value; untouched on failure.
/// \return S_OK; ERROR_NOT_FOUND (as HRESULT) for NULL, `noSuchObject`, `noSuchInstance` and `endOfMibView`;
///     ERROR_INVALID_DATA for a type that is unknown or a content that does not fit its type.
/// \throws _com_error E_OUTOFMEMORY.
HRESULT ToVariant(const Snmp::Value& value, KyUtils::Variant& variant);

/// Makes a value of a VARIANT: VT_INT and VT_I4, VT_BSTR (as UTF-8), VT_ARRAY|VT_UI1.
/// \return S_OK, or E_INVALIDARG for every other type.
HRESULT FromVariant(const VARIANT& variant, Snmp::Value* value);

/// Whether the octets are text for people, and that text: UTF-8 without control characters other than
/// tabulator and line ends, zeros at the end taken as padding. Octets that are not UTF-8 but nearly all ASCII
/// are read as ISO 8859-1, which older printers use; what could be a hardware address is not.
std::optional<std::wstring> TextOfOctets(std::string_view octets);

}  // namespace CorvixTransport
