/// What a printer tells about itself, as the flat device functions hand it out.
#pragma once

#include <windows.h>

#include <string>

#include "corvixdm/ippprovider.h"
#include "corvixdm/transport.h"

namespace Corvix {

/// Each reads one attribute and logs it. \return false when the printer does not tell it; `text` is then as it was.
bool ReadMediaTypes(IPPProvider& provider, std::wstring& text);
bool ReadStringsUri(IPPProvider& provider, std::wstring& text);

/// Reads one item of the printer's device ID. \return E_FAIL when there is none of that key, or an empty one.
HRESULT ReadDeviceIdItem(IPPProvider& provider, const wchar_t* key, std::wstring& value);

/// Fetches the strings file that the printer names.
/// \param provider asks in the language that is wanted. \param locale the language, for the log.
/// \param content receives the file as it was received.
/// \return E_FAIL when the printer names none; the result of FetchStringsFile() otherwise.
HRESULT ReadLocaleStrings(IPPProvider& provider, Address& address, const wchar_t* locale,
                          std::string& content);

}  // namespace Corvix
