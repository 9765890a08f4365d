/// What a printer tells of its state.
#pragma once

#include <windows.h>

#include <string>

#include "datamodel/ipp/exchange/ippexchange.h"

namespace Corvix {

/// "printer-state" and "printer-state-reasons" as texts.
struct PrinterState {
    std::string state;
    std::string reasons;

    bool IsIdle() const { return state == "3"; }
    bool IsStopped() const { return state.find('5') != std::string::npos; }
    /// Whether there is no room for more data.
    bool IsFull() const { return reasons.find("spool-area-full") != std::string::npos; }
};

/// Wakes the printer up and asks for its state.
/// \param interrupt ends the wait for the printer to wake up when it is signalled.
/// \return S_OK, or E_FAIL with `state` as it was.
HRESULT RetrievePrinterState(IppExchange& exchange, HANDLE interrupt, PrinterState& state);

}  // namespace Corvix
