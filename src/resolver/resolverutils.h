/// Helpers of the device side: bounded texts, texts of system errors, parts of texts.
///
/// There is one message buffer for the whole library: whoever uses ErrorMessage(), or a function that reports
/// through it, does so from one thread at a time.
#pragma once

#include <windows.h>

#include <string>

namespace Corvix {

/// The characters of a text, -1 for null and for a text that does not end within 2048 characters;
/// ErrorMessage() of E_INVALIDARG then stands in the message buffer.
int GetStringLength(const wchar_t* text);

/// Copies at most `count` characters and ends the copy with a zero.
/// \param destination has room for 1025 characters, whatever the size that is passed says.
/// \return S_OK; E_INVALIDARG for null, or for a count of 0x7FFFFFFF and more, which empties the destination;
///         ERROR_INSUFFICIENT_BUFFER as HRESULT when only 1024 characters fitted.
HRESULT StrWcsNCpy(wchar_t* destination, size_t destinationSize, const wchar_t* source, size_t count);

/// Copies a text to the message buffer, which holds 100 characters with the terminating zero.
/// \return S_OK; E_INVALIDARG for null; ERROR_INSUFFICIENT_BUFFER as HRESULT when the text was cut.
HRESULT StrWcsCpy(const wchar_t* source);

/// The system's text of an error, in the message buffer: valid until the next call.
const wchar_t* ErrorMessage(HRESULT error);

/// Searches `text` for a pattern (ECMAScript) and sets `result` to a sub-match of the first match, empty when
/// there is none.
/// \return whether the result has anything in it; false for missing arguments, a group below 0 or a pattern
///     that is none, which leave the result alone.
bool CaptureSubString(const wchar_t* text, std::wstring* result, const wchar_t* pattern, int group);

}  // namespace Corvix
