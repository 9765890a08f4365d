/// \file deviceinfo.h
/// Device information over IPP in flat functions, callable from plain C and through the DLL's exports from
/// any language.
///
/// Each function asks the printer behind an address at the resource "/ipp/printer". All return S_OK (0) or a
/// failure, E_FAIL (0x80004005) unless said otherwise, never throw, and leave their outputs untouched on
/// failure. The thread's last error is 87 for a missing address, else what making the IPP provider left (see
/// ippprovider.h).
///
/// **Memory.** What a function hands back is freed by its own Dispose... partner and nothing else; these
/// ignore null. Texts are UTF-16 and end with a zero.
///
/// **Threads.** Any; an address is used by one call at a time.
#ifndef CORVIXDM_DEVICEINFO_H
#define CORVIXDM_DEVICEINFO_H

#include <windows.h>

#include "export.h"

#ifdef __cplusplus
#include <list>
#include <map>
#include <string>

namespace Corvix {
class Address;
/// Localised texts by their keys, which are compared exactly.
using StringsMap = std::map<std::wstring, std::wstring>;
/// Media types in the printer's order.
using MediaTypesList = std::list<std::wstring>;
}  // namespace Corvix

typedef Corvix::Address CorvixAddress;
typedef Corvix::StringsMap CorvixStringsMap;
typedef Corvix::MediaTypesList CorvixMediaTypesList;
extern "C" {
#else
typedef struct CorvixAddress CorvixAddress;
typedef struct CorvixStringsMap CorvixStringsMap;
typedef struct CorvixMediaTypesList CorvixMediaTypesList;
#endif

/// Fetches the printer's strings file for a natural language.
/// \param locale such as L"de".
/// \param wide receives the file as text, \param content as received. Both are freed by
///     DisposeStringBuffer().
/// \return S_OK; 0x80190001 with last error 30 when the file cannot be fetched.
CORVIXDM_API HRESULT GetDeviceLocaleStrings(CorvixAddress* address, const wchar_t* locale, wchar_t** wide,
                                            char** content);
CORVIXDM_API void DisposeStringBuffer(wchar_t* wide, char* content);

/// The same, taken apart into keys and texts, which are added to the caller's map.
/// \param content receives the file as received; it and the map go with DisposeStringCollection().
CORVIXDM_API HRESULT GetDeviceLocaleStringsCollection(CorvixAddress* address, const wchar_t* locale,
                                                      CorvixStringsMap* strings, char** content);
/// An empty map for the functions above; null when memory runs out.
CORVIXDM_API CorvixStringsMap* CreateStringCollection(void);
/// Destroys a map made by CreateStringCollection() and frees the content.
CORVIXDM_API void DisposeStringCollection(CorvixStringsMap* strings, char* content);
CORVIXDM_API unsigned GetStringCount(const CorvixStringsMap* strings);
/// The text of a key, or null. The map's own.
CORVIXDM_API const wchar_t* FindString(const CorvixStringsMap* strings, const wchar_t* key);

/// Takes "key, element separator, value, line separator, ..." apart and adds the pairs to the map. A key that
/// comes again keeps its last value.
/// \param keyTrim, valueTrim how many characters are cut from either end of a key and of a value, such as 1
///     for quotes.
/// \return S_OK, also when nothing was found; E_FAIL for an empty text.
CORVIXDM_API HRESULT ParseStringsToMap(const wchar_t* text, const wchar_t* elementSeparator,
                                       const wchar_t* lineSeparator, CorvixStringsMap* strings, int keyTrim,
                                       int valueTrim);

/// Adds the printer's media types to the caller's list.
CORVIXDM_API HRESULT GetMediaTypesList(CorvixAddress* address, CorvixMediaTypesList* types);
/// An empty list for the function above; null when memory runs out.
CORVIXDM_API CorvixMediaTypesList* CreateMediaTypesList(void);
/// Destroys a list made by CreateMediaTypesList().
CORVIXDM_API void DisposeMediaTypesList(CorvixMediaTypesList* types);
CORVIXDM_API unsigned GetMediaTypeCount(const CorvixMediaTypesList* types);
/// The media type at a place counted from 0, or null. The list's own.
CORVIXDM_API const wchar_t* GetMediaType(const CorvixMediaTypesList* types, unsigned index);

/// The printer's media types in one text, separated by commas. Freed by DisposeMediaTypesString().
CORVIXDM_API HRESULT GetMediaTypesString(CorvixAddress* address, wchar_t** text);
CORVIXDM_API void DisposeMediaTypesString(wchar_t* text);

/// Where the printer keeps its strings file for a natural language. Freed by DisposePrinterStringsUri().
CORVIXDM_API HRESULT GetPrinterStringsUri(CorvixAddress* address, const wchar_t* locale, wchar_t** uri);
CORVIXDM_API void DisposePrinterStringsUri(wchar_t* uri);

/// One item of the printer's IEEE 1284 device ID, such as L"MDL"; keys are compared exactly. E_FAIL when the
/// printer has none of that key, or an empty one. Freed by DisposeDeviceIDStringItem().
CORVIXDM_API HRESULT GetDeviceIDStringItem(CorvixAddress* address, const wchar_t* key, wchar_t** value);
CORVIXDM_API void DisposeDeviceIDStringItem(wchar_t* value);

#ifdef __cplusplus
}
#endif

#endif
