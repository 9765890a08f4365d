// The way of a document's bytes to the printer.
#pragma once

#include <windows.h>

#include <functional>

#include "corvixdm/ippprovider.h"
#include "printing/order.h"

namespace CorvixCtl {

// The two operations that carry a document: one begins it, the other goes on and ends it with no bytes.
struct Carrier {
    std::function<HRESULT(const unsigned char* data, int length)> begin;
    std::function<HRESULT(const unsigned char* data, int length)> goOn;
    // Where the printer's answer comes, early if it refuses.
    const Corvix::IPPResponseBase& response;
};

// Sends a file piece by piece and shows how far it is. Comes back early when the printer has refused, or when no
// more can be sent. A printer whose spool area is full is given `patience` milliseconds to have room again.
// \return whether all of it was sent. Throws Failure for a file that cannot be read, and when interrupted.
bool Carry(const DocumentFile& file, const Carrier& carrier, Corvix::IPPProvider& provider,
           unsigned long patience);

}  // namespace CorvixCtl
