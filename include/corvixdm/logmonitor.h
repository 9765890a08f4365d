/// \file logmonitor.h
/// A watcher of the library's log, outside the library.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include "export.h"

namespace Corvix {

CORVIXDM_COM_INTERFACES_BEGIN
/// Implemented by an in-process COM class whose class id stands in the registry value `ExtMonitorCLSID`
/// beside the other settings of the log. While logging is on the library makes one object of the class, on
/// the thread of the first line after COM was initialised there, and gives it every line that it writes to
/// the log file.
///
/// Threading: calls come from every thread that logs, several at a time, without marshalling: the class is
/// free-threaded or apartment-neutral. What the library logs on the same thread during a call is not handed
/// on. The object is released when the settings name another class; at process exit it is not.
struct ILogMonitor : public IUnknown {
    /// Called once, before the first line. A failure ends the use of the object.
    /// \param flags the registry value `ExtMonitorFlags`, or 0; their meaning is the class's own.
    /// \param parmFile the registry value `ExtMonitorParmFile`, or empty; valid during the call.
    virtual HRESULT STDMETHODCALLTYPE Start(DWORD flags, const wchar_t* parmFile) = 0;
    /// One line.
    /// \param module the part of the library that it comes from, such as "CorvixDM".
    /// \param lineFlags what the line is: the bits that its markers are taken from.
    /// \param text without prefix, markers and line end.
    virtual HRESULT STDMETHODCALLTYPE Line(const wchar_t* module, DWORD lineFlags, const wchar_t* text) = 0;

protected:
    ~ILogMonitor() = default;
};
CORVIXDM_COM_INTERFACES_END

/// {6C1E1C0E-5B43-4B0E-9C5E-0B7C3F4D8A21}
inline constexpr IID IID_ILogMonitor = {
    0x6c1e1c0e, 0x5b43, 0x4b0e, {0x9c, 0x5e, 0x0b, 0x7c, 0x3f, 0x4d, 0x8a, 0x21}};

}  // namespace Corvix
