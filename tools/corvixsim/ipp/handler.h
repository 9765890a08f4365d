// IPP over HTTP: takes requests off the wire, has the printer carry them out, and applies the faults.
#pragma once

#include "device/device.h"
#include "http/documenthandler.h"
#include "http/message.h"
#include "ipp/printer.h"

namespace CorvixSim {

class IppHandler final : public HttpHandler {
public:
    IppHandler(Device& device, unsigned port, std::string spoolFolder)
        : device_(device), printer_(device, std::move(spoolFolder)), documents_(device, port) {}

    HttpResponse Handle(const HttpRequest& request, HttpReceiver& body) override;

private:
    IppMessage Carry(const HttpRequest& http, IppSource& source, const IppMessage& request,
                     const FaultSet& faults);

    Device& device_;
    IppPrinter printer_;
    DocumentHandler documents_;  ///< strings files and icons are on this port too
};

}  // namespace CorvixSim
