// The web services of the device: WS-Transfer Get and the print service's GetPrinterElements.
#pragma once

#include "device/device.h"
#include "http/message.h"
#include "soap/message.h"

namespace CorvixSim {

class SoapHandler final : public HttpHandler {
public:
    explicit SoapHandler(Device& device) : device_(device) {}

    HttpResponse Handle(const HttpRequest& request, HttpReceiver& body) override;

private:
    HttpResponse Answer(const SoapRequest& request) const;
    HttpResponse AnswerGet(const SoapRequest& request) const;
    HttpResponse AnswerGetPrinterElements(const SoapRequest& request) const;
    std::string ElementData(const std::string& name) const;

    Device& device_;
};

}  // namespace CorvixSim
