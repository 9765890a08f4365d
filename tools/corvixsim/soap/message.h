// SOAP 1.2 messages: what the simulator needs to know of a request, and the envelopes that it answers with.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CorvixSim {

struct SoapRequest {
    std::string action;
    std::string messageId;
    std::string resource;                   ///< of a WS-Transfer Get
    std::vector<std::string> elementNames;  ///< of a GetPrinterElements

    /// The action's last word, such as "Get".
    std::string Operation() const;
};

/// Nothing when the text is no SOAP envelope with an action, is not well nested or holds a document type declaration.
std::optional<SoapRequest> ReadSoapRequest(std::string_view xml);

/// An envelope around `body` that relates to the request. The prefix wprt is declared in it.
std::string SoapAnswer(const SoapRequest& request, const std::string& action, const std::string& body);

/// A fault of the sender's making.
std::string SoapFault(const SoapRequest& request, const std::string& subcode, const std::string& reason);

}  // namespace CorvixSim
