// IPP messages on their way in and out.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "device/ippmodel.h"
#include "http/receiver.h"
#include "wire/ipp/message.h"

namespace CorvixSim {

struct IppMessage {
    Ipp::MessageHeader header;
    std::vector<IppGroup> groups;

    /// The first group of this kind, or null.
    const IppGroup* Group(uint8_t tag) const;

    /// An operation attribute, or null.
    const IppAttribute* FindOperand(std::string_view name) const;

    /// Its first value, or null.
    const IppValue* Operand(std::string_view name) const;

    /// The bytes of its first value; empty without one.
    std::string OperandText(std::string_view name) const;

    /// The number of its first value; 0 without one, and for "false".
    int32_t OperandNumber(std::string_view name) const;
};

/// Four bytes, the highest first.
std::string NumberBytes(int32_t number);
IppAttribute NumberAttribute(uint8_t tag, std::string name, int32_t number);
IppAttribute TextAttribute(uint8_t tag, std::string name, std::string text);

/// An answer of the request's version with what every answer begins with, and with a message if there is one.
IppMessage AnswerTo(const IppMessage& request, IppStatus status = IppStatus::Ok,
                    const std::string& message = {});

/// The body of an IPP request: first the attributes, then the document's data.
class IppSource {
public:
    explicit IppSource(HttpReceiver& body) : body_(body) {}

    /// Reads the attributes into `request`. Throws IppError for what is not encoded as it should be or too large; then
    /// `request` holds what was read before.
    void ReadRequest(IppMessage& request);

    /// The next bytes of the document; 0 at its end.
    size_t ReadDocument(char* buffer, size_t size);

private:
    HttpReceiver& body_;
    std::string rest_;  ///< the part of the document that came with the attributes
    size_t next_ = 0;
};

std::string EncodeIppMessage(const IppMessage& message);

}  // namespace CorvixSim
