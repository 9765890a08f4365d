/// The file of localised texts that a printer serves.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "corvixdm/transport.h"

namespace Corvix {

/// Fetches the file from the device at `address`, whichever host its URI names: a printer may write the name or the
/// address by which it knows itself.
/// \param content receives the file as it was received; untouched on failure.
/// \return S_OK; E_FAIL for a URI without a path; 0x80190001, with last error 30, when the file cannot be fetched.
HRESULT FetchStringsFile(Address& address, const std::wstring& uri, std::string& content);

/// The text of such a file: UTF-16 with a byte order mark, else UTF-8.
std::wstring DecodeStrings(std::string_view content);

}  // namespace Corvix
