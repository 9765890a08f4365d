/// \file documentfault.h
/// Why a document is not well-formed XML, for messages to whoever wrote it: the factories of data collections say
/// only that it does not load.
#pragma once

#include <windows.h>

#include "export.h"

namespace Corvix {

/// The first fault of a document.
struct DocumentFault {
    HRESULT result;         ///< the fault as a number, one that DescribeDocumentFault() knows
    unsigned line;          ///< where reading stopped, counted from 1; 0 when that is not known
    unsigned column;        ///< in that line, counted from 1; 0 when that is not known
    const wchar_t* reason;  ///< the fault in words; the library's own, for good
};

}  // namespace Corvix

extern "C" {
/// Looks for the first fault of a document, with the system's streaming reader. Document type declarations are no
/// fault. Any thread, without COM being initialised.
/// \param document the bytes as they stand in a file, in the encoding that they declare.
/// \param fault receives what was found; untouched unless S_OK.
/// \return S_OK when there is a fault; S_FALSE when there is none; E_FAIL for a null argument; another failure when
///     the document cannot be inspected, E_NOTIMPL on a system without such a reader.
CORVIXDM_API HRESULT FindDocumentFault(const char* document, unsigned long length,
                                       Corvix::DocumentFault* fault);

/// What a failure says about the document that was read, such as the result of a `GetValue()` whose XML resource was
/// refused. \return a text of the library's own, or null for a result that is not about a document.
CORVIXDM_API const wchar_t* DescribeDocumentFault(HRESULT result);
}
